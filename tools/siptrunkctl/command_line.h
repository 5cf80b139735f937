#pragma once

#include "tools/siptrunkctl/arguments.h"
#include "tools/siptrunkctl/command_table.h"

/// Reads the command line.
/// arguments  receives what it asks for
/// Returns the command; null when help or the version was asked for and has been printed. Throws
/// UsageFailure.
const Command* ReadCommandLine(int count, const char* const* words, Arguments& arguments);
