#pragma once

#include <vector>

#include "tools/siptrunkctl/file/database.h"

/// @return what is wrong with a database beyond its grammar: names and users that occur twice,
/// unknown types, missing keys, values that cannot be read whole or mean nothing. The order is that
/// of the lines.
/// @param unit what the database's line numbers count, for the texts
std::vector<Problem> FindProblems(const Database& database, const char* unit);

/// Returns the problems of FindProblems and those of the grammar, in the order of the lines.
std::vector<Problem> AllProblems(const Database& database);
