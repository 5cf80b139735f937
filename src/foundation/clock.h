#pragma once

#include <cstdint>
#include <ctime>

// The only place that reads the time for logs and stamps, and makes local time. Times have 64 bits
// here, even where time_t has 32, so that they stay right after January 2038.

namespace raiklaik {

/// A reading of the clock.
struct Moment {
    std::int64_t seconds;         ///< since 1970, UTC
    unsigned short milliseconds;  ///< of that second, 0 to 999
};

/// Reads the clock, for the log.
Moment ReadClock();

/// Reads the clock's seconds since 1970, for stamps.
std::int64_t ReadSeconds();

/// Returns the local time, in the zone that TZ names now. Any thread may call.
struct tm LocalTime(std::int64_t seconds);

}  // namespace raiklaik
