#include "tools/siptrunkctl/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string_view>

#include "tools/siptrunkctl/failure.h"
#include "tools/siptrunkctl/output.h"
#include "tools/siptrunkctl/text.h"

namespace {

constexpr const char* kDescription = "Looks after the SIP trunks of this device.";
constexpr const char* kFooter =
    "Exit codes: 0 done, 1 failed, 2 wrong use, 3 no such trunk or user, 4 name or user taken,\n"
    "5 database malformed, 6 not permitted.\n"
    "The directory is the one of -C, else of the variable QORV_PATH, else /etc/qorv-conf.\n\n"
    "Examples:\n"
    "  siptrunkctl list\n"
    "  siptrunkctl add office type=master user=1001 ip=192.0.2.10 port=5060\n"
    "  siptrunkctl -C /mnt/flash/conf validate\n"
    "\"siptrunkctl COMMAND --help\" tells more about a command.";

constexpr const char* kMore = "The options of every command: siptrunkctl --help";

// "slave register" of the command by that name; empty for the program itself.
std::string NameOf(const CLI::App* app) {
    std::string name;
    for (; app->get_parent() != nullptr; app = app->get_parent()) {
        name.insert(0, app->get_name() + (name.empty() ? "" : " "));
    }
    return name;
}

bool IsInGroup(const std::string& name, const std::string& group) {
    return group.empty() || name.compare(0, group.size() + 1, group + " ") == 0;
}

// The parsing library's own help knows neither KEY=VALUE nor which words may be left out.
class HelpFormatter : public CLI::Formatter {
  public:
    std::string make_usage(const CLI::App* app, std::string /*name*/) const override {
        const std::string name = NameOf(app);
        std::string words =
            app->get_subcommands([](const CLI::App*) { return true; }).empty() ? "" : " COMMAND";
        for (const Command* command = kCommands; command->name != nullptr; ++command) {
            if (name == command->name) {
                words = *command->words == '\0' ? "" : std::string(" ") + command->words;
            }
        }
        return "Usage: siptrunkctl" + (name.empty() ? "" : " " + name) + words + " [OPTIONS]\n";
    }

    std::string make_subcommands(const CLI::App* app, CLI::AppFormatMode /*mode*/) const override {
        const std::string group = NameOf(app);
        std::ostringstream text;
        for (const Command* command = kCommands; command->name != nullptr; ++command) {
            if (IsInGroup(command->name, group)) {
                const std::string words =
                    *command->words == '\0' ? "" : std::string(" ") + command->words;
                CLI::detail::format_help(text, command->name + words, command->summary, kColumn);
            }
        }
        return text.str().empty() ? "" : "\nCommands:\n" + text.str();
    }

    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode mode) const override {
        // The words behind a command are a hidden group, of which a blank line remains.
        return CLI::detail::find_and_replace(CLI::Formatter::make_help(app, std::move(name), mode),
                                             "\n\n\n", "\n\n");
    }

    std::string make_option_name(const CLI::Option* option, bool /*isWord*/) const override {
        return CLI::detail::find_and_replace(option->get_name(false, true), ",", ", ");
    }

  private:
    static constexpr std::size_t kColumn = 34;
};

std::vector<std::string> Split(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> parts;
    for (std::string part; stream >> part;) {
        parts.push_back(part);
    }
    return parts;
}

// Of an option that is given twice the last counts, so what a shell's alias gives can be overruled.
CLI::Option* AddValue(CLI::App& app, const char* name, std::string& value, const char* meaning,
                      const char* type) {
    return app.add_option(name, value, meaning)
        ->type_name(type)
        ->take_last()
        ->check([](const std::string& given) {
            return given.empty() ? std::string("its value is empty") : std::string();
        });
}

// choices  the three words that may be given
void AddChoice(CLI::App& app, const char* name, std::string& value, const char* meaning,
               const char* type, const std::vector<std::string>& choices) {
    AddValue(app, name, value, meaning, type)->check([choices](const std::string& given) {
        const bool isOne = std::find(choices.begin(), choices.end(), given) != choices.end();
        return isOne ? std::string()
                     : Quoted(given) + " is neither " + choices[0] + ", " + choices[1] + " nor " +
                           choices[2];
    });
}

