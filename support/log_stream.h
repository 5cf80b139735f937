#pragma once

// A public header, since the logger holds a LogStream by value, so it is kept in include/.
#include "include/support/log_stream.h"
