#pragma once

#include <CLI/App.hpp>

#include "tools/siptrunkctl/commands/context.h"

// Each function registers the commands of one subject: their words, their options, and what they
// do, as the callback of CLI11. `context` outlives `root`.

void AddTrunkQueries(CLI::App& root, Context& context);
void AddCheck(CLI::App& root, Context& context);
void AddTrunkChanges(CLI::App& root, Context& context);
void AddMasterLink(CLI::App& root, Context& context);
void AddSlaveRegistrations(CLI::App& root, Context& context);
void AddAgents(CLI::App& root, Context& context);
void AddDatabase(CLI::App& root, Context& context);
void AddImport(CLI::App& root, Context& context);
void AddEdit(CLI::App& root, Context& context);
void AddWatch(CLI::App& root, Context& context);