void AddGlobalOptions(CLI::App& app, Arguments& arguments) {
    AddValue(app, "-C,--config-dir", arguments.configDir, "the device's configuration directory",
             "DIR");
    app.add_flag("--json", arguments.json, "answer with one JSON value");
    app.add_flag("-q,--quiet", arguments.quiet, "do not confirm what was done");
    app.add_flag("--no-legend", arguments.noLegend, "tables without head line and count");
    AddChoice(app, "--color", arguments.color, "colors: auto, always or never", "WHEN",
              {"auto", "always", "never"});
    app.add_flag("--show-secrets", arguments.showSecrets, "show passwords");
    AddValue(app, "--log", arguments.logFile, "append the library's log lines to FILE", "FILE");
    AddValue(app, "--wait", arguments.wait, "give up when the device's lock is held for so long",
             "SECONDS");
    app.set_version_flag("--version", "siptrunkctl " RAIKLAIK_VERSION, "show the version");
}

void AddListOptions(CLI::App& app, unsigned int options, Arguments& arguments) {
    if ((options & kType) != 0) {
        AddChoice(app, "--type", arguments.type, "only trunks of this kind: master, slave or all",
                  "KIND", {"master", "slave", "all"});
    }
    if ((options & kActive) != 0) {
        app.add_flag("--active", arguments.active, "only trunks that show a registration");
    }
    if ((options & kNames) != 0) {
        app.add_flag("--names", arguments.names, "print the names alone");
    }
    if ((options & kUser) != 0) {
        AddValue(app, "--user", arguments.user, "a user name that must be free too", "USER");
    }
    if ((options & kEdit) != 0) {
        AddValue(app, "--edit", arguments.edit, "the trunk that is to be changed, not compared",
                 "TRUNK");
    }
    if ((options & kSaved) != 0) {
        app.add_flag("--saved", arguments.saved, "the saved copy instead of the live ones");
    }
}

void AddChangeOptions(CLI::App& app, unsigned int options, Arguments& arguments) {
    if ((options & kPassword) != 0) {
        AddValue(app, "--password-file", arguments.passwordFile,
                 "read the password from FILE, - for the standard input", "FILE");
        app.add_flag("--ask-password", arguments.askPassword, "ask for the password");
    }
    if ((options & kResetRegistration) != 0) {
        app.add_flag("--reset-registration", arguments.resetRegistration,
                     "empty the slave's address and registration time");
    }
    if ((options & kYes) != 0) {
        app.add_flag("--yes", arguments.yes, "do it, although it changes the trunks");
    }
    if ((options & kReplace) != 0) {
        app.add_flag("--replace", arguments.replace, "remove what is stored first");
    }
    if ((options & kDryRun) != 0) {
        app.add_flag("--dry-run", arguments.dryRun, "check everything, store nothing");
    }
}

// Makes one argument of each word in a usage line. They are read in the order of their making.
void AddWords(CLI::App& app, const char* usage, std::vector<std::string>& words) {
    int count = 0;
    for (const std::string& word : Split(usage)) {
        const std::string name = "word" + std::to_string(++count);
        if (word.find("...") != std::string::npos) {
            app.add_option_function<std::vector<std::string>>(
                   name,
                   [&words](const std::vector<std::string>& rest) {
                       words.insert(words.end(), rest.begin(), rest.end());
                   })
                ->group("");
        } else {
            app.add_option_function<std::string>(
                   name, [&words](const std::string& single) { words.push_back(single); })
                ->group("");
        }
    }
}

using Apps = std::map<std::string, CLI::App*>;

// A group of commands is made with the first of them.
CLI::App* AddCommand(CLI::App& root, const Command& command, Apps& apps) {
    const std::string name = command.name;
    const std::size_t blank = name.find(' ');
    if (blank == std::string::npos) {
        return root.add_subcommand(name, command.summary);
    }
    const std::string group = name.substr(0, blank);
    if (apps.count(group) == 0) {
        apps[group] = root.add_subcommand(
            group, group == "slave" ? "registrations of slaves" : "the accounts for the agents");
        apps[group]->require_subcommand(1);
        apps[group]->footer(kMore);
    }
    return apps[group]->add_subcommand(name.substr(blank + 1), command.summary);
}

Apps DefineCommands(CLI::App& root, Arguments& arguments) {
    Apps apps;
    for (const Command* command = kCommands; command->name != nullptr; ++command) {
        CLI::App* app = AddCommand(root, *command, apps);
        apps[command->name] = app;
        AddWords(*app, command->words, arguments.words);
        AddListOptions(*app, command->options, arguments);
        AddChangeOptions(*app, command->options, arguments);
        std::string footer = command->explanation;
        footer += footer.empty() ? "" : "\n\n";
        app->footer(footer + "Example:\n  " + command->example + "\n\n" + kMore);
    }
    return apps;
}

