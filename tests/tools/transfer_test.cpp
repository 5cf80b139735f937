#include <nlohmann/json.hpp>

#include "tests/tools/tool_fixture.h"

namespace {

using Json = nlohmann::ordered_json;
using Transfer = ToolTest;

Json SwitchSection() { return {{"siptrunk_master_enabled", "1"}, {"siptrunk_slave_enabled", "1"}}; }

Json SlaveSection(const std::string& name, const std::string& user) {
    return {{"trunk_name", name},
            {"trunk_type", "0"},
            {"user_name", user},
            {"password", "p"},
            {"sym_nat", "0"}};
}

std::string Document(const std::vector<Json>& sections) {
    return Json({{"sections", sections}}).dump();
}

std::string SlaveText(const std::string& name, const std::string& user) {
    return "section {\ntrunk_name=" + name + "\ntrunk_type=0\nuser_name=" + user +
           "\npassword=p\nsym_nat=0\n}\n";
}

std::string WithoutComments(std::string text) {
    text.erase(0, text.find("section"));
    text.erase(text.find("\n\n"), 1);
    return text;
}

TEST_F(Transfer, ExportShowsAllSectionsAndHidesPasswords) {
    WriteDatabase(
        "section {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=0\n}\n"
        "section {\n  foreign key = x \ntrunk_name=a\npassword=p\npassword=q\n"
        "changed_password=c\nempty=\n}\n");
    ExpectAnswer({"export"},
                 "{\n"
                 "  \"sections\": [\n"
                 "    {\n"
                 "      \"siptrunk_master_enabled\": \"1\",\n"
                 "      \"siptrunk_slave_enabled\": \"0\"\n"
                 "    },\n"
                 "    {\n"
                 "      \"foreign key\": \" x \",\n"
                 "      \"trunk_name\": \"a\",\n"
                 "      \"password\": null,\n"
                 "      \"changed_password\": null,\n"
                 "      \"empty\": \"\"\n"
                 "    }\n"
                 "  ]\n"
                 "}\n");
    const Json shown = Json::parse(Run({"export", "--show-secrets"}).out);
    EXPECT_EQ(shown["sections"][1]["password"], "p");
    EXPECT_EQ(shown["sections"][1]["changed_password"], "c");
}

TEST_F(Transfer, ExportAndImportGiveAnEqualDatabase) {
    std::string strange;
    for (int byte = 1; byte < 256; ++byte) {
        strange += byte == '\n' || byte == '\r' ? "" : std::string(1, static_cast<char>(byte));
    }
    std::string text = kTwoTrunks;
    text.replace(text.find("alpha"), 5, strange);
    WriteDatabase(text);
    Do({"snapshot", "office"});
    const std::string before = DatabaseText();
    const std::string exported = Run({"export", "--show-secrets"}).out;
    ASSERT_EQ(unlink(DatabasePath().c_str()), 0);
    ExpectAnswer({"import", "-"}, "imported 2 trunks\n", exported);
    EXPECT_EQ(DatabaseText(), WithoutComments(before));
}

TEST_F(Transfer, ImportReadsAFile) {
    WriteFile(Folder() + "/in.json", Document({SwitchSection(), SlaveSection("a", "1")}));
    ExpectAnswer({"import", Folder() + "/in.json"}, "imported 1 trunk\n");
    ExpectFailure({"import", Folder() + "/none"}, 1,
                  Folder() + "/none: open: No such file or directory");
}

TEST_F(Transfer, ImportAddsToWhatIsStored) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"import", "-"}, "imported 1 trunk\n",
                 Document({SwitchSection(), SlaveSection("new", "3")}));
    EXPECT_EQ(DatabaseText(), kTwoTrunks + SlaveText("new", "3"));  // with its own switches
}

TEST_F(Transfer, ImportPutsSwitchesBeforeADatabaseWithoutThem) {
    WriteDatabase(SlaveText("a", "1"));
    ExpectAnswer({"import", "-"}, "imported 1 trunk\n",
                 Document({SwitchSection(), SlaveSection("b", "2")}));
    EXPECT_EQ(DatabaseText(),
              "section {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=1\n}\n" +
                  SlaveText("a", "1") + SlaveText("b", "2"));
}

