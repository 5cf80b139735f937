#include "tests/tools/tool_fixture.h"

namespace {

using TrunkCommands = ToolTest;

TEST_F(TrunkCommands, ListKeepsTheOrderOfTheFile) {
    WriteDatabase(
        std::string("section {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=0\n}\n") +
        "section {\ntrunk_name=lobby\ntrunk_type=0\nuser_name=2002\nsym_nat=0\n}\n" +
        "section {\ntrunk_name=office\ntrunk_type=1\nuser_name=1001\n"
        "master_ip=192.0.2.10\nmaster_port=5060\nregistration_date=03/07/2024\n"
        "registration_time=09:05:31\n}\n");
    ExpectAnswer({"list"},
                 "NAME    TYPE    USER  IP          PORT  SYM NAT  SINCE\n"
                 "lobby   slave   2002  -           -     off      -\n"
                 "office  master  1001  192.0.2.10  5060  -        03/07/2024 09:05:31\n"
                 "2 trunks\n");
}

TEST_F(TrunkCommands, ListTakesOneKindOrTheActiveOnes) {
    WriteDatabase(kTwoTrunks);
    const std::string office = "office  master  1001  192.0.2.10  5060  -  03/07/2024 09:05:31\n";
    const std::string branch = "branch  slave  2001  198.51.100.7  5070  on  03/08/2024 10:06:32\n";
    ExpectAnswer({"list", "--type", "master", "--no-legend"}, office);
    ExpectAnswer({"list", "--type", "slave", "--no-legend"}, branch);
    Do({"deactivate", "office"});
    ExpectAnswer({"list", "--active", "--no-legend"}, branch);
    Do({"modify", "branch", "--reset-registration"});
    ExpectAnswer({"list", "--active"}, "0 trunks\n");
}

TEST_F(TrunkCommands, ListNamesAreOneToALine) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"list", "--names"}, "office\nbranch\n");
    ExpectAnswer({"list", "--names", "--json", "--type", "slave"},
                 "[\n  {\n    \"name\": \"branch\"\n  }\n]\n");
}

TEST_F(TrunkCommands, ListHasTrunksOfUnknownTypesToo) {
    WriteDatabase(
        "section {\ntrunk_name=odd\ntrunk_type=2\nuser_name=1\nslave_ip=a\n}\n"
        "section {\ntrunk_name=bare\n}\n");
    ExpectAnswer({"list", "--no-legend"},
                 "odd   slave  1  a  -  off  -  unknown type \"2\"\n"
                 "bare  slave  -  -  -  off  -  no type\n");
}

TEST_F(TrunkCommands, ListOfAnEmptyDatabaseIsEmpty) {
    WriteDatabase("");
    ExpectAnswer({"list"}, "0 trunks\n");
    ExpectAnswer({"list", "--no-legend"}, "");
    ExpectAnswer({"list", "--json"}, "[]\n");
}

TEST_F(TrunkCommands, ControlCharactersAndStrangeBytesAreShownAsHexadecimal) {
    WriteDatabase(
        "section {\ntrunk_name=a\x1b[31mb\ttrunk\ntrunk_type=0\n"
        "user_name=\xff\xc2\x9b\xe2\x80\xae"
        "z\xc3\xbc\n}\n");
    ExpectAnswer(
        {"list", "--no-legend"},
        "a\\x1b[31mb\\x09trunk  slave  \\xff\\xc2\\x9b\\xe2\\x80\\xaez\xc3\xbc  -  -  off  -\n");
    ExpectFailure({"show", "\x1b[2J"}, 3, "no trunk \"\\x1b[2J\"");
    // A zero width space, a soft hyphen, and a mark of direction.
    ExpectFailure({"show", "of\xe2\x80\x8b\xc2\xad\xd8\x9c"}, 3,
                  "no trunk \"of\\xe2\\x80\\x8b\\xc2\\xad\\xd8\\x9c\"");
}

TEST_F(TrunkCommands, ShowHidesThePasswordUnlessAsked) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"show", "office"},
                 "name          office\n"
                 "type          master\n"
                 "user          1001\n"
                 "password      (hidden)\n"
                 "ip            192.0.2.10\n"
                 "port          5060\n"
                 "registration  on\n"
                 "since         03/07/2024 09:05:31\n");
    ExpectAnswer({"show", "branch", "--show-secrets"},
                 "name      branch\n"
                 "type      slave\n"
                 "user      2001\n"
                 "password  beta\n"
                 "ip        198.51.100.7\n"
                 "port      5070\n"
                 "sym_nat   on\n"
                 "since     03/08/2024 10:06:32\n");
}

