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