TEST_F(Transfer, ImportReplacesOnDemand) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"import", "-", "--replace"}, "imported 1 trunk\n",
                 Document({SwitchSection(), SlaveSection("branch", "1001")}));
    EXPECT_EQ(DatabaseText(),
              "# trunks\n\nsection {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=1\n}\n" +
                  SlaveText("branch", "1001"));
}

TEST_F(Transfer, ALastLineWithoutItsEndGetsOneOnlyBeforeAnother) {
    const std::string open = "section {\ntrunk_name=a\ntrunk_type=0\n}";
    const std::string switches =
        "section {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=1\n}\n";
    WriteDatabase(open);
    Do({"import", "-"}, Document({SwitchSection()}));
    EXPECT_EQ(DatabaseText(), switches + open);
    Do({"import", "-"}, Document({SlaveSection("branch", "1001")}));
    EXPECT_EQ(DatabaseText(), switches + open + "\n" + SlaveText("branch", "1001"));
}

TEST_F(Transfer, ATrialStoresNothing) {
    const std::string document = Document({SwitchSection(), SlaveSection("a", "1")});
    ExpectAnswer({"import", "-", "--dry-run"},
                 "changed the agents' switches: siptrunk_master_enabled none -> \"1\"\n"
                 "changed the agents' switches: siptrunk_slave_enabled none -> \"1\"\n"
                 "added trunk \"a\"\nwould import 1 trunk\n",
                 document);
    EXPECT_TRUE(EntriesOf(Folder() + "/telephony").empty());
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"import", "-", "--dry-run", "--replace"},
                 "deleted trunk \"office\"\ndeleted trunk \"branch\"\n"
                 "changed the agents' switches: siptrunk_slave_enabled \"0\" -> \"1\"\n"
                 "added trunk \"a\"\nwould import 1 trunk\n",
                 document);
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(Transfer, AHiddenPasswordStaysTheStoredOne) {
    WriteDatabase(kTwoTrunks);
    const std::string exported = Run({"export"}).out;
    Do({"import", "-", "--replace"}, exported);
    EXPECT_EQ(WithoutComments("# trunks\n" + DatabaseText().substr(10) + "\n\n"),
              WithoutComments(kTwoTrunks) + "\n");
    ASSERT_EQ(unlink(DatabasePath().c_str()), 0);
    ExpectFailure({"import", "-"}, 1,
                  "standard input: section 2: key \"password\": it is null, and none is stored for "
                  "that trunk; \"export --show-secrets\" exports it",
                  exported);
    EXPECT_TRUE(EntriesOf(Folder() + "/telephony").empty());
}

TEST_F(Transfer, AKeyThatOnlyLooksLikeBase64IsAKey) {
    Json section = SlaveSection("a", "1");
    section["note_base64"] = "x";
    Do({"import", "-"}, Document({SwitchSection(), section}));
    const Json exported = Json::parse(Run({"export"}).out);
    EXPECT_EQ(exported["sections"][1]["note_base64"], "x");
}

TEST_F(Transfer, WhatWasStoredBeforeIsNotToBlame) {
    const std::string old = "section {\ntrunk_name=odd\ntrunk_type=7\n}\n";
    WriteDatabase(old);
    Do({"import", "-"}, Document({SlaveSection("a", "1")}));
    EXPECT_EQ(DatabaseText(), old + SlaveText("a", "1"));
}

