#include "src/foundation/stamp.h"

#include <cstdio>

#include "include/raiklaik.h"
#include "src/foundation/clock.h"
#include "src/foundation/key_table.h"

namespace {

void AppendNumber(std::string& text, const char* format, int number) {
    char digits[16];
    (void)std::snprintf(digits, sizeof(digits), format, number);
    text += digits;
}

}  // namespace

namespace raiklaik {

void WriteStamp(TrunkDatabase& trunks, const Stamp& stamp) {
    trunks.Set(key::kRegistrationDate, stamp.date);
    trunks.Set(key::kRegistrationTime, stamp.time);
}

void EraseStamp(TrunkDatabase& trunks) {
    trunks.Erase(key::kRegistrationDate);
    trunks.Erase(key::kRegistrationTime);
}

}  // namespace raiklaik

void CSIPTrunkConfig::GetLocalDateTime(std::string& time, std::string& date) {
    const struct tm local = raiklaik::LocalTime(raiklaik::ReadSeconds());

    AppendNumber(date, "%02d", local.tm_mon + 1);
    date += '/';
    AppendNumber(date, "%02d", local.tm_mday);
    date += '/';
    AppendNumber(date, "%d", local.tm_year + 1900);

    AppendNumber(time, "%02d", local.tm_hour);
    time += ':';
    AppendNumber(time, "%02d", local.tm_min);
    time += ':';
    AppendNumber(time, "%02d", local.tm_sec);
}