TEST_F(TrunkCommands, AnUnknownTrunkIsNamedWithTheOneThatWasMeant) {
    WriteDatabase(kTwoTrunks);
    ExpectFailure({"show", "ofice"}, 3, "no trunk \"ofice\"; did you mean \"office\"?");
    ExpectFailure({"show", "OFFICE"}, 3, "no trunk \"OFFICE\"; did you mean \"office\"?");
    ExpectFailure({"show", "ofcie"}, 3, "no trunk \"ofcie\"; did you mean \"office\"?");
    ExpectFailure({"show", "orbital"}, 3, "no trunk \"orbital\"");
    ExpectFailure({"show", "xyz"}, 3, "no trunk \"xyz\"");
    ExpectFailure({"show", ""}, 3, "no trunk \"\"");
    ExpectFailure({"modify", "ofice", "port=1"}, 3, "no trunk \"ofice\"; did you mean \"office\"?");
    ExpectFailure({"rename", "ofice", "x"}, 3, "no trunk \"ofice\"; did you mean \"office\"?");
    ExpectFailure({"delete", "ofice"}, 3, "no trunk \"ofice\"; did you mean \"office\"?");
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
    Do({"add", "Hamburg depot", "type=slave", "user=2100", "--password-file", "/dev/null"});
    ExpectFailure({"show", "Ham"}, 3, "no trunk \"Ham\"; did you mean \"Hamburg depot\"?");
    Do({"add", "Hamburg harbour", "type=slave", "user=2101", "--password-file", "/dev/null"});
    ExpectFailure({"show", "Ham"}, 3, "no trunk \"Ham\"");  // it could be either
}

TEST_F(TrunkCommands, AddStoresATrunkToAMaster) {
    WriteDatabase("# kept\n");
    ExpectAnswer({"add", "office", "type=master", "user=1001", "ip=192.0.2.10", "port=5060",
                  "registration=on", "--password-file", "-"},
                 "added trunk \"office\"\n", "secret\n");
    EXPECT_EQ(
        DatabaseText(),
        "# kept\nsection {\ntrunk_name=office\ntrunk_type=1\nuser_name=1001\n"
        "password=secret\nmaster_ip=192.0.2.10\nmaster_port=5060\nregistration_status=1\n}\n");
}

TEST_F(TrunkCommands, AddMakesAMissingDatabase) {
    ExpectAnswer({"add", "branch", "trunk_type=0", "user_name=2001", "sym_nat=1", "--password-file",
                  "/dev/null"},
                 "added trunk \"branch\"\n");
    EXPECT_EQ(
        DatabaseText(),
        "section {\ntrunk_name=branch\ntrunk_type=0\nuser_name=2001\npassword=\nsym_nat=1\n}\n");
}

TEST_F(TrunkCommands, AddRefusesATakenNameOrUser) {
    WriteDatabase(kTwoTrunks);
    const Words add = {"add", "--password-file", "/dev/null"};
    const auto with = [&](const Words& more) {
        Words words = add;
        words.insert(words.end(), more.begin(), more.end());
        return words;
    };
    ExpectFailure(with({"office", "type=slave", "user=3"}), 4,
                  "name \"office\" is taken by a trunk to a master, user \"1001\"");
    ExpectFailure(with({"new", "type=slave", "user=1001"}), 4,
                  "user \"1001\" is taken by a trunk to a master, \"office\"");
    ExpectFailure(with({"new", "type=slave", "user=2001"}), 4,
                  "user \"2001\" is taken by a trunk for a slave, \"branch\"");
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(TrunkCommands, ModifyChangesWhatItNamesAndNothingElse) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"modify", "office", "port=5062", "registration=off"},
                 "changed trunk \"office\"\n");
    std::string expected = kTwoTrunks;
    expected.replace(expected.find("5060"), 4, "5062");
    expected.replace(expected.find("registration_status=1"), 21, "registration_status=0");
    EXPECT_EQ(DatabaseText(), expected);
}

TEST_F(TrunkCommands, ModifyChangesThePasswordOnDemand) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"modify", "branch", "--password-file", "-"}, "changed trunk \"branch\"\n",
                 "new one");
    std::string expected = kTwoTrunks;
    expected.replace(expected.find("beta"), 4, "new one");
    EXPECT_EQ(DatabaseText(), expected);
}

TEST_F(TrunkCommands, ModifyCanChangeTheKind) {
    WriteDatabase(kTwoTrunks);
    ExpectFailure({"modify", "branch", "type=master"}, 2,
                  "a trunk to a master needs ip= and port=");
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
    Do({"modify", "branch", "type=master", "ip=203.0.113.1", "port=5061"});
    ExpectAnswer({"show", "branch"},
                 "name          branch\n"
                 "type          master\n"
                 "user          2001\n"
                 "password      (hidden)\n"
                 "ip            203.0.113.1\n"
                 "port          5061\n"
                 "registration  off\n"
                 "since         03/08/2024 10:06:32\n");
}

