#pragma once

// A public header, since the logger holds a ThreadMutex by value, so it is kept in include/.
#include "include/support/thread_mutex.h"
