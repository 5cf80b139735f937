#include "tools/siptrunkctl/words/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>

#include "include/raiklaik.h"
#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/commands/define.h"
#include "tools/siptrunkctl/device/cause.h"
#include "tools/siptrunkctl/view/text.h"
#include "tools/siptrunkctl/words/completion.h"

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
constexpr const char* kVersion = "siptrunkctl " RAIKLAIK_VERSION;

/// What people type who know other tools.
constexpr std::pair<const char*, const char*> kOtherWords[] = {
    {"remove", "delete"}, {"rm", "delete"},  {"del", "delete"}, {"ls", "list"},
    {"mv", "rename"},     {"set", "modify"}, {"cat", "show"}};

std::string PathOf(const CLI::App* app) {
    const std::string& name = app->get_name();
    return app->get_parent() == nullptr ? name : PathOf(app->get_parent()) + " " + name;
}

std::string More(const CLI::App* app) { return "; \"" + PathOf(app) + " --help\" tells more"; }

// The last command that was given; the program itself when there was none.
const CLI::App* Chosen(const CLI::App* app) {
    while (!app->get_subcommands().empty()) {
        app = app->get_subcommands().front();
    }
    return app;
}

std::string SecondsFault(const std::string& given) {
    char* end = nullptr;
    const double seconds = std::strtod(given.c_str(), &end);
    const bool isTime = !given.empty() && *end == '\0' && seconds >= 0 && seconds <= 1e6;
    return isTime ? "" : Quoted(given) + " is not a number of seconds";
}

void AddOptions(CLI::App& root, Context& context) {
    OutputOptions& output = context.outputOptions;
    CompleteWith(context,
                 AddValue(root, "-C,--config-dir", context.configDir, "DIR",
                          "the device's configuration directory"),
                 {{kFolders, ""}});
    root.add_flag("--json", output.json, "answer with one JSON value");
    root.add_flag("-q,--quiet", output.quiet, "do not confirm what was done");
    root.add_flag("--no-legend", output.noLegend, "tables without head line and count");
    root.add_flag("--full", output.full, "tables whole, however narrow the terminal is");
    AddChoice(context, root, "--color", output.color, "colors", {"auto", "always", "never"});
    root.add_flag("--show-secrets", output.showSecrets, "show passwords");
    CompleteWith(context,
                 AddValue(root, "--log", context.libraryOptions.logFile, "FILE",
                          "append the library's log lines to FILE"),
                 {{kFiles, ""}});
    root.add_option("--wait", context.libraryOptions.wait,
                    "give up when the device's lock is held for so long")
        ->option_text("SECONDS")
        ->take_last()
        ->check(SecondsFault);
    root.set_version_flag("--version", kVersion, "show the version");
}

const CLI::App& RequireCommand(const CLI::App& root, const std::vector<std::string>& words) {
    const CLI::App* command = &root;
    for (const std::string& word : words) {
        const CLI::App* next = FindCommand(*command, word);
        if (next == nullptr) {
            throw UsageFailure("no command " + Quoted(word) + More(command));
        }
        command = next;
    }
    return *command;
}

void AddHelpAndVersion(CLI::App& root, Context& context) {
    constexpr const char* kGroup = "About the tool";
    CLI::App* help = AddCommand(root, "help", kGroup, "show help, of all or of one command",
                                "Example:\n  siptrunkctl help slave register");
    auto words = std::make_shared<std::vector<std::string>>();
    CLI::Option* option = AddWords(*help, "COMMAND", *words, "the command");
    context.candidates[option] = [&root] {
        std::vector<Candidate> candidates;
        for (const CLI::App* command : root.get_subcommands({})) {
            candidates.push_back({command->get_name(), command->get_description()});
        }
        return candidates;
    };
    help->callback([&root, &context, words] {
        const CLI::App& command = RequireCommand(root, *words);
        const CLI::App* parent = command.get_parent();
        // The program's own help would be that of "help", which is the command just given.
        context.output.PrintText(parent == nullptr
                                     ? root.get_formatter()->make_help(&root, root.get_name(),
                                                                       CLI::AppFormatMode::Normal)
                                     : command.help(PathOf(parent)));
    });
    AddCommand(root, "version", kGroup, "show the version", "Example:\n  siptrunkctl version")
        ->callback([&context] {
            context.output.Confirm(kVersion, Record{{"version", std::string(RAIKLAIK_VERSION)}});
        });
}

