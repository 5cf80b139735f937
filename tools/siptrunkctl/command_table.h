#pragma once

#include <string>

#include "tools/siptrunkctl/session.h"

/// The options that only some commands have.
enum CommandOption : unsigned int {
    kNoOptions = 0,
    kType = 1U << 0U,
    kActive = 1U << 1U,
    kNames = 1U << 2U,
    kUser = 1U << 3U,
    kEdit = 1U << 4U,
    kPassword = 1U << 5U,
    kResetRegistration = 1U << 6U,
    kSaved = 1U << 7U,
    kYes = 1U << 8U,
    kReplace = 1U << 9U,
    kDryRun = 1U << 10U
};

/// One command of the tool. The help, the parser and the dispatcher all read this table.
struct Command {
    const char* name;         ///< one word, or a group and a word
    const char* words;        ///< what follows: NAME must be there, [NAME] may, NAME... repeats
    unsigned int options;     ///< those of CommandOption that it has
    const char* summary;      ///< what it does, as the list of commands shows it
    const char* explanation;  ///< what the summary leaves open; may be empty
    const char* example;
    void (*run)(Session& session);
};

/// The commands, in the order of the help; the last one has no name.
extern const Command kCommands[];
