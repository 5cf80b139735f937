#include "tools/siptrunkctl/view/clock.h"

#include <array>
#include <ctime>

namespace {

// The zone's offset, +HHMM, at a local time. Where time_t ends in 2038, the year 28 years before
// has the same calendar and, as far as anybody knows, the same rules.
std::string OffsetAt(std::tm local) {
    while (local.tm_year > 2037 - 1900) {
        local.tm_year -= 28;
    }
    local.tm_isdst = -1;
    if (std::mktime(&local) == -1) {
        local.tm_isdst = 0;  // 32-bit systems do not know the year 1900; the offset is +0000
    }
    std::array<char, 16> offset{};
    (void)std::strftime(offset.data(), offset.size(), "%z", &local);
    return offset.data();
}

}  // namespace

std::optional<std::string> IsoTime(const std::string& date, const std::string& time) {
    std::tm local{};
    const std::string both = date + " " + time;
    const char* const end = strptime(both.c_str(), "%m/%d/%Y %H:%M:%S", &local);
    const bool isPlain = both.find_first_not_of("0123456789/:") == 10 && both.rfind(' ') == 10;
    if (!isPlain || time.size() != 8 || local.tm_sec > 60 || end == nullptr || *end != '\0') {
        return std::nullopt;
    }
    return date.substr(6) + "-" + date.substr(0, 2) + "-" + date.substr(3, 2) + "T" + time +
           OffsetAt(local).insert(3, ":");
}

void AppendSince(Record& record, const std::string& date, const std::string& time) {
    const std::optional<std::string> iso = IsoTime(date, time);
    record.push_back(
        {"since", date + (!date.empty() && !time.empty() ? " " : "") + time, Rank::kUseful});
    record.push_back({"since_iso", TextIf(iso.has_value(), iso.value_or("")), Rank::kOnlyJson});
}
