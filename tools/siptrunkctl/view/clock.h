#pragma once

#include <optional>
#include <string>

#include "tools/siptrunkctl/view/value.h"

// The stamps of registrations, local dates MM/DD/YYYY and times HH:MM:SS, as people and programs
// read them.

/// Returns a stamp in ISO 8601 with the zone's offset; nothing when the two texts are no stamp.
std::optional<std::string> IsoTime(const std::string& date, const std::string& time);

/// Appends the fields "since", which is "DATE TIME", and, for JSON, "since_iso".
void AppendSince(Record& record, const std::string& date, const std::string& time);
