#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "src/foundation/paths.h"
#include "tools/siptrunkctl/commands/context.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

/// What may stand for a word of the command line, for the completion.
struct Candidate {
    std::string text;
    std::string description = {};
};

/// Returns the candidates for a word; a candidate need not begin with what is typed.
using Candidates = std::function<std::vector<Candidate>()>;
using CandidatesOf = std::map<const CLI::Option*, Candidates>;

// Candidates that stand for files and folders, which the shell finds by itself.
constexpr const char* kFiles = ":files";
constexpr const char* kFolders = ":folders";

/// Which trunks a word may name.
enum class Which { kAll, kToMaster };

constexpr int kAnyNumber = (1 << 29) + 1;  ///< of words, as CLI11 has it

std::vector<std::string> TextsOf(const std::vector<Candidate>& candidates);

/// Returns the commands right below the tool or a command.
std::vector<Candidate> CommandsOf(const CLI::App& app);

Candidates These(std::vector<Candidate> candidates);
Candidates TrunkNames(Which which = Which::kAll);
Candidates SlaveUsers();

/// A command of the tool, or the tool itself, while it is registered with CLI11. The variables that
/// its functions take get the given values, so they must outlive it.
class Command {
  public:
    Command(CLI::App& app, Context& context, CandidatesOf& candidates)
        : m_app(&app), m_context(&context), m_candidates(&candidates) {}

    Arguments& Given() const { return m_context->given; }

    /// Adds a command below this one.
    /// @param group the heading that it stands under in the help
    /// @param summary what it does, as the list of commands shows it
    /// @param footer what the summary leaves open, and examples
    /// @param run does it; null for a group, which needs one of its commands
    Command Add(const char* name, const char* group, const char* summary, const std::string& footer,
                std::function<void(Context& context)> run) const;

    Command& Flag(const char* name, bool& isGiven, const char* meaning);
    /// Adds an option with a value. When it is given twice, the last one counts, so that it can
    /// overrule the one of a shell's alias.
    /// @param form what the value is, for the help
    Command& Value(const char* name, std::string& value, const char* form, const char* meaning,
                   Candidates candidates = {});
    /// Adds an option or a word with one of some values.
    Command& Choice(const char* name, std::string& value, const char* meaning,
                    const std::vector<Candidate>& choices);
    /// Adds "--type KIND".
    Command& Type();
    /// Adds an option with a list of some values, with commas between them.
    Command& List(const char* name, std::vector<std::string>& values, const char* form,
                  const char* meaning, const std::vector<Candidate>& choices);
    /// Adds a word that must be given.
    Command& Word(const char* name, std::string& value, const char* meaning,
                  Candidates candidates = {});
    /// Adds the word NAME of a stored trunk.
    Command& TrunkName(Which which = Which::kAll);
    /// Adds the words that need not be given, and of which there may be several.
    Command& Words(const char* name, const char* meaning, Candidates candidates = {},
                   int most = kAnyNumber);
    /// What was added last must be given, or must not be given with another option.
    Command& Required();
    Command& Excluding(const char* name);

  private:
    Command& Added(CLI::Option* option, Candidates candidates);

    CLI::App* m_app;
    Context* m_context;
    CandidatesOf* m_candidates;
    CLI::Option* m_last = nullptr;
};

// Each function registers the commands of one subject.

void AddTrunkQueries(const Command& root);
void AddTrunkChanges(const Command& root);
void AddMasterLink(const Command& root);
void AddSlaveRegistrations(const Command& root);
void AddAgents(const Command& root);
void AddDatabase(const Command& root);
void AddImport(const Command& root);
void AddEdit(const Command& root);
void AddWatch(const Command& root);

struct Change;

/// Confirms changes of the database: for people the text, with a line for each change before it
/// when `isTold`; as JSON the record and a list of all changes.
void ConfirmChanges(Context& context, const std::vector<Change>& changes, bool isTold,
                    const std::string& text, const Record& record);

/// Tells whether a command changed a file of the device.
class ChangeNotice {
  public:
    explicit ChangeNotice(std::string path = raiklaik::DatabasePath());
    bool Changed() const { return Text() != m_before; }
    /// Returns what was done to whom, and whether that changed the file.
    Record Answer(const char* action, Record whom = {}) const;

  private:
    std::string Text() const;

    std::string m_path;
    std::string m_before;
};
