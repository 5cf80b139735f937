#pragma once

#include <optional>
#include <string>

#include "tools/siptrunkctl/commands/commands.h"

/// Adds "--password-file FILE" and "--ask-password", which exclude each other.
Command& AddPasswordOptions(Command& command);

/// Gets the password that a command stores: from the file, or from the terminal, without echo,
/// twice.
/// @param needed whether the command cannot do without one, and so asks for it without an option
/// @return nothing when none is wanted. Throws UsageFailure when there is no terminal to ask at or
/// the password cannot be stored, and std::system_error when the file cannot be read.
std::optional<std::string> ReadPassword(const Arguments& given, bool needed);
