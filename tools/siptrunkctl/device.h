#pragma once

#include <string>

#include "tools/siptrunkctl/failure.h"

// The device's files, and what can be done when they give trouble.

/// The files lie where the library looks for them: below QORV_PATH, or its default.
std::string DatabasePath();
std::string StartFilePath();

/// Makes `directory` the one that the library reads, for this process.
void UseDirectory(const std::string& directory);

/// Returns the failure that a cause told by the library, or by one of its parts, stands for: with
/// the exit code that belongs to it, and the cure where one is known.
Failure FailureOf(const std::string& cause);