void RequireWords(const Command& command, const std::vector<std::string>& words) {
    const std::vector<std::string> wanted = Split(command.words);
    for (std::size_t i = words.size(); i < wanted.size(); ++i) {
        if (wanted[i].front() != '[') {
            throw UsageFailure(std::string(command.name) + ": " + wanted[i] +
                               " is missing; \"siptrunkctl " + command.name +
                               " --help\" tells more");
        }
    }
}

void CheckArguments(const Arguments& arguments) {
    if (!arguments.wait.empty()) {
        char* end = nullptr;
        const double seconds = std::strtod(arguments.wait.c_str(), &end);
        if (*end != '\0' || !(seconds >= 0 && seconds <= 1e6)) {
            throw UsageFailure("--wait: " + Quoted(arguments.wait) + " is no number of seconds");
        }
    }
    if (!arguments.passwordFile.empty() && arguments.askPassword) {
        throw UsageFailure("--password-file and --ask-password exclude each other");
    }
}

// Says which option was meant, or how a name may begin with a dash.
[[noreturn]] void ThrowNoOption(const CLI::App* app, const std::string& word,
                                const std::string& more) {
    const bool mayBeName =
        word.compare(0, 2, "--") != 0 &&
        !app->get_options([](const CLI::Option* option) { return option->get_positional(); })
             .empty();
    std::vector<std::string> names;
    for (; app != nullptr; app = app->get_parent()) {
        for (const CLI::Option* option : app->get_options()) {
            for (const std::string& name : option->get_lnames()) {
                names.push_back(name);
            }
        }
    }
    const std::string bare = word.substr(0, word.find('='));
    const std::string* meant =
        Nearest(bare.substr(std::min(bare.find_first_not_of('-'), bare.size())), names);
    throw UsageFailure("no option " + Quoted(word) +
                       (meant != nullptr ? "; did you mean \"--" + *meant + "\"?"
                        : mayBeName      ? "; a name that begins with a dash goes behind \"--\""
                                         : more));
}

// Says which command was meant when the first word is none, or why the rest cannot be.
[[noreturn]] void ThrowUsage(const CLI::App& root, const CLI::ParseError& error) {
    const CLI::App* app = &root;
    std::string path;
    while (!app->get_subcommands().empty()) {
        app = app->get_subcommands().front();
        path += " " + app->get_name();
    }
    std::vector<std::string> names;
    for (const CLI::App* command : app->get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(command->get_name());
    }
    const std::string more = "; \"siptrunkctl" + path + " --help\" tells more";
    const std::vector<std::string> left = root.remaining();  // all falls through to it
    if (!left.empty() && left.front().front() == '-') {
        ThrowNoOption(app, left.front(), more);
    }
    if (!names.empty() && !left.empty()) {
        const std::string meant = DidYouMean(left.front(), names);
        throw UsageFailure(
            "no command " +
            Quoted(path.empty() ? left.front() : path.substr(1) + " " + left.front()) +
            (meant.empty() ? more : meant));
    }
    if (!names.empty() && dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        throw UsageFailure("a command is missing" + more);
    }
    if (!left.empty()) {
        throw UsageFailure("unexpected argument " + Quoted(left.front()) + more);
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        const std::string_view text = error.what();  // "OPTION: ..." in words of its own
        throw UsageFailure(Printable(text.substr(0, text.find(':'))) + ": its value is missing" +
                           more);
    }
    throw UsageFailure(Printable(error.what()) + more);
}

}  // namespace

const Command* ReadCommandLine(int count, const char* const* words, Arguments& arguments) {
    CLI::App root(kDescription, "siptrunkctl");
    root.fallthrough();
    root.formatter(std::make_shared<HelpFormatter>());
    root.footer(kFooter);
    root.set_help_flag("-h,--help", "show this help");
    AddGlobalOptions(root, arguments);
    const Apps apps = DefineCommands(root, arguments);
    root.require_subcommand(1);
    try {
        root.parse(count, words);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            std::ostringstream text;
            (void)root.exit(error, text);
            WriteAnswer(text.str());
            return nullptr;
        }
        ThrowUsage(root, error);
    }
    const Command* chosen = nullptr;
    for (const Command* command = kCommands; command->name != nullptr; ++command) {
        if (apps.at(command->name)->parsed()) {
            chosen = command;  // a command of a group comes behind the group's own
        }
    }
    RequireWords(*chosen, arguments.words);
    CheckArguments(arguments);
    return chosen;
}
