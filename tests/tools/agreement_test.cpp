#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <sstream>

#include "tests/tools/tool_fixture.h"

namespace {

/// What a command takes, as one of the texts about the tool tells it.
struct Usage {
    std::string words;
    std::set<std::string> options;

    bool operator==(const Usage& other) const {
        return words == other.words && options == other.options;
    }
};

// By the command's name; the options of every command by "siptrunkctl".
using Usages = std::map<std::string, Usage>;

std::ostream& operator<<(std::ostream& stream, const Usage& usage) {
    stream << usage.words << " |";
    for (const std::string& option : usage.options) {
        stream << " " << option;
    }
    return stream;
}

std::vector<std::string> Split(const std::string& text, char separator) {
    std::istringstream stream(text);
    std::vector<std::string> parts;
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

bool IsCommandWord(const std::string& word) {
    return word.find_first_not_of("abcdefghijklmnopqrstuvwxyz-") == std::string::npos &&
           word.front() != '-';
}

// Takes a usage line apart: "slave move USER IP PORT" into "slave move" and "USER IP PORT".
std::pair<std::string, std::string> NameAndWords(const std::string& line) {
    std::string name;
    std::string words;
    for (const std::string& word : Split(line, ' ')) {
        std::string& part = words.empty() && IsCommandWord(word) ? name : words;
        part += (part.empty() ? "" : " ") + word;
    }
    return {name, words};
}

// The paragraph behind a heading of a help text.
std::string Paragraph(const std::string& help, const std::string& heading) {
    const std::size_t begin = help.find("\n" + heading + ":\n") + heading.size() + 3;
    return help.substr(begin, help.find("\n\n", begin) - begin);
}

std::set<std::string> OptionsOf(const std::string& help) {
    std::set<std::string> options;
    for (const std::string& line : Split(Paragraph(help, "Options"), '\n')) {
        for (const std::string& word : Split(line.substr(2, line.find("  ", 2) - 2), ' ')) {
            if (word.front() == '-') {
                options.insert(word.substr(0, word.find(',')));
            }
        }
    }
    return options;
}

class Agreement : public ToolTest {
  protected:
    Usages UsagesOfHelp() const {
        const std::string help = RunBare({"--help"}).out;
        Usages usages = {{"siptrunkctl", {"", OptionsOf(help)}}};
        for (const std::string& line : Split(Paragraph(help, "Commands"), '\n')) {
            const auto [name, words] = NameAndWords(line.substr(2, line.find("  ", 2) - 2));
            Words command = Split(name, ' ');
            command.emplace_back("--help");
            std::set<std::string> options = OptionsOf(RunBare(command).out);
            options.erase("-h");
            options.erase("--help");
            usages[name] = {words, options};
        }
        return usages;
    }

    static Usages UsagesOfCompletion(const std::string& file) {
        Usages usages;
        for (const std::string& line :
             Split(ReadFile(PROJECT_FOLDER "/completions/" + file), '\n')) {
            const std::vector<std::string> parts = Split(line + ":", ':');
            if (parts.size() == 3 && !parts[0].empty() && parts[0].front() >= 'a' &&
                parts[0].front() <= 'z') {
                const std::vector<std::string> options = Split(parts[2], ' ');
                usages[parts[0]] = {parts[1], {options.begin(), options.end()}};
            }
        }
        return usages;
    }

    // The source of the manual page: each item begins with its mark-up.
    static Usages UsagesOfManual() {
        Usages usages;
        std::string page = ReadFile(PROJECT_FOLDER "/man/siptrunkctl.1.scd");
        page.erase(0, page.find("\n# OPTIONS"));
        page.erase(page.find("\n# KEYS"));
        for (const std::string& line : Split(page, '\n')) {
            if (line.empty() || line.front() != '*') {
                continue;
            }
            std::string text;
            std::copy_if(line.begin(), line.end(), std::back_inserter(text),
                         [](char byte) { return byte != '*' && byte != '_' && byte != '\\'; });
            AddManualItem(text, usages);
        }
        return usages;
    }

  private:
    static void AddManualItem(const std::string& text, Usages& usages) {
        std::set<std::string> options;
        std::string usage;
        for (std::string word : Split(text, ' ')) {
            word.erase(std::remove(word.begin(), word.end(), ','), word.end());
            const std::string bare = word.substr(word.find_first_not_of('['));
            if (bare.front() == '-') {
                options.insert(bare.substr(0, bare.find(']')));
            } else if (options.empty()) {  // else the value of an option
                usage += (usage.empty() ? "" : " ") + word;
            }
        }
        if (text.front() == '-') {
            usages["siptrunkctl"].options.insert(options.begin(), options.end());
        } else {
            const auto [name, words] = NameAndWords(usage);
            usages[name] = {words, options};
        }
    }
};

TEST_F(Agreement, TheHelpTellsOfAllCommands) {
    const Usages usages = UsagesOfHelp();
    EXPECT_EQ(usages.size(), 28U);
    EXPECT_EQ(usages.at("slave move"), (Usage{"USER IP PORT", {}}));
    EXPECT_EQ(usages.at("import"), (Usage{"FILE", {"--replace", "--dry-run"}}));
    EXPECT_EQ(usages.at("siptrunkctl").options.count("--show-secrets"), 1U);
}

TEST_F(Agreement, TheManualPageTellsTheSame) { EXPECT_EQ(UsagesOfManual(), UsagesOfHelp()); }

TEST_F(Agreement, TheCompletionsKnowTheSame) {
    const Usages help = UsagesOfHelp();
    for (const char* file : {"siptrunkctl.bash", "_siptrunkctl", "siptrunkctl.fish"}) {
        SCOPED_TRACE(file);
        EXPECT_EQ(UsagesOfCompletion(file), help);
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

    /// Returns the lines that are typed into an interactive bash or zsh, where the tool only notes
    /// its words as "[word][word]".
    /// setup  loads the completion
    std::string Typing(const std::string& setup, const std::vector<std::string>& lines) const {
        std::string text = "unset HISTFILE; cd '" + Folder() + "'; HOME=$PWD; PATH=$PWD:$PATH; " +
                           setup +
                           "; siptrunkctl() { if [[ $* == *--names* ]]; then command siptrunkctl "
                           "\"$@\"; else printf '[%s]' \"$@\" >>noted; echo >>noted; fi; }\n";
        for (const std::string& line : lines) {
            text += "siptrunkctl " + line + "\n";
        }
        return text + "exit 0\n";
    }
};

// Typed with a tab behind it, each becomes these words in bash and zsh alike.
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
    lines.insert(lines.end(), {"s" + all, "-C . show " + all, "modify x type=" + all});
    std::vector<std::string> words = CompletedWords(Folder());
    words.insert(words.end(),
                 {"[service][show][slave][snapshot][status]", "[-C][.][show][my branch][office]",
                  "[modify][x][type=master][slave]"});
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
    EXPECT_EQ(offers("validate \"my f"), Set{"my file"});
}

}  // namespace
