#pragma once

#include <string>
#include <vector>

#include "src/foundation/database_syntax.h"
#include "tools/siptrunkctl/file/database.h"

// What can be a value of a trunk, and what is wrong with a database.

/// The longest value, in bytes, that the library reads whole.
constexpr std::size_t kLongestValue = raiklaik::kValueCapacity - 1;

/// Returns why a text can be no port, a decimal number from 1 to 65535; null when it can.
const char* PortFault(const std::string& text);

/// Returns why a text can be no address or host name; null when it can. A host name can be nearly
/// anything, so all that is refused is blanks, and numbers and dots that are no IPv4 address.
const char* AddressFault(const std::string& text);

/// @return what is wrong with a database beyond its grammar: names and users that occur twice,
/// unknown types, missing keys, values that cannot be read whole or mean nothing. The order is that
/// of the lines.
/// @param unit what the database's line numbers count, for the texts
std::vector<Problem> FindProblems(const Database& database, const char* unit);

/// Returns the problems of FindProblems and those of the grammar, in the order of the lines.
std::vector<Problem> AllProblems(const Database& database);
