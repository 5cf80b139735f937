#include <regex>

#include "tests/tools/tool_fixture.h"

namespace {

using MasterLinkCommands = ToolTest;

// The text with a stamp of now in place of the one there.
bool MatchesWithStamp(const std::string& text, std::string expected, const std::string& date,
                      const std::string& time) {
    const auto replace = [&](const std::string& old, const std::string& pattern) {
        expected.replace(expected.find(old), old.size(), pattern);
    };
    for (const char* special : {"{", "}", "."}) {
        for (std::size_t at = expected.find(special); at != std::string::npos;
             at = expected.find(special, at + 2)) {
            expected.insert(at, "\\");
        }
    }
    replace(date, "[0-9]{2}/[0-9]{2}/[0-9]{4}");
    replace(time, "[0-9]{2}:[0-9]{2}:[0-9]{2}");
    return std::regex_match(text, std::regex(expected));
}

TEST_F(MasterLinkCommands, StatusShowsBothStates) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"status"},
                 "NAME    TYPE    ACTIVE  REGISTRATION\n"
                 "office  master  yes     on\n"
                 "branch  slave   yes     -\n"
                 "2 trunks\n");
    ExpectAnswer({"status", "--type", "slave", "--no-legend"}, "branch  slave  yes  -\n");
    ExpectAnswer({"status", "--type", "master", "--no-legend"}, "office  master  yes  on\n");
    ExpectAnswer({"status", "office"},
                 "name          office\n"
                 "type          master\n"
                 "active        yes\n"
                 "registration  on\n");
    ExpectFailure({"status", "ofice"}, 3, "no trunk \"ofice\"; did you mean \"office\"?");
}

TEST_F(MasterLinkCommands, DeactivateRemovesTheStampAndActivateWritesOne) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"deactivate", "office"}, "trunk \"office\" is inactive\n");
    std::string inactive = kTwoTrunks;
    const std::string stamp = "registration_date=03/07/2024\nregistration_time=09:05:31\n";
    inactive.erase(inactive.find(stamp), stamp.size());
    EXPECT_EQ(DatabaseText(), inactive);
    ExpectAnswer({"status", "office"},
                 "name          office\n"
                 "type          master\n"
                 "active        no\n"
                 "registration  on\n");
    ExpectAnswer({"activate", "office"}, "trunk \"office\" is active\n");
    EXPECT_TRUE(MatchesWithStamp(DatabaseText(), kTwoTrunks, "03/07/2024", "09:05:31"))
        << DatabaseText();
}

TEST_F(MasterLinkCommands, TrunksForASlaveAreRefused) {
    WriteDatabase(kTwoTrunks);
    const std::string cause =
        "no trunk to a master \"branch\"; the trunk of that name is for a slave";
    for (const char* command : {"activate", "deactivate", "params", "snapshot"}) {
        ExpectFailure({command, "branch"}, 3, cause);
        ExpectFailure({command, "ofice"}, 3, "no trunk \"ofice\"; did you mean \"office\"?");
    }
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(MasterLinkCommands, UnregisterAllSwitchesRegistrationOff) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"unregister-all"}, "registration is off for every trunk\n");
    std::string expected = kTwoTrunks;
    expected.replace(expected.find("registration_status=1"), 21, "registration_status=0");
    EXPECT_EQ(DatabaseText(), expected);
}

TEST_F(MasterLinkCommands, UnregisterAllTellsOfATrunkThatStandsFirst) {
    const std::string text =
        "section {\ntrunk_name=office\ntrunk_type=1\nuser_name=1\nregistration_status=1\n}\n";
    WriteDatabase(text);
    ExpectFailure({"unregister-all"}, 1,
                  DatabasePath() +
                      ": trunk \"office\" was passed over, since it stands where the agents' "
                      "switches belong; \"agents set\" puts them there, then try again");
    Do({"agents", "set", "master=on", "slave=on"});
    Do({"unregister-all"});
    ExpectAnswer({"status", "--no-legend"}, "office  master  no  off\n");
}

TEST_F(MasterLinkCommands, SnapshotKeepsTheParametersThatParamsSavedShows) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"params", "office"},
                 "name          office\n"
                 "params        live\n"
                 "user          1001\n"
                 "password      (hidden)\n"
                 "ip            192.0.2.10\n"
                 "port          5060\n"
                 "registration  on\n");
    ExpectAnswer({"params", "office", "--saved"},
                 "name          office\n"
                 "params        saved\n"
                 "user          -\n"
                 "password      -\n"
                 "ip            -\n"
                 "port          -\n"
                 "registration  -\n");
    ExpectAnswer({"snapshot", "office"}, "saved the parameters of trunk \"office\"\n");
    Do({"modify", "office", "ip=203.0.113.9", "port=1", "user=9"});
    ExpectAnswer({"params", "office", "--saved", "--show-secrets"},
                 "name          office\n"
                 "params        saved\n"
                 "user          1001\n"
                 "password      alpha\n"
                 "ip            192.0.2.10\n"
                 "port          5060\n"
                 "registration  -\n");
}

}  // namespace
