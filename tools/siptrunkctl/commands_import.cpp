#include <algorithm>
#include <string_view>

#include "support/multi_section_file.h"
#include "support/process_semaphore.h"
#include "tools/siptrunkctl/commands.h"
#include "tools/siptrunkctl/database_check.h"
#include "tools/siptrunkctl/database_json.h"
#include "tools/siptrunkctl/database_text.h"
#include "tools/siptrunkctl/device.h"
#include "tools/siptrunkctl/failure.h"
#include "tools/siptrunkctl/input.h"
#include "tools/siptrunkctl/text.h"
#include "tools/siptrunkctl/trunks.h"

// The database comes and goes as a whole here, so this room works on the file itself: one save
// under the device's lock instead of many operations, which could not store a registration's date.

namespace {

using Sections = std::vector<DatabaseSection>;

/// The device's lock, held for as long as the object lives.
class HeldLock {
  public:
    HeldLock() { m_lock.Lock(true); }
    ~HeldLock() { m_lock.Unlock(); }
    HeldLock(const HeldLock&) = delete;
    HeldLock& operator=(const HeldLock&) = delete;

  private:
    Semaphore m_lock{43, "/bin/ls"};
};

/// What is to be imported; the lines of the sections are their places in the input.
struct Input {
    std::string name;
    Sections sections;
};

bool IsSwitches(const DatabaseSection& section) {
    return section.Find("siptrunk_master_enabled") != nullptr &&
           section.Find("siptrunk_slave_enabled") != nullptr &&
           section.Find("trunk_name") == nullptr;
}

// Returns the section with this text under the key; null when there is none.
const DatabaseSection* FindSection(const Sections& sections, const char* key,
                                   const std::string& text) {
    for (const DatabaseSection& section : sections) {
        const std::string* value = section.Find(key);
        if (value != nullptr && *value == text) {
            return &section;
        }
    }
    return nullptr;
}

void RequireFree(const Input& input, const Sections& kept) {
    std::string text;
    for (const DatabaseSection& section : input.sections) {
        for (const char* key : {"trunk_name", "user_name"}) {
            const std::string* value = section.Find(key);
            if (value != nullptr && FindSection(kept, key, *value) != nullptr) {
                text += (text.empty() ? "" : "\n") + input.name + ": section " +
                        std::to_string(section.line) + ": " + key + " " + Quoted(*value) +
                        " is taken; --replace removes what is stored";
            }
        }
    }
    if (!text.empty()) {
        throw Failure(ExitCode::kTaken, text);
    }
}

// A hidden password is the one stored for the trunk of the same name.
void FillHidden(Input& input, const Sections& stored) {
    for (DatabaseSection& section : input.sections) {
        const std::string* name = section.Find("trunk_name");
        const DatabaseSection* old =
            name == nullptr ? nullptr : FindSection(stored, "trunk_name", *name);
        for (DatabaseEntry& entry : section.entries) {
            if (!entry.hidden) {
                continue;
            }
            const std::string* value = old == nullptr ? nullptr : old->Find(entry.key);
            if (value == nullptr) {
                RefuseSection(input.name, section.line,
                              "key " + Quoted(entry.key) +
                                  ": it is null, and none is stored for that trunk; \"export "
                                  "--show-secrets\" exports it");
            }
            entry.value = *value;
        }
    }
}

// Checks the database that would come out. What was stored before counts, but is not to blame.
void RequireSound(const Input& input, const Sections& kept) {
    Database whole;
    whole.sections = kept;
    for (DatabaseSection& section : whole.sections) {
        section.line = 0;
        for (DatabaseEntry& entry : section.entries) {
            entry.line = 0;
        }
    }
    for (const DatabaseSection& section : input.sections) {
        whole.sections.insert(IsSwitches(section) ? whole.sections.begin() : whole.sections.end(),
                              section);
    }
    std::string text;
    for (const Problem& problem : FindProblems(whole, "section")) {
        if (problem.line != 0) {
            text += (text.empty() ? "" : "\n") + input.name + ": section " +
                    std::to_string(problem.line) + ": " + problem.reason;
        }
    }
    if (!text.empty()) {
        throw Failure(ExitCode::kFailed, text);
    }
}

void Store(const Input& input, bool replace) {
    Configuration::MultiSectionFile file(DatabasePath().c_str(), true, false, false, "section",
                                         "{\n", "}\n", "=", "#", nullptr);
    file.Restart();
    while (replace && file.GotoNextSection()) {
        file.DeleteSection();
    }
    for (const DatabaseSection& section : input.sections) {
        file.AddSection(IsSwitches(section));
        for (const DatabaseEntry& entry : section.entries) {
            file.AddSectionEntry(entry.key.c_str(), entry.value.c_str());
        }
    }
    file.Save(true, nullptr);
}

// Checks everything against what is stored, and stores the input unless it is only a trial.
void Apply(Input& input, const Arguments& options) {
    const Sections stored = HasDatabase() ? RequireDatabase(DatabasePath()).sections : Sections();
    const Sections kept = options.replace ? Sections() : stored;
    if (!kept.empty() && IsSwitches(kept.front())) {
        // The device keeps its own.
        input.sections.erase(
            std::remove_if(input.sections.begin(), input.sections.end(), IsSwitches),
            input.sections.end());
    }
    RequireFree(input, kept);
    FillHidden(input, stored);
    RequireSound(input, kept);
    if (!options.dryRun) {
        Store(input, options.replace);
    }
}

}  // namespace

void command::Import(Session& session) {
    const Arguments& options = session.Options();
    const std::string& file = session.Word(0);
    const std::string name = file == "-" ? "standard input" : Printable(file);
    Input input{name, SectionsFromJson(ReadInput(file), name)};
    if (options.dryRun) {
        Apply(input, options);
    } else {
        WaitForLock(options);
        const HeldLock lock;
        Apply(input, options);
    }
    const auto trunks = std::count_if(
        input.sections.begin(), input.sections.end(),
        [](const DatabaseSection& section) { return section.Find("trunk_name") != nullptr; });
    session.Confirm(
        (options.dryRun ? "would import " : "imported ") + std::to_string(trunks) +
            (trunks == 1 ? " trunk" : " trunks"),
        {Text("action", options.dryRun ? "checked" : "imported"),
         Number("trunks", static_cast<std::size_t>(trunks)), State("replaced", options.replace)});
}
