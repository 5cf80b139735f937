#pragma once

#include "tools/siptrunkctl/commands/commands.h"

/// The hidden command that the completions of the shells call.
constexpr const char* kCompleteCommand = "__complete";

/// Returns the long options of a command and of those above it.
std::vector<Candidate> OptionsOf(const CLI::App* app);

/// Returns the last command that was given; the tool itself when there was none.
const CLI::App* ChosenOf(const CLI::App& app);

/// Prints what may stand at the place of the cursor, one candidate to a line: the text, a tab, and
/// what it is. ":files" and ":folders" leave it to the shell.
/// @param context gets what the tool's options say
/// @param words "words" and the command line's words up to the cursor, without quotation marks; or
/// "bash" and the line up to the cursor as it was typed. The candidates for bash have its quotation
/// marks, and lack what stands before the last place at which it breaks words.
void Complete(CLI::App& app, const CandidatesOf& candidates, Context& context,
              const std::vector<std::string>& words);
