#include <algorithm>
#include <functional>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "src/foundation/key_table.h"
#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/device/cause.h"
#include "tools/siptrunkctl/file/check.h"
#include "tools/siptrunkctl/file/compare.h"
#include "tools/siptrunkctl/file/database.h"
#include "tools/siptrunkctl/file/input.h"
#include "tools/siptrunkctl/file/transfer.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

// The database comes and goes as a whole here, so this works on the file itself: one save under the
// device's lock instead of many operations, which could not store a registration's date.

namespace {

constexpr std::size_t kMostClashes = 3;  // that are told one by one

/// What is to be imported; the lines of the sections are their places in the input.
struct Input {
    std::string name;
    Sections sections;

    std::string At(std::size_t section) const {
        return name + ": section " + std::to_string(section) + ": ";
    }
};

/// The sections of a database by the value of one key.
class Index {
  public:
    Index(const Sections& sections, const char* key) : m_key(key) {
        for (const DatabaseSection& section : sections) {
            if (const std::string* value = section.Find(key)) {
                m_sections.emplace(*value, &section);
            }
        }
    }
    const DatabaseSection* Counterpart(const DatabaseSection& section) const {
        const std::string* value = section.Find(m_key);
        const auto found = value == nullptr ? m_sections.end() : m_sections.find(*value);
        return found == m_sections.end() ? nullptr : found->second;
    }

  private:
    const char* m_key;
    std::unordered_map<std::string_view, const DatabaseSection*> m_sections;
};

void RemoveSections(Input& input, const std::function<bool(const DatabaseSection&)>& isUnwanted) {
    input.sections.erase(std::remove_if(input.sections.begin(), input.sections.end(), isUnwanted),
                         input.sections.end());
}

void RequireFree(const Input& input, const Sections& kept) {
    const Index names(kept, key::kTrunkName);
    const Index users(kept, key::kUserName);
    std::string text;
    std::size_t clashes = 0;
    for (const DatabaseSection& section : input.sections) {
        const bool hasName = names.Counterpart(section) != nullptr;
        if (!hasName && users.Counterpart(section) == nullptr) {
            continue;
        }
        const char* key = hasName ? key::kTrunkName : key::kUserName;
        if (++clashes <= kMostClashes) {
            text += input.At(section.line) + key + " " + Quoted(section.Get(key)) + " is taken\n";
        }
    }
    if (clashes != 0) {
        throw Failure(ExitCode::kTaken,
                      text + input.name + ": " + std::to_string(clashes) + " of " +
                          std::to_string(input.sections.size()) +
                          " sections clash with what is stored; --skip-existing leaves out the "
                          "trunks that are there, --replace removes what is stored");
    }
}

// A hidden password is the one stored for the trunk of the same name.
void FillHidden(Input& input, const Sections& stored) {
    const Index names(stored, key::kTrunkName);
    for (DatabaseSection& section : input.sections) {
        const DatabaseSection* old = names.Counterpart(section);
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
void RequireGood(Input input, Sections kept) {
    for (DatabaseSection& section : kept) {
        section.line = 0;
        for (DatabaseEntry& entry : section.entries) {
            entry.line = 0;
        }
    }
    Sections& added = input.sections;
    const auto trunks = std::stable_partition(added.begin(), added.end(), IsSwitches);
    Database whole;
    whole.sections.assign(added.begin(), trunks);
    whole.sections.insert(whole.sections.end(), kept.begin(), kept.end());
    whole.sections.insert(whole.sections.end(), trunks, added.end());
    std::string text;
    for (const Problem& problem : FindProblems(whole, "section")) {
        if (problem.line != 0) {
            text += (text.empty() ? "" : "\n") + input.At(problem.line) + problem.reason;
        }
    }
    if (!text.empty()) {
        throw Failure(text);
    }
}

/// What an import does to the database.
struct Outcome {
    std::vector<Change> changes;
    bool changed = false;  ///< also when only the file's text is another
};

// Checks everything against what is stored, and stores the input unless it is only a trial.
Outcome Apply(Input& input, const Arguments& given) {
    const std::string path = DatabasePath();
    const std::string before = HasDatabase() ? ReadDatabaseText(path) : "";
    const Database stored = ScanDatabase(before);
    RequireSound(path, stored);
    const Sections kept = given.replace ? Sections() : stored.sections;
    if (!kept.empty() && IsSwitches(kept.front())) {
        RemoveSections(input, IsSwitches);  // the device keeps its own
    }
    if (given.skipExisting) {
        const Index names(kept, key::kTrunkName);
        RemoveSections(input, [&](const DatabaseSection& section) {
            return names.Counterpart(section) != nullptr;
        });
    }
    RequireFree(input, kept);
    FillHidden(input, stored.sections);
    RequireGood(input, kept);
    const std::string whole = TextWith(before, stored, input.sections, given.replace);
    if (!given.dryRun && (whole != before || !HasDatabase())) {
        StoreDatabase(before, whole);
    }
    return {Compare(stored.sections, ScanDatabase(whole).sections), whole != before};
}

void Import(Context& context) {
    const Arguments& given = context.given;
    const std::string name = given.file == "-" ? "standard input" : Printable(given.file);
    Input input{name, SectionsFromJson(ReadInput(given.file), name)};
    std::optional<DeviceLock> lock;
    if (!given.dryRun) {
        WaitForLock(context.libraryOptions.wait);
        lock.emplace();
    }
    const Outcome outcome = Apply(input, given);
    lock.reset();
    const auto trunks = static_cast<std::size_t>(std::count_if(
        input.sections.begin(), input.sections.end(),
        [](const DatabaseSection& section) { return section.Find(key::kTrunkName) != nullptr; }));
    ConfirmChanges(context, outcome.changes, given.dryRun,
                   (given.dryRun ? "would import " : "imported ") + std::to_string(trunks) +
                       (trunks == 1 ? " trunk" : " trunks") +
                       (outcome.changed ? "" : "; that changes nothing"),
                   {{"action", given.dryRun ? "checked" : "imported"},
                    {"trunks", trunks},
                    {"replaced", State{given.replace}},
                    {"changed", State{outcome.changed}}});
}

}  // namespace

void AddImport(const Command& root) {
    Arguments& given = root.Given();
    root.Add("import", "The database as a whole", "store what \"export\" printed",
             "Everything is checked first, and then stored in one step. The trunks are added\n"
             "to those stored; with --replace they take their place. A password that is null\n"
             "stays the one stored for the trunk of that name.\n\nExample:\n"
             "  siptrunkctl import trunks.json --dry-run",
             Import)
        .Word("FILE", given.file, "JSON, - for the standard input", These({{kFiles}}))
        .Flag("--replace", given.replace, "remove what is stored first")
        .Flag("--skip-existing", given.skipExisting, "leave out the trunks whose names are stored")
        .Excluding("--replace")
        .Flag("--dry-run", given.dryRun, "show the difference, store nothing");
}
