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

/// The completions, asked by the shells themselves.
class Completion : public ToolTest {
  protected:
    /// Returns what a shell offers behind `line`, sorted; skips the test where it is missing.
    std::set<std::string> Offers(const std::string& shell, const std::string& script,
                                 const std::string& line) {
        const std::string out = Folder() + "/offers";
        // The shell finds the tool under its name.
        (void)symlink(SIPTRUNKCTL_PATH, (Folder() + "/siptrunkctl").c_str());
        const int code = WaitForEnd(Start({"/usr/bin/env", shell, "-c", script, Folder(), line}, "",
                                          out, Folder() + "/errors"));
        EXPECT_EQ(code, 0) << ReadFile(Folder() + "/errors");
        const std::vector<std::string> lines = Split(ReadFile(out), '\n');
        return {lines.begin(), lines.end()};
    }

    static bool Has(const std::string& shell) {
        return WaitForEnd(Start({"/usr/bin/env", shell, "-c", "true"}, "", "", "")) == 0;
    }
};

TEST_F(Completion, BashOffersCommandsOptionsAndNames) {
    if (!Has("bash")) {
        GTEST_SKIP() << "bash is not there";
    }
    WriteDatabase(kTwoTrunks);
    Do({"rename", "branch", "my branch"});
    const auto offers = [&](const std::string& line) {
        return Offers("bash",
                      "PATH=$0:$PATH; source " PROJECT_FOLDER
                      "/completions/siptrunkctl.bash; "
                      "COMP_LINE=$1; COMP_POINT=${#1}; _siptrunkctl; "
                      "((${#COMPREPLY[@]} == 0)) || printf '%s\\n' \"${COMPREPLY[@]}\"",
                      line);
    };
    using Set = std::set<std::string>;
    const std::string tool = "siptrunkctl -C " + Folder() + " ";
    EXPECT_EQ(offers("siptrunkctl s"), (Set{"service", "show", "slave", "snapshot", "status"}));
    EXPECT_EQ(offers("siptrunkctl slave re"), (Set{"refresh", "register"}));
    EXPECT_EQ(offers("siptrunkctl agents "), Set{"set"});
    EXPECT_EQ(offers("siptrunkctl import x --r"), Set{"--replace"});
    EXPECT_EQ(offers("siptrunkctl list --type m"), Set{"master"});
    EXPECT_EQ(offers(tool + "show "), (Set{"my\\ branch", "office"}));
    EXPECT_EQ(offers(tool + "show my\\"), Set{"my\\ branch"});
    EXPECT_EQ(offers(tool + "activate "), Set{"office"});
    EXPECT_EQ(offers(tool + "modify office registration=o"), (Set{"off", "on"}));
    EXPECT_EQ(offers(tool + "rename office "), Set{});
    EXPECT_EQ(offers(tool + "slave register "), Set{});
}

TEST_F(Completion, FishOffersCommandsOptionsAndNames) {
    if (!Has("fish")) {
        GTEST_SKIP() << "fish is not there";
    }
    WriteDatabase(kTwoTrunks);
    Do({"rename", "branch", "my branch"});
    const auto offers = [&](const std::string& line) {
        return Offers("fish",
                      "set -x PATH $argv[1] $PATH; "
                      "source " PROJECT_FOLDER
                      "/completions/siptrunkctl.fish; complete -C $argv[2]",
                      line);
    };
    using Set = std::set<std::string>;
    const std::string tool = "siptrunkctl -C " + Folder() + " ";
    EXPECT_EQ(offers("siptrunkctl s"), (Set{"service", "show", "slave", "snapshot", "status"}));
    EXPECT_EQ(offers("siptrunkctl slave re"), (Set{"refresh", "register"}));
    EXPECT_EQ(offers("siptrunkctl import x --r"), Set{"--replace"});
    EXPECT_EQ(offers(tool + "show "), (Set{"my branch", "office"}));
    EXPECT_EQ(offers(tool + "activate "), Set{"office"});
}

}  // namespace
