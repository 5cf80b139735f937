#include "src/foundation/registration_stamp.h"

#include <string>

#include "src/foundation/key_table.h"

void WriteStamp(CSIPTrunkConfig& service, TrunkDatabase& trunks) {
    std::string time;
    std::string date;
    service.GetLocalDateTime(time, date);
    trunks.Set(key::kRegistrationDate, date);
    trunks.Set(key::kRegistrationTime, time);
}

void EraseStamp(TrunkDatabase& trunks) {
    trunks.Erase(key::kRegistrationDate);
    trunks.Erase(key::kRegistrationTime);
}
