#include <regex>

#include "tests/tools/tool_fixture.h"

namespace {

using SlaveCommands = ToolTest;

std::string WithoutRegistration() {
    std::string text = kTwoTrunks;
    text.resize(text.find("slave_ip="));
    return text + "}\n";
}

TEST_F(SlaveCommands, RegisterStoresAddressAndStamp) {
    WriteDatabase(WithoutRegistration());
    ExpectAnswer({"slave", "register", "2001", "203.0.113.5", "5066"},
                 "registered slave \"2001\": 203.0.113.5 port 5066\n");
    const std::string text = DatabaseText();
    const std::string rest = text.substr(text.find("slave_ip="));
    EXPECT_TRUE(
        std::regex_match(rest, std::regex("slave_ip=203\\.0\\.113\\.5\nslave_port=5066\n"
                                          "registration_date=[0-9]{2}/[0-9]{2}/[0-9]{4}\n"
                                          "registration_time=[0-9]{2}:[0-9]{2}:[0-9]{2}\n\\}\n")))
        << rest;
    ExpectAnswer({"slave", "list"},
                 "NAME    USER  IP           PORT  SINCE\n"
                 "branch  2001  203.0.113.5  5066  " +
                     Run({"get", "branch", "since"}).out + "1 slave\n");
}

TEST_F(SlaveCommands, RefreshStoresTheStampAlone) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"slave", "refresh", "2001"}, "refreshed slave \"2001\"\n");
    EXPECT_NE(DatabaseText(), kTwoTrunks);  // the stamp was years old
    const std::string since = Run({"get", "branch", "since"}).out;
    ExpectAnswer({"slave", "list", "--no-legend", "--show-secrets"},
                 "branch  2001  beta  198.51.100.7  5070  " + since);
}

TEST_F(SlaveCommands, MoveStoresTheNewAddress) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"slave", "move", "2001", "203.0.113.6", "5067"},
                 "moved slave \"2001\": 203.0.113.6 port 5067\n");
    ExpectAnswer({"slave", "list", "--no-legend"},
                 "branch  2001  203.0.113.6  5067  " + Run({"get", "branch", "since"}).out);
}

TEST_F(SlaveCommands, UnregisterRemovesAddressAndStamp) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"slave", "unregister", "2001"}, "unregistered slave \"2001\"\n");
    EXPECT_EQ(DatabaseText(), WithoutRegistration());
    ExpectAnswer({"slave", "list"}, "0 slaves\n");
}

TEST_F(SlaveCommands, AnUnknownUserIsNamedAndNothingIsStored) {
    WriteDatabase(kTwoTrunks);
    const std::string cause = "no slave \"2002\"; did you mean \"2001\"?";
    ExpectFailure({"slave", "register", "2002", "a", "1"}, 3, cause);
    ExpectFailure({"slave", "refresh", "2002"}, 3, cause);
    ExpectFailure({"slave", "move", "2002", "a", "1"}, 3, cause);
    ExpectFailure({"slave", "unregister", "2002"}, 3, cause);
    ExpectFailure(
        {"slave", "register", "1001", "a", "1"}, 3,
        "no slave \"1001\"; that is the user of trunk \"office\", which goes to a master");
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(SlaveCommands, OnlyARegisteredSlaveCanBeRefreshedOrMoved) {
    WriteDatabase(WithoutRegistration());
    const std::string cause = "slave \"2001\" is not registered; \"slave register\" registers it";
    ExpectFailure({"slave", "refresh", "2001"}, 1, cause);
    ExpectFailure({"slave", "move", "2001", "a", "1"}, 1, cause);
    EXPECT_EQ(DatabaseText(), WithoutRegistration());
}

TEST_F(SlaveCommands, ValuesThatCannotBeAreWrongUse) {
    WriteDatabase(kTwoTrunks);
    ExpectFailure({"slave", "register", "2001", "", "1"}, 2, "IP: it is empty");
    ExpectFailure({"slave", "register", "2001", "500.1.1.1", "5060"}, 2,
                  "IP: \"500.1.1.1\" is not an IP address");
    ExpectFailure({"slave", "move", "2001", "1.2.3.4 ", "5060"}, 2,
                  "IP: \"1.2.3.4 \" holds a blank");
    ExpectFailure({"slave", "register", "", "a", "1"}, 2, "USER: it is empty");
    ExpectFailure({"slave", "unregister", ""}, 2, "USER: it is empty");
    ExpectFailure({"slave", "move", "2001", "a\nb", "1"}, 2,
                  "IP: it holds a line feed, which the database cannot store");
    ExpectFailure({"slave", "move", "2001", "a", "sip"}, 2,
                  "PORT: \"sip\" is not a port (1 to 65535)");
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(SlaveCommands, AccountsMasterListsWhatSlavesMayUse) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"accounts", "master", "--show-secrets"},
                 "NAME    USER  PASSWORD\n"
                 "branch  2001  beta\n"
                 "1 account\n");
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(SlaveCommands, AccountsSlaveMakesTheTrunksInactiveAndWantsYes) {
    WriteDatabase(kTwoTrunks);
    ExpectFailure(
        {"accounts", "slave"}, 2,
        "accounts slave: every trunk that it lists becomes inactive; pass --yes to do it");
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
    ExpectAnswer({"accounts", "slave", "--yes"},
                 "NAME    USER  PASSWORD  IP          PORT\n"
                 "office  1001  (hidden)  192.0.2.10  5060\n"
                 "1 master\n");
    ExpectAnswer({"status", "--type", "master", "--no-legend"}, "office  master  no  on\n");
}

}  // namespace