TEST_F(TrunkCommands, ModifyEmptiesASlavesRegistrationOnDemand) {
    WriteDatabase(kTwoTrunks);
    Do({"modify", "branch", "--reset-registration"});
    std::string expected = kTwoTrunks;
    expected.resize(expected.find("slave_ip"));
    EXPECT_EQ(DatabaseText(),
              expected + "slave_ip=\nslave_port=\nregistration_date=\nregistration_time=\n}\n");
    ExpectFailure({"modify", "office", "--reset-registration"}, 2,
                  "--reset-registration: only trunks for a slave have a registration to reset");
}

TEST_F(TrunkCommands, ModifyRefusesATakenUser) {
    WriteDatabase(kTwoTrunks);
    ExpectFailure({"modify", "branch", "user=1001"}, 4,
                  "user \"1001\" is taken by a trunk to a master, \"office\"");
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
    Do({"modify", "branch", "user=2001"});  // its own
}

TEST_F(TrunkCommands, WhatCannotBeReadWholeIsNotStoredCut) {
    const std::string text = "section {\ntrunk_name=long\ntrunk_type=0\nuser_name=1\npassword=" +
                             std::string(1024, 'p') + "\nsym_nat=0\n}\n";
    WriteDatabase(text);
    const std::string cause =
        DatabasePath() + ":5: value of \"password\" is too long to be kept; shorten it there";
    ExpectFailure({"modify", "long", "user=2"}, 1, cause);
    ExpectFailure({"rename", "long", "short"}, 1, cause);
    EXPECT_EQ(DatabaseText(), text);
}

TEST_F(TrunkCommands, RenameChangesTheNameAlone) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"rename", "office", "head office"},
                 "renamed trunk \"office\" to \"head office\"\n");
    std::string expected = kTwoTrunks;
    expected.replace(expected.find("office"), 6, "head office");
    EXPECT_EQ(DatabaseText(), expected);
    ExpectFailure({"rename", "branch", "head office"}, 4,
                  "name \"head office\" is taken by a trunk to a master, user \"1001\"");
}

TEST_F(TrunkCommands, DeleteTellsWhetherRegistrationWasSwitchedOn) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"delete", "office"},
                 "deleted trunk \"office\"; its registration was switched on\n");
    ExpectAnswer({"delete", "branch"}, "deleted trunk \"branch\"\n");
    EXPECT_EQ(DatabaseText(),
              "# trunks\nsection {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=0\n}\n\n");
}

TEST_F(TrunkCommands, CheckTellsWhatIsFree) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"check", "new"}, "name \"new\" is free\n");
    ExpectAnswer({"check", "new", "--user", "3"}, "name \"new\" and user \"3\" are free\n");
    ExpectFailure({"check", "office"}, 4,
                  "name \"office\" is taken by a trunk to a master, user \"1001\"");
    ExpectFailure({"check", "new", "--user", "2001"}, 4,
                  "user \"2001\" is taken by a trunk for a slave, \"branch\"");
    ExpectAnswer({"check", "office", "--user", "1001", "--edit", "office"},
                 "name \"office\" and user \"1001\" are free\n");
    ExpectFailure({"check", "branch", "--edit", "office"}, 4,
                  "name \"branch\" is taken by a trunk for a slave, user \"2001\"");
    ExpectFailure({"check", "new", "--edit", "ofice"}, 3,
                  "no trunk \"ofice\"; did you mean \"office\"?");
}

TEST_F(TrunkCommands, QuietConfirmsNothing) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"-q", "delete", "office"}, "");
    ExpectAnswer({"delete", "branch", "--quiet"}, "");
}

TEST_F(TrunkCommands, NamesThatLookLikeSomethingElseAreNames) {
    WriteDatabase("");
    for (const char* name : {"list", "-q", "[a,b]", "a=b", " blanks ", "--", "\xff"}) {
        Do({"add", "--password-file", "/dev/null", "--", name, "type=slave",
            std::string("user=") + name});
        Do({"show", "--", name});
        Do({"delete", "--", name});
    }
    EXPECT_EQ(DatabaseText(), "");
}

