#include "tests/tools/tool_fixture.h"

namespace {

using AgentCommands = ToolTest;

constexpr const char* kStartFile =
    "# start-up of the device\nSTART_SSH=true\nSTART_SIPTRUNK=false\nif [ -e /x ]; then y; fi\n";

TEST_F(AgentCommands, AgentsShowsBothSwitches) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"agents"}, "master  on\nslave   off\n");
}

TEST_F(AgentCommands, AgentsSetStoresBothSwitches) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"agents", "set", "master=off", "slave=on"}, "switched master off, slave on\n");
    std::string expected = kTwoTrunks;
    expected.replace(expected.find("master_enabled=1"), 16, "master_enabled=0");
    expected.replace(expected.find("slave_enabled=0"), 15, "slave_enabled=1");
    EXPECT_EQ(DatabaseText(), expected);
}

TEST_F(AgentCommands, ASwitchThatIsNotNamedStays) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"agents", "set", "slave=1"}, "switched master on, slave on\n");
    ExpectAnswer({"agents", "set", "master=0"}, "switched master off, slave on\n");
    ExpectAnswer({"agents"}, "master  off\nslave   on\n");
}

TEST_F(AgentCommands, AgentsSetMakesAMissingDatabase) {
    ExpectAnswer({"agents", "set", "master=on"}, "switched master on, slave off\n");
    EXPECT_EQ(DatabaseText(),
              "section {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=0\n}\n");
}

TEST_F(AgentCommands, AFirstSectionWithoutASwitchIsToldWithItsCure) {
    const std::string text = "section {\nsiptrunk_master_enabled=1\n}\n";
    WriteDatabase(text);
    const std::string cause = DatabasePath() +
                              ": the first section lacks an agent's switch; set both: siptrunkctl "
                              "agents set master=on|off slave=on|off";
    ExpectFailure({"agents"}, 1, cause);
    ExpectFailure({"agents", "set", "slave=on"}, 1, cause);
    EXPECT_EQ(DatabaseText(), text);
    Do({"agents", "set", "master=on", "slave=on"});
    ExpectAnswer({"agents"}, "master  on\nslave   on\n");
}

TEST_F(AgentCommands, WrongSwitchesAreWrongUse) {
    WriteDatabase(kTwoTrunks);
    ExpectFailure({"agents", "set", "master"}, 2,
                  "\"master\" is neither master=on, master=off, slave=on nor slave=off");
    ExpectFailure({"agents", "set", "boss=on"}, 2,
                  "\"boss=on\" is neither master=on, master=off, slave=on nor slave=off");
    ExpectFailure({"agents", "set", "master=yes"}, 2, "master=: \"yes\" is neither on nor off");
    ExpectFailure({"agents", "set", "master=on", "master=off"}, 2, "master= is given twice");
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(AgentCommands, ServiceShowsAndSetsTheStartFlag) {
    WriteFile(StartFilePath(), kStartFile);
    ExpectAnswer({"service"}, "service  off\n");
    ExpectAnswer({"service", "on"}, "switched service on\n");
    std::string expected = kStartFile;
    expected.replace(expected.find("SIPTRUNK=false"), 14, "SIPTRUNK=true");
    EXPECT_EQ(ReadFile(StartFilePath()), expected);
    ExpectAnswer({"service"}, "service  on\n");
    ExpectAnswer({"service", "off"}, "switched service off\n");
    EXPECT_EQ(ReadFile(StartFilePath()), kStartFile);
    ExpectFailure({"service", "maybe"}, 2,
                  "STATE: maybe not in {on,off}; \"siptrunkctl service --help\" tells more");
}

TEST_F(AgentCommands, AMissingStartFileIsNotMade) {
    const std::string cause = StartFilePath() +
                              ": open: No such file or directory; the system makes this file; -C "
                              "names another directory";
    ExpectFailure({"service"}, 1, cause);
    ExpectFailure({"service", "on"}, 1, cause);
    EXPECT_TRUE(EntriesOf(Folder() + "/sysconfig").empty());
}

}  // namespace
