#include "tools/siptrunkctl/words/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>

#include "include/raiklaik.h"
#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/device/cause.h"
#include "tools/siptrunkctl/view/text.h"
#include "tools/siptrunkctl/words/completion.h"

namespace {

constexpr const char* kDescription = "Looks after the SIP trunks of this device.";
constexpr const char* kFooter =
    "Exit codes: 0 done, 1 failed, 2 wrong use, 3 no such trunk or user,\n"
    "4 name or user taken, 5 database malformed, 6 not permitted.\n"
    "The directory is that of -C, or the variable QORV_PATH, or /etc/qorv-conf.\n\n"
    "Examples:\n"
    "  siptrunkctl list\n"
    "  siptrunkctl add office type=master user=1001 ip=192.0.2.10 port=5060\n"
    "  siptrunkctl -C /mnt/flash/conf validate\n"
    "\"siptrunkctl COMMAND --help\" tells more about a command.";

/// What people type who know other tools.
constexpr std::pair<const char*, const char*> kOtherWords[] = {
    {"remove", "delete"}, {"rm", "delete"},  {"del", "delete"}, {"ls", "list"},
    {"mv", "rename"},     {"set", "modify"}, {"cat", "show"}};

std::string PathOf(const CLI::App* app) {
    const std::string& name = app->get_name();
    return app->get_parent() == nullptr ? name : PathOf(app->get_parent()) + " " + name;
}

std::string More(const CLI::App* app) { return "; \"" + PathOf(app) + " --help\" tells more"; }

const CLI::App* FindCommand(const CLI::App& app, const std::string& name) {
    const std::vector<const CLI::App*> found =
        app.get_subcommands([&](const CLI::App* command) { return command->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

std::string SecondsFault(const std::string& given) {
    char* end = nullptr;
    const double seconds = std::strtod(given.c_str(), &end);
    const bool isTime = !given.empty() && *end == '\0' && seconds >= 0 && seconds <= 1e6;
    return isTime ? "" : Quoted(given) + " is not a number of seconds";
}

// Says which option was meant, or how a name may begin with a dash.
[[noreturn]] void ThrowNoOption(const CLI::App* app, const std::string& word) {
    const bool mayBeName =
        word.compare(0, 2, "--") != 0 &&
        !app->get_options([](const CLI::Option* option) { return option->get_positional(); })
             .empty();
    const std::string meant = DidYouMean(word.substr(0, word.find('=')), TextsOf(OptionsOf(app)));
    throw UsageFailure("no option " + Quoted(word) +
                       (!meant.empty() ? meant
                        : mayBeName    ? "; a name that begins with a dash goes after \"--\""
                                       : More(app)));
}

// Says which command was meant by a word that is none.
[[noreturn]] void ThrowNoCommand(const CLI::App* app, const std::string& word) {
    const std::vector<std::string> names = TextsOf(CommandsOf(*app));
    std::string meant = names.size() == 1 ? "; did you mean " + Quoted(names.front()) + "?"
                                          : DidYouMean(word, names);
    for (const auto& [other, name] : kOtherWords) {
        if (word == other && FindCommand(*app, name) != nullptr) {
            meant = "; did you mean " + Quoted(name) + "?";
        }
    }
    const std::string group = app->get_parent() == nullptr ? "" : app->get_name() + " ";
    throw UsageFailure("no command " + Quoted(group + word) + (meant.empty() ? More(app) : meant));
}

// Says what is wrong with a word that nothing takes.
[[noreturn]] void ThrowExtra(const CLI::App& root, const std::vector<std::string>& words) {
    const std::string extra = root.remaining().front();  // all falls through to it
    const CLI::App* app = ChosenOf(root);
    if (!extra.empty() && extra.front() == '-') {
        ThrowNoOption(app, extra);
    }
    // A word before the command's own was meant to be a command.
    const CLI::App* first = root.get_subcommands().empty() ? &root : root.get_subcommands().front();
    if (std::find(words.begin(), words.end(), extra) <
        std::find(words.begin(), words.end(), first->get_name())) {
        ThrowNoCommand(&root, extra);
    }
    if (!app->get_subcommands({}).empty()) {
        ThrowNoCommand(app, extra);
    }
    throw UsageFailure("unexpected argument " + Quoted(extra) +
                       (app->get_option_no_throw("NAME") != nullptr
                            ? "; a name with blanks goes in quotation marks"
                            : More(app)));
}

void AddOptions(CLI::App& app, Command& root, Context& context) {
    OutputOptions& output = context.outputOptions;
    root.Value("-C,--config-dir", context.given.configDir, "DIR",
               "the device's configuration directory", These({{kFolders}}))
        .Flag("--json", output.json, "answer with one JSON value")
        .Flag("-q,--quiet", output.quiet, "do not confirm what was done")
        .Flag("--no-legend", output.noLegend, "tables without head line and count")
        .Flag("--full", output.full, "tables whole, however narrow the terminal is")
        .Choice("--color", output.color, "colors", {{"auto"}, {"always"}, {"never"}})
        .Flag("--show-secrets", output.showSecrets, "show passwords")
        .Value("--log", context.libraryOptions.logFile, "FILE",
               "append the library's log lines to FILE", These({{kFiles}}));
    app.add_option("--wait", context.libraryOptions.wait,
                   "give up when the device's lock is held for so long")
        ->option_text("SECONDS")
        ->take_last()
        ->check(SecondsFault);
    app.set_version_flag("--version", "", "show the version");
}

// Answers with a text, or with the same as JSON, also when the command is to be quiet.
void Print(Context& context, const char* name, const std::string& value, const std::string& text) {
    if (context.outputOptions.json) {
        context.output.PrintOne({{name, value}});
    } else {
        context.output.PrintText(text);
    }
}

void PrintVersion(Context& context) {
    Print(context, "version", RAIKLAIK_VERSION, "siptrunkctl " RAIKLAIK_VERSION "\n");
}

void PrintHelp(const CLI::App* command, Context& context) {
    const std::string text =
        command->get_formatter()->make_help(command, PathOf(command), CLI::AppFormatMode::Normal);
    Print(context, "help", text, text);
}

// Returns the command that the words of "help" name.
const CLI::App* NamedCommand(const CLI::App* command, const Context& context) {
    for (const std::string& word : context.given.words) {
        const CLI::App* next = FindCommand(*command, word);
        if (next == nullptr) {
            ThrowNoCommand(command, word);
        }
        command = next;
    }
    return command;
}

void AddCommands(CLI::App& app, const Command& root, Context& context) {
    constexpr const char* kGroup = "About the tool";
    AddTrunkQueries(root);
    AddTrunkChanges(root);
    AddMasterLink(root);
    AddSlaveRegistrations(root);
    AddAgents(root);
    AddDatabase(root);
    AddImport(root);
    AddEdit(root);
    AddWatch(root);
    root.Add("help", kGroup, "show help, of all or of one command",
             "Example:\n  siptrunkctl help slave register",
             [&app](Context& run) { PrintHelp(NamedCommand(&app, run), run); })
        .Words("COMMAND", "the command", [&] { return CommandsOf(*NamedCommand(&app, context)); });
    root.Add("version", kGroup, "show the version", "Example:\n  siptrunkctl version",
             PrintVersion);
}

void Define(CLI::App& app, Context& context, CandidatesOf& candidates) {
    app.fallthrough();
    app.require_subcommand(0, 1);
    app.set_help_flag("-h,--help", "show this help");
    app.footer(kFooter);
    app.get_formatter()->column_width(30);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.get_formatter()->label("Positionals", "Words");
    Command root(app, context, candidates);
    AddOptions(app, root, context);
    AddCommands(app, root, context);
    app.parse_complete_callback([&context] {
        if (!context.given.configDir.empty()) {
            UseDirectory(context.given.configDir);
        }
    });
    app.callback([&app, &context] {
        if (app.get_subcommands().empty()) {
            PrintHelp(&app, context);
        }
    });
}

}  // namespace

void RunCommandLine(const std::vector<std::string>& words, Context& context) {
    CLI::App app(kDescription, "siptrunkctl");
    CandidatesOf candidates;
    Define(app, context, candidates);
    if (!words.empty() && words.front() == kCompleteCommand) {
        Complete(app, candidates, context, {words.begin() + 1, words.end()});
        return;
    }
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::CallForHelp&) {
        PrintHelp(ChosenOf(app), context);
    } catch (const CLI::CallForVersion&) {
        PrintVersion(context);
    } catch (const CLI::ParseError& error) {
        if (!app.remaining().empty()) {
            ThrowExtra(app, words);  // which is perhaps what is missing, misspelled
        }
        throw UsageFailure(std::string(error.what()) + More(ChosenOf(app)));
    }
}
