#pragma once

#include <string>

#include "tools/siptrunkctl/view/failure.h"

// The device's files, and what can be done when they give trouble.

/// Makes `directory` the base directory of the library and the tool, for this process.
void UseDirectory(const std::string& directory);

/// Returns whether the database is there. Without one, a trunk that is added makes it.
bool HasDatabase();

/// Returns the failure for a cause that the library, or one of its parts, reported: with the exit
/// code that belongs to it, and the cure where one is known.
Failure FailureOf(const std::string& cause);
