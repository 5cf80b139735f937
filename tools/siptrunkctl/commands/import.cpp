#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <unordered_map>
#include <unordered_set>

#include "src/foundation/key_table.h"
#include "src/foundation/paths.h"
#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/commands/define.h"
#include "tools/siptrunkctl/device/cause.h"
#include "tools/siptrunkctl/file/check.h"
#include "tools/siptrunkctl/file/compare.h"
#include "tools/siptrunkctl/file/input.h"
#include "tools/siptrunkctl/file/store.h"
#include "tools/siptrunkctl/file/transfer.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

// The database comes and goes as a whole here, so this works on the file itself: one save under the
// device's lock instead of many operations, which could not store a registration's date.

namespace {

constexpr std::size_t kMostClashes = 3;  // that are told one by one

struct ImportOptions {
    std::string file;
    bool replace = false;
    bool skipExisting = false;
    bool dryRun = false;
};

/// What is to be imported; the lines of the sections are their places in the input.
struct Input {
    std::string name;
    Sections sections;

    std::string At(const DatabaseSection& section) const {
        return name + ": section " + std::to_string(section.line) + ": ";
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
            text += input.At(section) + key + " " + Quoted(section.Get(key)) + " is taken\n";
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
void RequireGood(const Input& input, const Sections& kept) {
    Database whole;
    const auto append = [&](const Sections& sections, bool wantsSwitches) {
        std::copy_if(
            sections.begin(), sections.end(), std::back_inserter(whole.sections),
            [&](const DatabaseSection& section) { return IsSwitches(section) == wantsSwitches; });
    };
    append(input.sections, true);
    for (DatabaseSection section : kept) {
        section.line = 0;
        for (DatabaseEntry& entry : section.entries) {
            entry.line = 0;
        }
        whole.sections.push_back(std::move(section));
    }
    append(input.sections, false);
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

/// What an import does to the database.
struct Outcome {
    std::vector<Change> changes;
    bool changed = false;  ///< also when only the file's text is another
};

// Checks everything against what is stored, and stores the input unless it is only a trial.
Outcome Apply(Input& input, const ImportOptions& options) {
    const std::string path = DatabasePath();
    const std::string before = HasDatabase() ? ReadDatabaseText(path) : "";
    const Database stored = ScanDatabase(before);
    RequireSound(path, stored);
    const Sections kept = options.replace ? Sections() : stored.sections;
    if (!kept.empty() && IsSwitches(kept.front())) {
        RemoveSections(input, IsSwitches);  // the device keeps its own
    }
    if (options.skipExisting) {
        const Index names(kept, key::kTrunkName);
        RemoveSections(input, [&](const DatabaseSection& section) {
            return names.Counterpart(section) != nullptr;
        });
    }
    RequireFree(input, kept);
    FillHidden(input, stored.sections);
    RequireGood(input, kept);
    const std::string whole = TextWith(before, stored, input.sections, options.replace);
    if (!options.dryRun && (whole != before || !HasDatabase())) {
        StoreDatabase(before, whole);
    }
    return {Compare(stored.sections, ScanDatabase(whole).sections), whole != before};
}

void Import(Context& context, const ImportOptions& options) {
    const std::string name = options.file == "-" ? "standard input" : Printable(options.file);
    Input input{name, SectionsFromJson(ReadInput(options.file), name)};
    Outcome outcome;
    if (options.dryRun) {
        outcome = Apply(input, options);
    } else {
        WaitForLock(context.libraryOptions.wait);
        const DeviceLock lock;
        outcome = Apply(input, options);
    }
    const auto trunks = static_cast<std::size_t>(std::count_if(
        input.sections.begin(), input.sections.end(),
        [](const DatabaseSection& section) { return section.Find(key::kTrunkName) != nullptr; }));
    const bool secrets = context.outputOptions.showSecrets;
    std::string text;
    for (const Change& change : outcome.changes) {
        text += options.dryRun ? ChangeText(change, secrets) + "\n" : "";
    }
    text += (options.dryRun ? "would import " : "imported ") + std::to_string(trunks) +
            (trunks == 1 ? " trunk" : " trunks") +
            (outcome.changed ? "" : "; that changes nothing");
    Json answer = ToJson(Record{{"action", std::string(options.dryRun ? "checked" : "imported")},
                                {"trunks", trunks},
                                {"replaced", State{options.replace}},
                                {"changed", State{outcome.changed}}},
                         secrets);
    answer["changes"] = ToJson(outcome.changes, secrets);
    context.output.Confirm(text, answer);
}

}  // namespace

void AddImport(CLI::App& root, Context& context) {
    CLI::App* command = AddCommand(
        root, "import", "The database as a whole", "store what \"export\" printed",
        "Everything is checked first, and then stored in one step. The trunks are added to those\n"
        "stored; with --replace they take their place. A password that is null stays the one\n"
        "stored for the trunk of that name.\n\nExample:\n"
        "  siptrunkctl import trunks.json --dry-run");
    auto options = std::make_shared<ImportOptions>();
    CompleteWith(context,
                 AddWord(*command, "FILE", options->file, "JSON, - for the standard input"),
                 {{kFiles, ""}});
    CLI::Option* replace =
        command->add_flag("--replace", options->replace, "remove what is stored first");
    command
        ->add_flag("--skip-existing", options->skipExisting,
                   "leave out the trunks whose names are stored")
        ->excludes(replace);
    command->add_flag("--dry-run", options->dryRun, "show the difference, store nothing");
    command->callback([&context, options] { Import(context, *options); });
}
