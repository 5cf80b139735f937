#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/siptrunkctl/file/database.h"
#include "tools/siptrunkctl/view/value.h"

/// One difference between two states of the database.
struct Change {
    const char* what;                 ///< "added", "deleted" or "changed"
    std::optional<std::string> name;  ///< the trunk's; none for the agents' switches
    std::string key;                  ///< of a changed trunk or switch
    std::optional<std::string> before;
    std::optional<std::string> after;
};

/// Returns what has changed from one state of the database to the next. Of several trunks with one
/// name only the first counts, and the sections without a name are the agents' switches.
std::vector<Change> Compare(const Sections& before, const Sections& after);

/// Returns a change as a line for people, without the line end; `secrets` says whether passwords
/// are shown.
std::string ChangeText(const Change& change, bool secrets);

/// Returns a change for JSON.
Record ChangeRecord(const Change& change);
