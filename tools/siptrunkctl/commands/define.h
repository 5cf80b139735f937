#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

#include "tools/siptrunkctl/commands/context.h"

// What the commands have in common when they are registered.

/// Adds a command.
/// @param parent the program, or a group of commands
/// @param group the heading that it stands under in the help
/// @param summary what it does, as the list of commands shows it
/// @param footer what the summary leaves open, and examples
CLI::App* AddCommand(CLI::App& parent, const char* name, const char* group, const char* summary,
                     const std::string& footer);

/// Adds a group of commands, which needs one of them.
CLI::App* AddGroup(CLI::App& root, const char* name, const char* group, const char* summary);

/// Returns the command of this name in a group; null when there is none.
const CLI::App* FindCommand(const CLI::App& group, const std::string& name);

/// Adds an option with a value. Of an option that is given twice the last counts, so what a shell's
/// alias gives can be overruled.
/// @param form what the value is, for the help
CLI::Option* AddValue(CLI::App& app, const char* name, std::string& value, const char* form,
                      const char* meaning);

/// Adds an option or a word with one of some values.
CLI::Option* AddChoice(Context& context, CLI::App& app, const char* name, std::string& value,
                       const char* meaning, const std::vector<std::string>& choices);

/// Adds a word that must be given, as nobody has it yet: a new name, an address.
CLI::Option* AddWord(CLI::App& app, const char* name, std::string& value, const char* meaning);

/// Adds words that may repeat.
CLI::Option* AddWords(CLI::App& app, const char* name, std::vector<std::string>& values,
                      const char* meaning);

/// Which trunks a word may name.
enum class Which { kAll, kToMaster, kForSlave };

/// Lets the completion offer the names of trunks, or the users of those for a slave.
void CompleteTrunks(Context& context, CLI::Option* option, Which which = Which::kAll);
void CompleteUsers(Context& context, CLI::Option* option, Which which);
/// Lets the completion offer these texts.
void CompleteWith(Context& context, CLI::Option* option, std::vector<Candidate> candidates);

/// Adds the word NAME of a stored trunk.
CLI::Option* AddTrunkName(Context& context, CLI::App& app, std::string& name,
                          Which which = Which::kAll);

/// Leaves the column of the last field out of a table in which nobody has anything in it.
void HideEmptyNotes(std::vector<Record>& records);

/// Adds "--type KIND".
void AddType(Context& context, CLI::App& app, std::string& type);

/// Tells whether a command changed a file of the device: the database, or the one given.
class ChangeNotice {
  public:
    ChangeNotice();
    explicit ChangeNotice(std::string path);
    bool Changed() const { return Text() != m_before; }
    /// The field that says so.
    Field Answer() const { return {"changed", State{Changed()}}; }

  private:
    std::string Text() const;

    std::string m_path;
    std::string m_before;
};
