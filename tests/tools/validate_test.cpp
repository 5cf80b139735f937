#include <algorithm>
#include <sstream>

#include "tests/tools/tool_fixture.h"

namespace {

using Validate = ToolTest;

const std::string kBadDatabases = PROJECT_FOLDER "/tests/tools/bad_databases/";

bool EndsWith(const std::string& text, const std::string& ending) {
    return text.size() >= ending.size() &&
           text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

// The lines of a text, each with another text before it.
std::string Prefixed(const std::string& lines, const std::string& before) {
    std::istringstream stream(lines);
    std::string prefixed;
    for (std::string line; std::getline(stream, line);) {
        prefixed.append(before).append(line).append("\n");
    }
    return prefixed;
}

std::vector<std::string> BadDatabases() {
    std::vector<std::string> names = EntriesOf(kBadDatabases);
    names.erase(std::remove_if(names.begin(), names.end(),
                               [](const std::string& name) { return EndsWith(name, ".problems"); }),
                names.end());
    return names;
}

TEST_F(Validate, EveryProblemOfEveryBadDatabaseIsFound) {
    const std::vector<std::string> names = BadDatabases();
    EXPECT_GE(names.size(), 25U);
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const std::string path = kBadDatabases + name;
        const Answer answer = Run({"validate", path});
        EXPECT_EQ(answer.code, 5);
        EXPECT_EQ(answer.out, Prefixed(ReadFile(path + ".problems"), path + ":"));
        EXPECT_EQ(answer.err, "");
    }
}

TEST_F(Validate, ItAgreesWithTheLibraryAboutTheGrammar) {
    for (const std::string& name : BadDatabases()) {
        SCOPED_TRACE(name);
        const std::string text = ReadFile(kBadDatabases + name);
        WriteDatabase(text);
        const std::string problems =
            Prefixed(ReadFile(kBadDatabases + name + ".problems"), DatabasePath() + ":");
        const bool isMalformed = name.rfind("grammar_", 0) == 0 || name == "everything_at_once";
        if (isMalformed) {
            const std::string first = problems.substr(0, problems.find('\n'));
            ExpectFailure({"list"}, 5, first + "; \"siptrunkctl validate\" lists every problem");
        } else {
            EXPECT_EQ(Run({"list"}).code, 0);
        }
        EXPECT_EQ(Run({"validate"}).out, problems);
        EXPECT_EQ(DatabaseText(), text);
    }
}

TEST_F(Validate, ASoundDatabaseHasNoProblems) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"validate"}, DatabasePath() + ": no problems\n");
    ExpectAnswer({"validate", "--quiet"}, "");
    WriteDatabase("");
    ExpectAnswer({"validate", "--quiet"}, "");
}

TEST_F(Validate, WhatTheToolStoresIsSound) {
    Do({"agents", "set", "master=on", "slave=on"});
    Do({"add", "a", "type=master", "user=1", "ip=h", "port=1", "--password-file", "/dev/null"});
    Do({"add", "b", "type=slave", "user=2", "--password-file", "/dev/null"});
    Do({"activate", "a"});
    Do({"snapshot", "a"});
    Do({"slave", "register", "2", "h", "65535"});
    ExpectAnswer({"validate", "-q"}, "");
    Do({"modify", "b", "--reset-registration"});
    Do({"unregister-all"});
    ExpectAnswer({"validate", "-q"}, "");
}

TEST_F(Validate, AFileThatCannotBeReadIsAFailure) {
    ExpectFailure({"validate", Folder() + "/none"}, 1,
                  Folder() + "/none: open: No such file or directory");
    ExpectFailure({"validate", Folder()}, 1, Folder() + ": open: Is a directory");
}

}  // namespace
