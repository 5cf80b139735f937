#include "tests/faults/stopped_clock.h"

#include <sys/time.h>
#include <sys/timeb.h>

#include <ctime>

#include "tests/faults/replaced_function.h"

namespace {

thread_local bool isClockStopped = false;
thread_local std::int64_t stoppedAt = 0;

}  // namespace

StoppedClock::StoppedClock(std::int64_t seconds) {
    stoppedAt = seconds;
    isClockStopped = true;
}

StoppedClock::~StoppedClock() { isClockStopped = false; }

REPLACEMENT(ftime, int, (struct timeb * clock)) {
    if (!isClockStopped) {
        return REAL(ftime)(clock);
    }
    *clock = {};
    clock->time = static_cast<std::time_t>(stoppedAt);
    return 0;
}

REPLACEMENT(gettimeofday, int, (struct timeval * clock, void* zone)) {
    if (!isClockStopped) {
        return REAL(gettimeofday)(clock, zone);
    }
    *clock = {};
    clock->tv_sec = static_cast<std::time_t>(stoppedAt);
    return 0;
}

// What 32-bit systems call for a time of 64 bits.

struct WideTimespec {
    std::int64_t seconds;
    std::int32_t nanoseconds[2];  // one is padding, which one depends on the byte order
};

REPLACEMENT(__clock_gettime64, int, (clockid_t which, WideTimespec* clock)) {
    if (!isClockStopped || which != CLOCK_REALTIME) {
        return REAL(__clock_gettime64)(which, clock);
    }
    *clock = {stoppedAt, {0, 0}};
    return 0;
}

struct WideTimeval {
    std::int64_t seconds;
    std::int64_t microseconds;
};

REPLACEMENT(__gettimeofday64, int, (WideTimeval * clock, void* zone)) {
    if (!isClockStopped) {
        return REAL(__gettimeofday64)(clock, zone);
    }
    *clock = {stoppedAt, 0};
    return 0;
}
