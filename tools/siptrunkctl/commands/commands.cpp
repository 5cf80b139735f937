#include "tools/siptrunkctl/commands/commands.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "tools/siptrunkctl/file/trunk_rows.h"

namespace {

std::string EmptyFault(const std::string& given) { return given.empty() ? "it is empty" : ""; }

std::string Joined(const std::vector<Candidate>& candidates, const char* separator) {
    std::string text;
    for (const Candidate& candidate : candidates) {
        text += (text.empty() ? "" : separator) + candidate.text;
    }
    return text;
}

}  // namespace

std::vector<std::string> TextsOf(const std::vector<Candidate>& candidates) {
    std::vector<std::string> texts;
    for (const Candidate& candidate : candidates) {
        texts.push_back(candidate.text);
    }
    return texts;
}

std::vector<Candidate> CommandsOf(const CLI::App& app) {
    std::vector<Candidate> commands;
    for (const CLI::App* command : app.get_subcommands({})) {
        commands.push_back({command->get_name(), command->get_description()});
    }
    return commands;
}

Candidates These(std::vector<Candidate> candidates) {
    return [candidates = std::move(candidates)] { return candidates; };
}

Candidates TrunkNames(Which which) {
    return [which] {
        std::vector<Candidate> candidates;
        for (const TrunkRow& row : ReadTrunkRows()) {
            if (which == Which::kAll || row.isToMaster) {
                candidates.push_back({row.name, row.Type() + (", user " + row.user)});
            }
        }
        return candidates;
    };
}

Candidates SlaveUsers() {
    return [] {
        std::vector<Candidate> candidates;
        for (const TrunkRow& row : ReadTrunkRows()) {
            if (!row.isToMaster) {
                candidates.push_back({row.user, "trunk " + row.name});
            }
        }
        return candidates;
    };
}

Command Command::Add(const char* name, const char* group, const char* summary,
                     const std::string& footer, std::function<void(Context& context)> run) const {
    CLI::App* added = m_app->add_subcommand(name, summary);
    added->group(group);
    added->footer(footer + (footer.empty() ? "" : "\n\n") +
                  "The options of every command: siptrunkctl --help");
    added->require_subcommand(0, 1);  // a wrong or missing one has the better message
    added->callback([added, run = std::move(run), context = m_context] {
        if (!added->get_subcommands().empty()) {
            return;  // that one runs
        }
        if (!run) {
            throw CLI::RequiredError("a command is required: " + Joined(CommandsOf(*added), ", "),
                                     CLI::ExitCodes::RequiredError);
        }
        run(*context);
    });
    return {*added, *m_context, *m_candidates};
}

Command& Command::Added(CLI::Option* option, Candidates candidates) {
    if (candidates) {
        (*m_candidates)[option] = std::move(candidates);
    }
    m_last = option;
    return *this;
}

Command& Command::Flag(const char* name, bool& isGiven, const char* meaning) {
    return Added(m_app->add_flag(name, isGiven, meaning), {});
}

Command& Command::Value(const char* name, std::string& value, const char* form, const char* meaning,
                        Candidates candidates) {
    CLI::Option* option = m_app->add_option(name, value, meaning);
    return Added(option->type_name(form)->take_last()->check(EmptyFault), std::move(candidates));
}

Command& Command::Choice(const char* name, std::string& value, const char* meaning,
                         const std::vector<Candidate>& choices) {
    CLI::Option* option = m_app->add_option(name, value, meaning);
    option->take_last()->check(CLI::IsMember(TextsOf(choices)))->option_text(Joined(choices, "|"));
    return Added(option, These(choices));
}

Command& Command::Type() {
    return Choice("--type", Given().type, "only trunks of this kind",
                  {{"master"}, {"slave"}, {"all"}});
}

Command& Command::List(const char* name, std::vector<std::string>& values, const char* form,
                       const char* meaning, const std::vector<Candidate>& choices) {
    CLI::Option* option = m_app->add_option(name, values, meaning);
    option->delimiter(',')->allow_extra_args(false)->check(CLI::IsMember(TextsOf(choices)));
    return Added(option->option_text(form), These(choices));
}

Command& Command::Word(const char* name, std::string& value, const char* meaning,
                       Candidates candidates) {
    CLI::Option* option = m_app->add_option(name, value, meaning);
    return Added(option->required()->option_text(" "), std::move(candidates));
}

Command& Command::TrunkName(Which which) {
    return Word("NAME", Given().name, "the trunk", TrunkNames(which));
}

Command& Command::Words(const char* name, const char* meaning, Candidates candidates, int most) {
    // "Extra" words would do, too, but CLI11 takes such a word apart when it looks like [a,b].
    CLI::Option* option = m_app->add_option(name, Given().words, meaning);
    option->expected(most)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    return Added(option->allow_extra_args(false)->option_text(" "), std::move(candidates));
}

Command& Command::Required() {
    m_last->required();
    return *this;
}

Command& Command::Excluding(const char* name) {
    m_last->excludes(m_app->get_option(name));
    return *this;
}

ChangeNotice::ChangeNotice(std::string path) : m_path(std::move(path)), m_before(Text()) {}

Record ChangeNotice::Answer(const char* action, Record whom) const {
    whom.insert(whom.begin(), {"action", action});
    whom.push_back({"changed", State{Changed()}});
    return whom;
}

std::string ChangeNotice::Text() const {
    std::error_code ignored;  // what cannot be looked at cannot be compared either
    if (!std::filesystem::is_regular_file(m_path, ignored)) {
        return "";  // one that is not there, or a FIFO, which would be waited for
    }
    std::ifstream file(m_path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