TEST_F(Transfer, ATakenNameOrUserIsRefused) {
    WriteDatabase(kTwoTrunks);
    const std::string clash =
        " sections clash with what is stored; --skip-existing leaves out the trunks that are "
        "there, "
        "--replace removes what is stored";
    ExpectFailure({"import", "-"}, 4,
                  "standard input: section 2: trunk_name \"office\" is taken\nsiptrunkctl: "
                  "standard input: 1 of 2" +
                      clash,
                  Document({SlaveSection("new", "3"), SlaveSection("office", "4")}));
    ExpectFailure({"import", "-"}, 4,
                  "standard input: section 1: user_name \"2001\" is taken\n"
                  "siptrunkctl: standard input: section 3: trunk_name \"branch\" is taken\n"
                  "siptrunkctl: standard input: 2 of 3" +
                      clash,
                  Document({SlaveSection("new", "2001"), SlaveSection("free", "4"),
                            SlaveSection("branch", "5")}));
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(Transfer, WhatIsNotSoundIsRefusedWithAllItsProblems) {
    WriteDatabase(kTwoTrunks);
    Json bad = SlaveSection("a", "1");
    bad["slave_port"] = "none";
    ExpectFailure(
        {"import", "-"}, 1,
        "standard input: section 1: slave_port \"none\" is not a port (1 to 65535)\n"
        "siptrunkctl: standard input: section 2: trunk name \"a\" again, first in section 1",
        Document({bad, SlaveSection("a", "2")}));
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

struct BadInput {
    const char* json;
    const char* text;
};

TEST_F(Transfer, WhatIsNotSuchJsonIsRefusedWithoutQuotingIt) {
    WriteDatabase(kTwoTrunks);
    const std::string none = ": no list \"sections\" in it; \"siptrunkctl export\" shows the form";
    EXPECT_EQ(Run({"import", "-"}, "[]").err, "siptrunkctl: standard input" + none + "\n");
    EXPECT_EQ(Run({"import", "-"}, "{\"sections\": 1}").err,
              "siptrunkctl: standard input" + none + "\n");
    const BadInput inputs[] = {
        {"", ":1: this is not JSON"},
        {"{\"sections\": [\n{\"password\": \"secret\n", ":2: this is not JSON"},
        {"{\"sections\": [1]}", ": section 1: it is not an object"},
        {"{\"sections\": [{\"password\":7e4711}]}",
         ": section 1: key \"password\": its value is not a text"},
        {"{\"sections\": [{\"password\":7411e99999}]}",
         ": section 1: key \"password\": its value is not a text"},
        {"{\"sections\": [{\"password\":{\"a\":1}}]}",
         ": section 1: key \"password\": its value is not a text"},
        {"{\"sections\": [{\"password\":[\"secret\"]}]}",
         ": section 1: key \"password\": its value is not a text"},
        {"{\"sections\": [[{}]]}", ": section 1: it is not an object"},
        {"{\"sections\": [{\"a\": \"1\", \"a\": \"2\"}]}",
         ": section 1: key \"a\": it occurs twice"},
        {"{\"sections\": [], \"sections\": []}", ": the list \"sections\" occurs twice"},
        {"{\"sections\": {}}",
         ": no list \"sections\" in it; \"siptrunkctl export\" shows the form"},
        {"{\"other\": [{\"sections\": []}]}",
         ": no list \"sections\" in it; \"siptrunkctl export\" shows the form"},
        {"{\"sections\": [{}, {\"a\": 1}]}", ": section 2: key \"a\": its value is not a text"},
        {"{\"sections\": [{\"user_name\": null}]}",
         ": section 1: key \"user_name\": its value is not a text"},
        {"{\"sections\": [{\"password\": \"a\\nb\"}]}",
         ": section 1: key \"password\": its value holds a line feed or a NUL byte"},
        {"{\"sections\": [{\"password\": \"a\\u0000b\"}]}",
         ": section 1: key \"password\": its value holds a line feed or a NUL byte"},
        {"{\"sections\": [{\"a\\u0000b\": \"c\"}]}",
         ": section 1: key \"a\\x00b\": it holds a NUL byte"},
        {"{\"sections\": [{\"\": \"c\"}]}", ": section 1: key \"\": it is empty"},
        {"{\"sections\": [{\"#a\": \"c\"}]}",
         ": section 1: key \"#a\": it would be read as a comment"},
        {"{\"sections\": [{\"a=b\": \"c\"}]}",
         ": section 1: key \"a=b\": it holds a separator or a line feed"},
        {"{\"sections\": [{\"a\": \"c\", \"a_base64\": \"????\"}]}",
         ": section 1: key \"a_base64\": its value is not base64"},
        {"{\"sections\": [{\"a\": \"c\", \"a_base64\": \"YWI\"}]}",
         ": section 1: key \"a_base64\": its value is not base64"},
        {"{\"sections\": [{\"a\": \"c\", \"a_base64\": \"Y===\"}]}",
         ": section 1: key \"a_base64\": its value is not base64"},
    };
    for (const BadInput& input : inputs) {
        ExpectFailure({"import", "-"}, 1, std::string("standard input") + input.text, input.json);
    }
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(Transfer, WhatStandsBesideTheListIsNobodysMatter) {
    const std::string sections = Document({SwitchSection(), SlaveSection("a", "1")}).substr(1);
    ExpectAnswer({"import", "-"}, "imported 1 trunk\n",
                 "{\"by\": {\"x\": [1, {\"y\": null}], \"z\": 1e5}, \"at\": true, " + sections);
    EXPECT_EQ(DatabaseText(),
              "section {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=1\n}\n" +
                  SlaveText("a", "1"));
}

TEST_F(Transfer, AnInputWithoutEndIsNotRead) {
    ExpectFailure({"import", "/dev/zero"}, 1, "/dev/zero: it has more than 33554432 bytes");
}

TEST_F(Transfer, WhatIsStoredCanBeSkipped) {
    WriteDatabase(kTwoTrunks);
    const std::string exported = Run({"export"}).out;
    ExpectAnswer({"import", "-", "--skip-existing"}, "imported 0 trunks; that changes nothing\n",
                 exported);
    ExpectAnswer({"import", "-", "--skip-existing"}, "imported 1 trunk\n",
                 Document({SlaveSection("office", "7"), SlaveSection("new", "3")}));
    EXPECT_EQ(DatabaseText(), kTwoTrunks + SlaveText("new", "3"));
    ExpectFailure({"import", "-", "--skip-existing"}, 4,
                  "standard input: section 1: user_name \"1001\" is taken\n"
                  "siptrunkctl: standard input: 1 of 1 sections clash with what is stored; "
                  "--skip-existing leaves out the trunks that are there, --replace removes what is "
                  "stored",
                  Document({SlaveSection("other", "1001")}));
}

TEST_F(Transfer, ManyClashesAreToldInAFewLines) {
    std::vector<Json> sections;
    std::string text;
    for (int i = 0; i < 10; ++i) {
        sections.push_back(SlaveSection("t" + std::to_string(i), "u" + std::to_string(i)));
        text += SlaveText("t" + std::to_string(i), "u" + std::to_string(i));
    }
    WriteDatabase(text);
    ExpectFailure({"import", "-"}, 4,
                  "standard input: section 1: trunk_name \"t0\" is taken\n"
                  "siptrunkctl: standard input: section 2: trunk_name \"t1\" is taken\n"
                  "siptrunkctl: standard input: section 3: trunk_name \"t2\" is taken\n"
                  "siptrunkctl: standard input: 10 of 10 sections clash with what is stored; "
                  "--skip-existing leaves out the trunks that are there, --replace removes what is "
                  "stored",
                  Document(sections));
}

TEST_F(Transfer, ALastLineWithoutItsEndStaysALine) {
    WriteDatabase("section {\ntrunk_name=odd\n}\n# end");
    Do({"import", "-"}, Document({SwitchSection(), SlaveSection("a", "1")}));
    EXPECT_EQ(DatabaseText(),
              "section {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=1\n}\n"
              "section {\ntrunk_name=odd\n}\n# end\n" +
                  SlaveText("a", "1"));
    WriteDatabase("# end");
    Do({"import", "-", "--replace"}, Document({SwitchSection(), SlaveSection("a", "1")}));
    EXPECT_EQ(DatabaseText(),
              "# end\nsection {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=1\n}\n" +
                  SlaveText("a", "1"));
}

TEST_F(Transfer, AMalformedDatabaseIsNeitherExportedNorChanged) {
    WriteDatabase("section {\nx\n}\n");
    const std::string cause =
        DatabasePath() + ":2: entry without \"=\"; \"siptrunkctl validate\" lists every problem";
    ExpectFailure({"export"}, 5, cause);
    ExpectFailure({"import", "-", "--replace"}, 5, cause, Document({SwitchSection()}));
    EXPECT_EQ(DatabaseText(), "section {\nx\n}\n");
}

TEST_F(Transfer, KeysThatJsonCannotCarryAreNotExported) {
    WriteDatabase("section {\na=1\na_base64=2\n}\n");
    ExpectFailure(
        {"export"}, 1,
        DatabasePath() + ":3: key \"a_base64\" cannot be carried by JSON; rename it there");
    WriteDatabase("section {\n\xff=1\n}\n");
    ExpectFailure({"export"}, 1,
                  DatabasePath() + ":2: key \"\\xff\" cannot be carried by JSON; rename it there");
}

}  // namespace
