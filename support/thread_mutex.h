#pragma once

// A public header, since the logger holds a ThreadMutex by value; so it stands where all of those
// do.
#include "include/support/thread_mutex.h"
