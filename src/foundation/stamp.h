#pragma once

#include <string>

#include "src/foundation/trunk_database.h"

namespace raiklaik {

/// When a registration was made or renewed, as GetLocalDateTime gives it.
struct Stamp {
    std::string time;
    std::string date;
};

/// Stamps the current section: the date first, then the time.
void WriteStamp(TrunkDatabase& trunks, const Stamp& stamp);

/// Removes the stamp from the current section: the date first, then the time. It is no failure when
/// there is none.
void EraseStamp(TrunkDatabase& trunks);

}  // namespace raiklaik
