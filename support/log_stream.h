#pragma once

// A public header, since the logger holds a LogStream by value; so it stands where all of those do.
#include "include/support/log_stream.h"