// Says which option was meant, or how a name may begin with a dash.
[[noreturn]] void ThrowNoOption(const CLI::App* app, const std::string& word) {
    const bool mayBeName =
        word.compare(0, 2, "--") != 0 &&
        !app->get_options([](const CLI::Option* option) { return option->get_positional(); })
             .empty();
    std::vector<std::string> names;
    for (const CLI::App* level = app; level != nullptr; level = level->get_parent()) {
        for (const CLI::Option* option : level->get_options()) {
            names.insert(names.end(), option->get_lnames().begin(), option->get_lnames().end());
        }
    }
    const std::string bare = word.substr(0, word.find('='));
    const std::string* meant =
        Nearest(bare.substr(std::min(bare.find_first_not_of('-'), bare.size())), names);
    throw UsageFailure("no option " + Quoted(word) +
                       (meant != nullptr ? "; did you mean \"--" + *meant + "\"?"
                        : mayBeName      ? "; a name that begins with a dash goes after \"--\""
                                         : More(app)));
}

// Says which command was meant by a word that is none.
[[noreturn]] void ThrowNoCommand(const CLI::App* app, const std::string& word) {
    std::vector<std::string> names;
    for (const CLI::App* command : app->get_subcommands({})) {
        names.push_back(command->get_name());
    }
    std::string meant = DidYouMean(word, names);
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
    const CLI::App* app = Chosen(&root);
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

void Define(CLI::App& root, Context& context) {
    root.fallthrough();
    root.require_subcommand(0, 1);
    root.set_help_flag("-h,--help", "show this help");
    root.footer(kFooter);
    root.get_formatter()->column_width(30);
    root.get_formatter()->label("SUBCOMMAND", "COMMAND");
    root.get_formatter()->label("Positionals", "Words");
    AddOptions(root, context);
    AddTrunkQueries(root, context);
    AddTrunkChanges(root, context);
    AddMasterLink(root, context);
    AddSlaveRegistrations(root, context);
    AddAgents(root, context);
    AddDatabase(root, context);
    AddImport(root, context);
    AddEdit(root, context);
    AddWatch(root, context);
    AddHelpAndVersion(root, context);
    root.parse_complete_callback([&context] {
        if (!context.configDir.empty()) {
            UseDirectory(context.configDir);
        }
    });
    root.callback([&root, &context] {
        if (root.get_subcommands().empty()) {
            context.output.PrintText(root.help());
        }
    });
}

}  // namespace

void RunCommandLine(const std::vector<std::string>& words, Context& context) {
    CLI::App root(kDescription, "siptrunkctl");
    Define(root, context);
    if (!words.empty() && words.front() == kCompleteCommand) {
        Complete(root, context, {words.begin() + 1, words.end()});
        return;
    }
    try {
        root.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::CallForHelp&) {
        context.output.PrintText(root.help());
    } catch (const CLI::CallForVersion&) {
        context.output.PrintText(std::string(kVersion) + "\n");
    } catch (const CLI::ExtrasError&) {
        ThrowExtra(root, words);
    } catch (const CLI::RequiredError& error) {
        if (!root.remaining().empty()) {
            ThrowExtra(root, words);  // which is perhaps what is missing, misspelled
        }
        throw UsageFailure(std::string(error.what()) + More(Chosen(&root)));
    } catch (const CLI::ParseError& error) {
        throw UsageFailure(std::string(error.what()) + More(Chosen(&root)));
    }
}
