#pragma once

#include <optional>
#include <string>

// Times, as people and programs read them.

/// Returns the local date and time of a stamp, MM/DD/YYYY and HH:MM:SS, in ISO 8601 with the zone's
/// offset; nothing when the two texts are no such stamp.
std::optional<std::string> IsoTime(const std::string& date, const std::string& time);
