#pragma once

#include <optional>
#include <string>

#include "tools/siptrunkctl/arguments.h"

/// Gets the password that a command stores: from the file of --password-file, or from the terminal,
/// without echo, twice.
/// needed  whether the command cannot do without one and so asks unbidden
/// Returns nothing when the arguments want none. Throws UsageFailure when there is no terminal to
/// ask at or the password cannot be stored, and std::system_error when the file cannot be read.
std::optional<std::string> ReadPassword(const Arguments& arguments, bool needed);
