#include "tools/siptrunkctl/commands/define.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "src/foundation/paths.h"
#include "tools/siptrunkctl/file/trunk_rows.h"

using namespace raiklaik;

namespace {

constexpr const char* kMore = "\n\nThe options of every command: siptrunkctl --help";

bool Fits(const TrunkRow& row, Which which) {
    return which == Which::kAll || row.isToMaster == (which == Which::kToMaster);
}

// Offers one text of each trunk. A database that cannot be read offers nothing.
void CompleteRows(Context& context, CLI::Option* option, Which which,
                  std::string (*describe)(const TrunkRow& row), std::string TrunkRow::*text) {
    context.candidates[option] = [which, describe, text] {
        std::vector<Candidate> candidates;
        for (const TrunkRow& row : ReadTrunkRows()) {
            if (Fits(row, which)) {
                candidates.push_back({row.*text, describe(row)});
            }
        }
        return candidates;
    };
}

std::string EmptyFault(const std::string& given) { return given.empty() ? "it is empty" : ""; }

}  // namespace

CLI::App* AddCommand(CLI::App& parent, const char* name, const char* group, const char* summary,
                     const std::string& footer) {
    CLI::App* command = parent.add_subcommand(name, summary);
    command->group(group);
    command->footer(footer + kMore);
    return command;
}

CLI::App* AddGroup(CLI::App& root, const char* name, const char* group, const char* summary) {
    CLI::App* commands = root.add_subcommand(name, summary);
    commands->group(group);
    commands->footer(kMore + 2);
    commands->require_subcommand(0, 1);  // a wrong one has the better message
    commands->callback([commands] {
        if (commands->get_subcommands().empty()) {
            throw CLI::RequiredError("a command");
        }
    });
    return commands;
}

const CLI::App* FindCommand(const CLI::App& group, const std::string& name) {
    const std::vector<const CLI::App*> found =
        group.get_subcommands([&](const CLI::App* command) { return command->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

CLI::Option* AddValue(CLI::App& app, const char* name, std::string& value, const char* form,
                      const char* meaning) {
    return app.add_option(name, value, meaning)->type_name(form)->take_last()->check(EmptyFault);
}

CLI::Option* AddChoice(Context& context, CLI::App& app, const char* name, std::string& value,
                       const char* meaning, const std::vector<std::string>& choices) {
    std::vector<Candidate> candidates;
    std::string form;
    for (const std::string& choice : choices) {
        candidates.push_back({choice, ""});
        form += (form.empty() ? "" : "|") + choice;
    }
    CLI::Option* option = app.add_option(name, value, meaning)
                              ->take_last()
                              ->check(CLI::IsMember(choices))
                              ->option_text(form);
    CompleteWith(context, option, std::move(candidates));
    return option;
}

CLI::Option* AddWord(CLI::App& app, const char* name, std::string& value, const char* meaning) {
    return app.add_option(name, value, meaning)->required()->option_text(" ");
}

CLI::Option* AddWords(CLI::App& app, const char* name, std::vector<std::string>& values,
                      const char* meaning) {
    // "Extra" words would do, too, but CLI11 takes such a word apart when it looks like [a,b].
    constexpr int kAnyNumber = (1 << 29) + 1;
    return app.add_option(name, values, meaning)
        ->expected(kAnyNumber)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false)
        ->option_text(" ");
}

void CompleteTrunks(Context& context, CLI::Option* option, Which which) {
    CompleteRows(
        context, option, which,
        [](const TrunkRow& row) { return row.Type() + (", user " + row.user); }, &TrunkRow::name);
}

void CompleteUsers(Context& context, CLI::Option* option, Which which) {
    CompleteRows(
        context, option, which, [](const TrunkRow& row) { return "trunk " + row.name; },
        &TrunkRow::user);
}

void CompleteWith(Context& context, CLI::Option* option, std::vector<Candidate> candidates) {
    context.candidates[option] = [candidates = std::move(candidates)] { return candidates; };
}

CLI::Option* AddTrunkName(Context& context, CLI::App& app, std::string& name, Which which) {
    CLI::Option* option = AddWord(app, "NAME", name, "the trunk");
    CompleteTrunks(context, option, which);
    return option;
}

void AddType(Context& context, CLI::App& app, std::string& type) {
    AddChoice(context, app, "--type", type, "only trunks of this kind", {"master", "slave", "all"});
}

void HideEmptyNotes(std::vector<Record>& records) {
    const auto hasNote = [](const Record& record) {
        return !std::holds_alternative<Nothing>(record.back().value);
    };
    if (std::none_of(records.begin(), records.end(), hasNote)) {
        for (Record& record : records) {
            record.back().rank = Rank::kOnlyJson;
        }
    }
}

ChangeNotice::ChangeNotice() : ChangeNotice(DatabasePath()) {}

ChangeNotice::ChangeNotice(std::string path) : m_path(std::move(path)), m_before(Text()) {}

std::string ChangeNotice::Text() const {
    std::error_code ignored;  // what cannot be looked at cannot be compared either
    if (!std::filesystem::is_regular_file(m_path, ignored)) {
        return "";  // one that is not there, or a FIFO, which would be waited for
    }
    std::ifstream file(m_path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
