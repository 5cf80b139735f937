#pragma once

#include <vector>

#include "tools/siptrunkctl/database_text.h"

/// Returns what is wrong with a database beyond its grammar: names and users that occur twice,
/// unknown types, missing keys, values that cannot be read whole or mean nothing. The order is that
/// of the lines.
/// unit  what the database's line numbers count, for the texts
std::vector<Problem> FindProblems(const Database& database, const char* unit);
