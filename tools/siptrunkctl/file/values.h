#pragma once

#include <string>

#include "src/foundation/database_syntax.h"

// Which texts can be the values of a trunk.

/// The longest value, in bytes, that the library reads whole.
constexpr std::size_t kLongestValue = raiklaik::kValueCapacity - 1;

/// Returns why a text can be no port, a decimal number from 1 to 65535; null when it can.
const char* PortFault(const std::string& text);

/// Returns why a text can be no address or host name; null when it can. A name is anybody's choice,
/// so only blanks, and numbers and dots that are no IPv4 address, are refused.
const char* AddressFault(const std::string& text);

/// Returns why a text is no date MM/DD/YYYY, or no time HH:MM:SS; null when it is one.
const char* DateFault(const std::string& text);
const char* TimeFault(const std::string& text);
