#pragma once

#include <CLI/App.hpp>

#include "tools/siptrunkctl/commands/context.h"

/// The hidden command that the completions of the shells call.
constexpr const char* kCompleteCommand = "__complete";

/// Prints what may stand at the place of the cursor, one candidate to a line: the text, a tab, and
/// what it is. ":files" and ":folders" leave it to the shell.
/// @param words "words" and the command line's words up to the cursor, without quotation marks; or
/// "bash" and the line up to the cursor as it was typed. The candidates for bash have its quotation
/// marks, and lack what stands before the last place at which it breaks words.
void Complete(const CLI::App& root, Context& context, const std::vector<std::string>& words);