TEST_F(TrunkCommands, ListShowsTheFieldsThatAreAskedFor) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"list", "--fields", "user,name"},
                 "USER  NAME\n1001  office\n2001  branch\n2 trunks\n");
    ExpectAnswer({"list", "--fields", "note", "--no-legend", "--type", "slave"}, "-\n");
    ExpectAnswer({"list", "--fields", "name,name", "--json", "--type", "slave"},
                 "[\n  {\n    \"name\": \"branch\"\n  }\n]\n");
}

TEST_F(TrunkCommands, ATrunkThatCannotBeFoundByItsNameIsMarked) {
    WriteDatabase(std::string(kTwoTrunks) +
                  "section {\ntrunk_name=office\ntrunk_type=0\nuser_name=7\n}\n");
    ExpectAnswer({"list", "--fields", "name,type,note", "--no-legend"},
                 "office  master  -\nbranch  slave   -\n"
                 "office  slave   an earlier trunk has this name, and programs find that one\n");
    ExpectAnswer({"status"},
                 "NAME    TYPE    ACTIVE  REGISTRATION  NOTE\n"
                 "office  master  yes     on            -\n"
                 "branch  slave   yes     -             -\n"
                 "office  slave   no      -             an earlier trunk has this name, and "
                 "programs find that one\n"
                 "3 trunks\n");
}

TEST_F(TrunkCommands, GetPrintsOneValueAsItIs) {
    WriteDatabase("section {\ntrunk_name=a\ntrunk_type=0\nuser_name= x\x1b \nnote=n\n}\n");
    ExpectAnswer({"get", "a", "user"}, " x\x1b \n");
    ExpectAnswer({"get", "a", "type"}, "slave\n");
    ExpectAnswer({"get", "a", "trunk_type"}, "0\n");
    ExpectAnswer({"get", "a", "sym_nat"}, "off\n");
    ExpectAnswer({"get", "a", "note"}, "n\n");
    ExpectAnswer({"get", "a", "since"}, "\n");
    ExpectAnswer({"get", "a", "password", "--show-secrets"}, "\n");
    ExpectFailure({"get", "a", "password"}, 2, "password is hidden; --show-secrets shows it");
    ExpectFailure({"get", "a", "usr"}, 1, "trunk \"a\" has no key \"usr\"; did you mean \"user\"?");
    ExpectFailure({"get", "b", "user"}, 3, "no trunk \"b\"");
}

TEST_F(TrunkCommands, DeleteTakesSeveralNamesOrNone) {
    WriteDatabase(kTwoTrunks);
    ExpectFailure({"delete", "office", "office"}, 2, "trunk \"office\" is given twice");
    ExpectFailure({"delete", "office", "brnch"}, 3, "no trunk \"brnch\"; did you mean \"branch\"?");
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
    ExpectAnswer({"delete", "office", "branch"},
                 "deleted trunk \"office\"; its registration was switched on\n"
                 "deleted trunk \"branch\"\n");
    ExpectAnswer({"list"}, "0 trunks\n");
}

TEST_F(TrunkCommands, AUserInPlaceOfANameIsRecognized) {
    WriteDatabase(kTwoTrunks);
    ExpectFailure({"show", "2001"}, 3, "no trunk \"2001\"; that is the user of trunk \"branch\"");
}

TEST_F(TrunkCommands, NoTwoNamesLookAlike) {
    const std::vector<std::pair<std::string, std::string>> names = {
        {"\x1b", "\\x1b"},
        {"\\x1b", "\\\\x1b"},
        {"\\\x1b", "\\\\\\x1b"},
        {"\\\\x1b", "\\\\\\\\x1b"},
        {"a\\b", "a\\b"},
        {" ", "\\x20"},
        {"  ", "\\x20 "},
        {"a ", "a\\x20"},
        {" a b", "\\x20a b"},
        {"-", "\\x2d"},
        {"", "-"},
    };
    std::string text;
    std::string shown;
    for (const auto& [name, look] : names) {
        text += "section {\ntrunk_name=" + name + "\ntrunk_type=0\n}\n";
        shown += look + "\n";
    }
    WriteDatabase(text);
    ExpectAnswer({"list", "--fields", "name", "--no-legend"}, shown);
}

TEST_F(TrunkCommands, APasswordFilesLineEndDoesNotCount) {
    WriteDatabase("");
    const std::pair<const char*, const char*> inputs[] = {
        {"p\n", "p"}, {"p\r\n", "p"}, {"p", "p"}, {"p\r", "p\r"}, {"p\r\n\r\n", nullptr}};
    for (const auto& [input, password] : inputs) {
        const Answer answer =
            Run({"add", "a", "type=slave", "user=1", "--password-file", "-"}, input);
        EXPECT_EQ(answer.code, password == nullptr ? 2 : 0);
        if (password != nullptr) {
            ExpectAnswer({"get", "a", "password", "--show-secrets"}, std::string(password) + "\n");
            Do({"delete", "a"});
        }
    }
    const Answer empty = Run({"add", "a", "type=slave", "user=1", "--password-file", "-"});
    EXPECT_EQ(empty.code, 0);
    EXPECT_EQ(empty.err, "siptrunkctl: warning: the password from the standard input is empty\n");
}

