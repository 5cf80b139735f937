#pragma once

#include <cstdlib>
#include <string>
#include <string_view>

// The database's flags are stored as "1" and "0". Each operation reads them in one of three ways,
// which differ on every other text. (The flag in the system start file is "true" or "false", and
// service_flag.cpp reads it.)

namespace raiklaik::flag {

/// "1", "10", "1x"; not " 1".
inline bool BeginsWithOne(std::string_view text) { return !text.empty() && text.front() == '1'; }

/// "1" alone.
inline bool IsExactlyOne(std::string_view text) { return text == "1"; }

/// "1", "2", "-1", " 1", "007", "1x"; also a number that a long cannot hold: strtol then gives
/// LONG_MAX or LONG_MIN.
inline bool IsNonZeroNumber(const std::string& text) {
    return std::strtol(text.c_str(), nullptr, 10) != 0;
}

/// The text that stores a flag.
inline const char* Text(bool value) { return value ? "1" : "0"; }

}  // namespace raiklaik::flag
