#pragma once

#include "tools/siptrunkctl/commands/context.h"

/// Reads the command line and runs the command that it asks for.
/// @param words those after the program's name
///
/// Throws a Failure; a wrong command line is a UsageFailure.
void RunCommandLine(const std::vector<std::string>& words, Context& context);