// ---- wrong use

struct WrongUse {
    Words words;
    const char* text;
};

TEST_F(TrunkCommands, ValuesThatCannotBeAreWrongUse) {
    WriteDatabase(kTwoTrunks);
    const std::string longValue = "user=" + std::string(1024, 'u');
    const WrongUse uses[] = {
        {{"add", "x", "type=slave"}, "a trunk needs type=master or type=slave, and user="},
        {{"add", "x", "user=1"}, "a trunk needs type=master or type=slave, and user="},
        {{"add", "x", "type=master", "user=1", "ip=a"}, "a trunk to a master needs ip= and port="},
        {{"add", "", "type=slave", "user=1"}, "NAME: it is empty"},
        {{"add", "a\nb", "type=slave", "user=1"},
         "NAME: it holds a line feed, which the database cannot store"},
        {{"add", "x", "type=slave", "user=a\nb"},
         "user=: it holds a line feed, which the database cannot store"},
        {{"add", "x", "type=slave", longValue},
         "user=: it has 1024 bytes; at most 1023 can be read back"},
        {{"add", "x", "type=slave", "user="}, "user=: it is empty"},
        {{"add", "x", "type=slave", "user=1", "user_name=2"}, "user_name= is given twice"},
        {{"add", "x", "type=phone"}, "type=: \"phone\" is neither master nor slave"},
        {{"add", "x", "port=0"}, "port=: \"0\" is not a port (1 to 65535)"},
        {{"add", "x", "port=65536"}, "port=: \"65536\" is not a port (1 to 65535)"},
        {{"add", "x", "port=5060x"}, "port=: \"5060x\" is not a port (1 to 65535)"},
        {{"add", "x", "port="}, "port=: \"\" is not a port (1 to 65535)"},
        {{"add", "x", "port=05060"}, "port=: \"05060\" is not a port (1 to 65535)"},
        {{"add", "x", "ip=999.1.1.1"}, "ip=: \"999.1.1.1\" is not an IP address"},
        {{"add", "x", "ip=1"}, "ip=: \"1\" is not an IP address"},
        {{"add", "x", "ip=a b"}, "ip=: \"a b\" holds a blank"},
        {{"add", "x", "ip="}, "ip=: it is empty"},
        {{"add", "x", "registration=yes"}, "registration=: \"yes\" is neither on nor off"},
        {{"add", "x", "sym_nat=x"}, "sym_nat=: \"x\" is neither on nor off"},
        {{"add", "x", "usr=1"}, "unknown key \"usr\"; did you mean \"user\"?"},
        {{"add", "x", "zzzzzz=1"},
         "unknown key \"zzzzzz\"; the keys are type, user, ip, port, registration, sym_nat"},
        {{"add", "x", "type"},
         "\"type\" is not KEY=VALUE; a name with blanks goes in quotation marks"},
        {{"add", "--", "-x", "user=1", "--password-file", "-"},
         "\"--password-file\" is not KEY=VALUE; options stand before the \"--\" that ends them"},
        {{"add", "x", "name=y"}, "name=: the name stands before the keys; \"rename\" changes it"},
        {{"add", "x", "password=hunter2"},
         "password=: a password is not taken from the command line, where others see it; use "
         "--password-file or --ask-password"},
        {{"modify", "head", "office"},
         "\"office\" is not KEY=VALUE; a name with blanks goes in quotation marks"},
        {{"modify", "office", "sym_nat=on"}, "sym_nat=: only trunks for a slave have it"},
        {{"modify", "branch", "registration=on"}, "registration=: only trunks to a master have it"},
        {{"modify", "branch", "ip=a"},
         "ip= and port=: a trunk for a slave gets its address when the slave registers; use "
         "\"slave register\" or \"slave move\""},
        {{"modify", "office"}, "modify: nothing to change; give KEY=VALUE or an option"},
        {{"modify", "", "port=1"}, "NAME: it is empty"},
        {{"rename", "office", ""}, "NEW: it is empty"},
        {{"rename", "", "x"}, "OLD: it is empty"},
        {{"check", ""}, "NAME: it is empty"},
    };
    for (const WrongUse& use : uses) {
        SCOPED_TRACE(use.text);
        ExpectFailure(use.words, 2, use.text);
    }
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

}  // namespace
