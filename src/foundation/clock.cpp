#include "support/wide_time.h"

#include "src/foundation/clock.h"

#include <sys/time.h>
#include <sys/timeb.h>

#ifdef __GLIBC__
#if __TIMESIZE == 32 && __GLIBC_PREREQ(2, 34)
#define RAIKLAIK_TIME_WAS_WIDENED
static_assert(sizeof(std::time_t) == 8, "after January 2038 the clock would be read wrongly");
#endif
#endif

namespace raiklaik {

Moment ReadClock() {
#ifdef RAIKLAIK_TIME_WAS_WIDENED
    // ftime has no form with 64-bit time; used here, it would fill a struct of another size.
    struct timespec now {};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    return {now.tv_sec, static_cast<unsigned short>(now.tv_nsec / 1000000)};
#else
    struct timeb now {};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    (void)ftime(&now);
#pragma GCC diagnostic pop
    return {now.time, now.millitm};
#endif
}

std::int64_t ReadSeconds() {
    struct timeval now {};
    (void)gettimeofday(&now, nullptr);
    return now.tv_sec;
}

struct tm LocalTime(std::int64_t seconds) {
    // localtime shares its result between threads; localtime_r does not, but may take no notice of
    // a new TZ without tzset.
    const auto moment = static_cast<std::time_t>(seconds);
    struct tm local {};
    tzset();
    (void)localtime_r(&moment, &local);
    return local;
}

}  // namespace raiklaik
