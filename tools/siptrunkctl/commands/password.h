#pragma once

#include <CLI/App.hpp>
#include <optional>
#include <string>

#include "tools/siptrunkctl/commands/context.h"

/// Where the password of a command comes from.
struct PasswordOptions {
    std::string file;  ///< "-" for the standard input; empty for none
    bool ask = false;
};

/// Adds "--password-file FILE" and "--ask-password", which exclude each other.
void AddPasswordOptions(Context& context, CLI::App& app, PasswordOptions& options);

/// Gets the password that a command stores: from the file, or from the terminal, without echo,
/// twice.
/// @param needed whether the command cannot do without one and so asks unbidden
/// @return nothing when the options want none. Throws UsageFailure when there is no terminal to ask
/// at or the password cannot be stored, and std::system_error when the file cannot be read.
std::optional<std::string> ReadPassword(const PasswordOptions& options, bool needed);
