#pragma once

#include <string>

#include "tools/siptrunkctl/file/database.h"
#include "tools/siptrunkctl/view/json.h"

// The database as JSON: {"sections": [{"trunk_name": "office", ...}, ...]}, all values as texts, a
// hidden password as null.

/// @return the sections as JSON. Of a key that occurs twice, it has only the first value, the one
/// that the library reads. Throws a Failure for a key that JSON cannot carry.
/// @param path the database's file, for the failure's text
/// @param secrets whether passwords are shown
Json ToJson(const Sections& sections, const std::string& path, bool secrets);

/// Reads the JSON back. A section's line is its place, from 1 on.
/// @param text the JSON
/// @param name what it was read from, for failures
///
/// Throws a Failure, which never quotes a value, when the text is no such JSON or holds what the
/// database cannot store.
Sections SectionsFromJson(const std::string& text, const std::string& name);

/// Throws the failure of an imported section.
[[noreturn]] void RefuseSection(const std::string& name, std::size_t section,
                                const std::string& reason);
