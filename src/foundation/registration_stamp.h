#pragma once

#include "include/raiklaik.h"
#include "src/foundation/trunk_database.h"

/// Stamps the current section with the local date and time of now: the date first, then the time.
void WriteStamp(CSIPTrunkConfig& service, TrunkDatabase& trunks);

/// Removes the stamp from the current section: the date first, then the time. None is no failure.
void EraseStamp(TrunkDatabase& trunks);
