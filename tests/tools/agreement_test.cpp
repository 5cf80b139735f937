#include <set>
#include <sstream>

#include "tests/tools/tool_fixture.h"

namespace {

std::vector<std::string> Split(const std::string& text, char separator) {
    std::istringstream stream(text);
    std::vector<std::string> parts;
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

using Texts = std::set<std::string>;

// The first words of the lines under all headings of a help text but these.
Texts FirstWords(const std::string& help, const Texts& otherHeadings) {
    Texts words;
    std::string heading;
    for (const std::string& line : Split(help, '\n')) {
        if (!line.empty() && line.front() != ' ') {
            heading = line;
        } else if (line.size() > 2 && line[2] != ' ' && otherHeadings.count(heading) == 0) {
            const std::string first = line.substr(2, line.find(' ', 2) - 2);
            words.insert(first.substr(first.rfind(',') + 1));
        }
    }
    return words;
}

using Agreement = ToolTest;

// The source of the manual page: each item begins with its mark-up.
TEST_F(Agreement, TheManualPageTellsOfEveryCommandAndOption) {
    const std::string page = ReadFile(PROJECT_FOLDER "/man/siptrunkctl.1.scd");
    const std::string help = RunBare({}).out;
    const Texts options = FirstWords(help.substr(help.find("\nOptions:")), {});
    const Texts commands = FirstWords(help.substr(help.find("\nTrunks:")), {"Examples:"});
    EXPECT_EQ(commands.size(), 25U);
    for (const std::string& command : commands) {
        EXPECT_NE(page.find("\n*" + command), std::string::npos) << command;
        for (const std::string& option :
             FirstWords(RunBare({command, "--help"}).out,
                        {"Words:", "Commands:", "Example:", "Examples:"})) {
            EXPECT_NE(page.find("*" + option + "*"), std::string::npos) << command << option;
        }
    }
    for (const std::string group : {"slave", "accounts", "agents"}) {
        const std::string text = RunBare({group, "--help"}).out;
        for (const std::string& command : FirstWords(
                 text,
                 {"Options:", "Example:", "The options of every command: siptrunkctl --help"})) {
            EXPECT_NE(page.find("\n*" + group + " " + command + "*"), std::string::npos) << command;
        }
    }
    EXPECT_GT(options.size(), 9U);
    for (const std::string& option : options) {
        EXPECT_EQ(option.front() == '-' && page.find("*" + option + "*") == std::string::npos,
                  false)
            << option;
    }
}

TEST_F(Agreement, EveryHelpFitsATerminalOf80Columns) {
    const auto expect = [&](const Words& words) {
        for (const std::string& line : Split(RunBare(words).out, '\n')) {
            EXPECT_LE(line.size(), 80U) << line;
        }
    };
    const std::string help = RunBare({}).out;
    expect({});
    for (const std::string& command :
         FirstWords(help.substr(help.find("\nTrunks:")), {"Examples:"})) {
        expect({"help", command});
        const std::string text = RunBare({"help", command}).out;
        const std::size_t commands = text.find("\nCommands:");
        if (commands != std::string::npos) {
            for (const std::string& below : FirstWords(text.substr(commands), {"Example:"})) {
                expect({"help", command, below});
            }
        }
    }
}

/// The completions, in the shells themselves.
class Completion : public ToolTest {
  protected:
    Completion() {
        WriteDatabase(kTwoTrunks);
        Do({"rename", "branch", "my branch"});
        // The shells find the tool under its name, and the directory by one with a blank in it.
        (void)symlink(SIPTRUNKCTL_PATH, (Folder() + "/siptrunkctl").c_str());
        (void)symlink(Folder().c_str(), (Folder() + "/a dir").c_str());
        WriteFile(Folder() + "/my file", "");
    }

    static bool Has(const std::string& shell) {
        return WaitForEnd(Start({"/usr/bin/env", shell, "-c", "true"}, "", "", "")) == 0;
    }

    /// Runs a shell on this input, and returns the lines of a file that it writes: its own output,
    /// or `file` in the test's folder.
    std::vector<std::string> RunShell(Words words, const std::string& input,
                                      const std::string& file = "output") const {
        words.insert(words.begin(), "/usr/bin/env");
        WriteFile(Folder() + "/input", input);
        EXPECT_EQ(WaitForEnd(Start(words, Folder() + "/input", Folder() + "/output",
                                   Folder() + "/errors")),
                  0)
            << ReadFile(Folder() + "/errors");
        return Split(ReadFile(Folder() + "/" + file), '\n');
    }

    /// @return the lines that are typed into an interactive bash or zsh, where the tool only notes
    /// its words as "[word][word]".
    /// @param setup loads the completion
    std::string Typing(const std::string& setup, const std::vector<std::string>& lines) const {
        std::string text = "unset HISTFILE; cd '" + Folder() + "'; HOME=$PWD; PATH=$PWD:$PATH; " +
                           setup +
                           "; siptrunkctl() { if [[ $1 == __complete ]]; then command siptrunkctl "
                           "\"$@\"; else printf '[%s]' \"$@\" >>noted; echo >>noted; fi; }\n";
        for (const std::string& line : lines) {
            text += "siptrunkctl " + line + "\n";
        }
        return text + "exit 0\n";
    }
};

// Typed with a tab after it, each becomes these words in bash and zsh alike.
const std::vector<std::pair<std::string, std::string>> kCompleted = {
    {"sho", "[show]"},
    {"-q sna", "[-q][snapshot]"},
    {"slave ref", "[slave][refresh]"},
    {"accounts s", "[accounts][slave]"},
    {"agents s", "[agents][set]"},
    {"import x --re", "[import][x][--replace]"},
    {"list --ty", "[list][--type]"},
    {"list --type m", "[list][--type][master]"},
    {"list --type=m", "[list][--type=master]"},
    {"service of", "[service][off]"},
    {"agents set master=of", "[agents][set][master=off]"},
    {"-C . show off", "[-C][.][show][office]"},
    {"-C ~/ show off", "[-C][HOME/][show][office]"},
    {"-C a\\ dir show off", "[-C][a dir][show][office]"},
    {"-C \"a dir\" show off", "[-C][a dir][show][office]"},
    {"--config-dir=a\\ dir show off", "[--config-dir=a dir][show][office]"},
    {"-C . show my", "[-C][.][show][my branch]"},
    {"-C . show my\\ br", "[-C][.][show][my branch]"},
    {"-C . show \"my br", "[-C][.][show][my branch]"},
    {"-C . show 'my br", "[-C][.][show][my branch]"},
    {"-C . modify my\\ branch sym_nat=of", "[-C][.][modify][my branch][sym_nat=off]"},
    {"-C . check x --edit off", "[-C][.][check][x][--edit][office]"},
    {"-C . activate my", "[-C][.][activate][my]"},  // it is no trunk to a master
    {"-C . rename office my", "[-C][.][rename][office][my]"},
    {"-C . slave register off", "[-C][.][slave][register][off]"},
    {"-C . slave register 20", "[-C][.][slave][register][2001]"},
    {"-C . get office reg", "[-C][.][get][office][registration]"},
    {"-C . delete office my", "[-C][.][delete][office][my branch]"},
    {"help unreg", "[help][unregister-all]"},
    {"help slave ref", "[help][slave][refresh]"},
    {"list --fields name,us", "[list][--fields][name,user]"},
    {"list --fields=ip,name,us", "[list][--fields=ip,name,user]"},
    {"validate my", "[validate][my file]"},
    {"import \"my f", "[import][my file]"},
};

std::vector<std::string> WithTabs() {
    std::vector<std::string> lines;
    for (const auto& [typed, words] : kCompleted) {
        lines.push_back(typed + "\t");
    }
    return lines;
}

std::vector<std::string> CompletedWords(const std::string& home) {
    std::vector<std::string> lines;
    for (const auto& [typed, words] : kCompleted) {
        std::string line = words;
        if (const std::size_t place = line.find("HOME"); place != std::string::npos) {
            line.replace(place, 4, home);
        }
        lines.push_back(line);
    }
    return lines;
}

TEST_F(Completion, BashCompletesCommandsOptionsAndNames) {
    if (!Has("bash")) {
        GTEST_SKIP() << "bash is not there";
    }
    std::vector<std::string> lines = WithTabs();
    const std::string all = "\x1b*";  // the key that inserts all that is offered
    lines.insert(lines.end(), {"s" + all, "-C . show " + all, "modify x type=" + all,
                               "list --fields name,s" + all, "help slave re" + all});
    std::vector<std::string> words = CompletedWords(Folder());
    words.insert(words.end(),
                 {"[service][show][slave][snapshot][status]", "[-C][.][show][my branch][office]",
                  "[modify][x][type=master][slave]",
                  "[list][--fields][name,since][name,since_iso][name,sym_nat]",
                  "[help][slave][refresh][register]"});
    EXPECT_EQ(
        RunShell({"TERM=dumb", "INPUTRC=/dev/null", "bash", "--norc", "-i"},
                 Typing("source " PROJECT_FOLDER "/completions/siptrunkctl.bash", lines), "noted"),
        words);
}

TEST_F(Completion, ZshCompletesCommandsOptionsAndNames) {
    if (!Has("zsh")) {
        GTEST_SKIP() << "zsh is not there";
    }
    // It completes on a terminal only, so another zsh gives it one.
    EXPECT_EQ(RunShell({"TERM=dumb", "zsh", "-f", "-c",
                        "zmodload zsh/zpty; zpty shell zsh -f -i; "
                        "while IFS= read -r line; do zpty -w shell $line; done; "
                        "while zpty -r shell; do :; done"},
                       Typing("fpath=(" PROJECT_FOLDER
                              "/completions $fpath); autoload -U compinit; compinit -u -D",
                              WithTabs()),
                       "noted"),
              CompletedWords(Folder()));
}

TEST_F(Completion, ALineThatIsWholeIsNotRun) {
    const std::string text = DatabaseText();
    for (const Words& line : {Words{"delete", "office"}, Words{"-q", "unregister-all"},
                              Words{"agents", "set", "master=off"}}) {
        Words words = {"__complete", "words", "-C", Folder()};
        words.insert(words.end(), line.begin(), line.end());
        words.emplace_back();
        EXPECT_EQ(RunBare(words).code, 0);
        EXPECT_EQ(DatabaseText(), text);
    }
    EXPECT_EQ(RunBare({"__complete", "words", "-C", Folder(), "delete", "office", "my"}).out,
              "my branch\tslave, user 2001\n");
}

TEST_F(Completion, AListIsOfferedWhatItLacks) {
    const auto offers = [&](const std::string& typed) {
        return RunBare({"__complete", "words", "list", "--fields", typed}).out;
    };
    EXPECT_EQ(offers("name,since,s"), "name,since,sym_nat\t\nname,since,since_iso\t\n");
    EXPECT_EQ(offers("name,"),
              "name,type\t\nname,user\t\nname,ip\t\nname,port\t\nname,sym_nat\t\nname,since\t\n"
              "name,since_iso\t\nname,note\t\n");
    EXPECT_EQ(RunBare({"__complete", "words", "-C", Folder(), "delete", "office", ""}).out,
              "my branch\tslave, user 2001\n");
}

TEST_F(Completion, WhatCouldPlayWithTheTerminalIsNotOffered) {
    WriteDatabase(
        "section {\ntrunk_name=a\x1b[2J\n}\nsection {\ntrunk_name=a\xe2\x80\xae\n}\n"
        "section {\ntrunk_name=ab\nuser_name=\x1b[2J\n}\n");
    EXPECT_EQ(RunBare({"__complete", "words", "-C", Folder(), "show", "a"}).out,
              "ab\tslave, user \\x1b[2J\n");
}

TEST_F(Completion, FishOffersCommandsOptionsAndNames) {
    if (!Has("fish")) {
        GTEST_SKIP() << "fish is not there";
    }
    using Set = std::set<std::string>;
    const auto offers = [&](const std::string& line) {
        const std::vector<std::string> lines =
            RunShell({"HOME=" + Folder(), "fish", "--no-config", "-c",
                      "cd $argv[1]; set -x PATH $PWD $PATH; source " PROJECT_FOLDER
                      "/completions/siptrunkctl.fish; complete -C $argv[2]",
                      Folder(), "siptrunkctl " + line},
                     "");
        Set offered;
        for (const std::string& text : lines) {
            offered.insert(text.substr(0, text.find('\t')));  // without the description
        }
        return offered;
    };
    EXPECT_EQ(offers("s"), (Set{"service", "show", "slave", "snapshot", "status"}));
    EXPECT_EQ(offers("slave re"), (Set{"refresh", "register"}));
    EXPECT_EQ(offers("import x --r"), Set{"--replace"});
    EXPECT_EQ(offers("list --type m"), Set{"master"});
    EXPECT_EQ(offers("list --type=m"), Set{"--type=master"});
    EXPECT_EQ(offers("-C . show "), (Set{"my branch", "office"}));
    EXPECT_EQ(offers("-C ~/ show o"), Set{"office"});
    EXPECT_EQ(offers("-C 'a dir' show my\\ "), Set{"my branch"});
    EXPECT_EQ(offers("--config-dir=a\\ dir show \"my b"), Set{"my branch"});
    EXPECT_EQ(offers("-C . activate "), Set{"office"});
    EXPECT_EQ(offers("help slave re"), (Set{"refresh", "register"}));
    EXPECT_EQ(offers("list --fields ip,na"), Set{"ip,name"});
    EXPECT_EQ(offers("validate \"my f"), Set{"my file"});
}

}  // namespace
