#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tools/siptrunkctl/view/value.h"

// The trunk database as it stands in its file: every section and key, also those that the library
// does not know.

struct DatabaseEntry {
    std::string key;
    std::string value;
    std::size_t line = 0;
    bool hidden = false;  ///< whether the value was held back when it was exported
};

struct DatabaseSection {
    std::size_t line = 0;  ///< of its opening line
    std::vector<DatabaseEntry> entries;
    std::size_t begin = 0;  ///< where its opening line begins in the text
    std::size_t end = 0;    ///< where the line after it begins

    /// Returns the value of the first entry with this key; null when there is none.
    const std::string* Find(std::string_view key) const;
    /// The same, but the empty text when there is none, as the library reads it.
    std::string_view Get(std::string_view key) const;
};

using Sections = std::vector<DatabaseSection>;

struct Problem {
    std::size_t line;
    std::string reason;
};

struct Database {
    Sections sections;
    std::vector<Problem> problems;  ///< lines that break the grammar, in the order of the file
};

/// Returns whether the values of a key are passwords.
bool IsSecret(std::string_view key);

/// Returns the text of a key as a value: a secret when it is a password, nothing when it is null.
Value ValueOf(std::string_view key, const std::string* text);

/// Returns whether a section is the one of the agents' switches.
bool IsSwitches(const DatabaseSection& section);

/// Returns the section of the trunk that programs find by its name; null when there is none.
const DatabaseSection* FindTrunk(const Sections& sections, const std::string& name);

/// Takes a database's text apart. After a line that breaks the grammar it goes on with the next, so
/// that all such lines are found.
Database ScanDatabase(std::string_view text);

/// Reads a database file without the device's lock: a save replaces the file whole, so what is read
/// is never half of one. Throws std::system_error when it cannot be read, and a Failure when it is
/// larger than kLargestFile.
std::string ReadDatabaseText(const std::string& path);

/// The same for a command that needs a sound database: throws a Failure at the first line that
/// breaks the grammar.
Database RequireDatabase(const std::string& path);

/// Throws a Failure at the first line that breaks the grammar, if there is one.
void RequireSound(const std::string& path, const Database& database);

/// @return a database's text with sections put into it: the agents' switches before the first
/// section, all others after the last line.
/// @param text the text as it is
/// @param stored the same, taken apart
/// @param replace whether the stored sections are removed; comments between them stay
std::string TextWith(const std::string& text, const Database& stored, const Sections& sections,
                     bool replace);

/// Replaces the text of the device's database, durably, with its owner and mode; makes a missing
/// one. The caller holds the device's lock.
/// @param before the text that the new one was made from; empty for a missing file
///
/// Throws std::system_error with the text "path: step: reason", and a Failure when the file holds
/// another text by now.
void StoreDatabase(const std::string& before, const std::string& text);
