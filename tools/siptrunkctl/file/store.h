#pragma once

#include <string>

#include "tools/siptrunkctl/file/database.h"

// Writing the database as a whole, through the support library. The caller holds the device's lock.

/// @return a database's text with sections put into it: the agents' switches before the first
/// section, all others after the last line.
/// @param text the text as it is
/// @param stored the same, taken apart
/// @param replace whether the sections that are there go; comments between them stay
std::string TextWith(const std::string& text, const Database& stored, const Sections& sections,
                     bool replace);

/// Replaces the text of the device's database, durably, with its owner and mode; makes a missing
/// one.
/// @param before the text that the new one was made from; empty for a missing file
///
/// Throws std::system_error with the text "path: step: reason", and a Failure when the file holds
/// another text by now.
void StoreDatabase(const std::string& before, const std::string& text);
