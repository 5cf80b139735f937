#include "tools/siptrunkctl/view/clock.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

// Seconds that local time was ahead of UTC at this local time. Where time_t ends in 2038, the year
// 28 years before has the same calendar and, as far as anybody knows, the same rules.
long OffsetOf(std::tm local) {
    while (local.tm_year > 2037 - 1900) {
        local.tm_year -= 28;
    }
    local.tm_isdst = -1;
    return std::mktime(&local) == -1 ? 0 : local.tm_gmtoff;
}

std::string IsoText(const std::tm& local) {
    const long offset = OffsetOf(local) / 60;
    std::array<char, 64> text{};
    (void)std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d%c%02ld:%02ld",
                        local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                        local.tm_min, local.tm_sec, offset < 0 ? '-' : '+', std::labs(offset) / 60,
                        std::labs(offset) % 60);
    return text.data();
}

}  // namespace

std::optional<std::string> IsoTime(const std::string& date, const std::string& time) {
    std::tm local{};
    const std::string both = date + " " + time;
    const char* const end = strptime(both.c_str(), "%m/%d/%Y %H:%M:%S", &local);
    if (date.size() != 10 || time.size() != 8 || end == nullptr || *end != '\0') {
        return std::nullopt;
    }
    return IsoText(local);
}
