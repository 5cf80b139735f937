#pragma once

#include <ctime>

/// Returns local broken-down time in the zone that TZ names now. Any thread may call: localtime
/// shares its result between threads, and localtime_r need not look at TZ again, hence tzset
/// (POSIX).
inline struct tm LocalTime(std::time_t seconds) {
    struct tm local {};
    tzset();
    (void)localtime_r(&seconds, &local);
    return local;
}
