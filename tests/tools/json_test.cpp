#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "tests/tools/json_schema.h"
#include "tests/tools/tool_fixture.h"

namespace {

using Json = nlohmann::json;

/// Runs commands and measures their answers by the schema.
class JsonAnswers : public ToolTest {
  protected:
    JsonAnswers()
        : m_schema(Json::parse(ReadFile(PROJECT_FOLDER "/schema/siptrunkctl.schema.json"))) {}

    /// Runs a command with --json and returns its answer.
    /// @param definition the one of the schema
    Json Ask(const std::string& definition, Words words, std::string_view input = "",
             int code = 0) {
        SCOPED_TRACE(definition);
        words.emplace_back("--json");
        const Answer answer = Run(words, input);
        EXPECT_EQ(answer.code, code);
        EXPECT_EQ(answer.err, "");
        const Json json = Json::parse(answer.out, nullptr, false);
        EXPECT_FALSE(json.is_discarded()) << answer.out;
        EXPECT_EQ(m_schema.Fault(definition, json), "");
        m_asked.insert(definition);
        return json;
    }

    const JsonSchema& Schema() const { return m_schema; }
    const std::set<std::string>& Asked() const { return m_asked; }

  private:
    JsonSchema m_schema;
    std::set<std::string> m_asked;
};

// Each command of the help; "slave register" in it is slave-register in the schema.
std::set<std::string> CommandsOf(const std::string& help) {
    std::set<std::string> commands;
    std::istringstream lines(help);
    bool isCommand = false;
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.front() != ' ') {
            isCommand = line != "Options:" && line != "Words:" && line.compare(0, 7, "Example");
        } else if (isCommand && line.size() > 2 && line[2] != ' ') {
            commands.insert(line.substr(2, line.find(' ', 2) - 2));
        }
    }
    return commands;
}

TEST_F(JsonAnswers, EveryCommandAnswersAsTheSchemaSays) {
    WriteDatabase(kTwoTrunks);
    WriteFile(StartFilePath(), "START_SIPTRUNK=true\n");
    Ask("list", {"list"});
    Ask("list", {"list", "--names"});
    Ask("show", {"show", "office"});
    Ask("show", {"show", "branch", "--show-secrets"});
    Ask("list", {"list", "--fields", "user,note"});
    Ask("get", {"get", "office", "port"});
    Ask("get", {"get", "office", "registration"});
    Ask("get", {"get", "office", "password", "--show-secrets"});
    Ask("version", {"version"});
    Ask("version", {"-q", "--version"});
    for (const Words& words : {Words{}, Words{"help"}, Words{"--help"}}) {
        EXPECT_EQ(Ask("help", words)["help"], Run(words).out);
    }
    EXPECT_EQ(Ask("help", {"help", "list"})["help"], Run({"list", "-h"}).out);
    ASSERT_EQ(setenv("EDITOR", "true", 1), 0);
    Ask("edit", {"edit"});
    ASSERT_EQ(setenv("EDITOR", "sed -i s/5060/5065/", 1), 0);
    Ask("edit", {"edit"});
    Ask("check", {"check", "office"}, "", 4);
    Ask("check", {"check", "new", "--user", "1001"}, "", 4);
    Ask("check", {"check", "new"});
    Ask("check", {"check", "new", "--user", "new"});
    Ask("status", {"status"});
    Ask("status", {"status", "branch"});
    Ask("activate", {"activate", "office"});
    Ask("deactivate", {"deactivate", "office"});
    Ask("snapshot", {"snapshot", "office"});
    Ask("params", {"params", "office"});
    Ask("params", {"params", "office", "--saved", "--show-secrets"});
    Ask("unregister-all", {"unregister-all"});
    Ask("slave-register", {"slave", "register", "2001", "192.0.2.1", "5060"});
    Ask("slave-refresh", {"slave", "refresh", "2001"});
    Ask("slave-move", {"slave", "move", "2001", "192.0.2.2", "5060"});
    Ask("slave-list", {"slave", "list"});
    Ask("slave-unregister", {"slave", "unregister", "2001"});
    Ask("accounts-master", {"accounts", "master"});
    Ask("accounts-slave", {"accounts", "slave", "--yes"});
    Ask("agents", {"agents"});
    Ask("agents-set", {"agents", "set", "slave=on"});
    Ask("service", {"service"});
    Ask("service", {"service", "off"});
    Ask("validate", {"validate"});
    const Json exported = Ask("export", {"export", "--show-secrets"});
    Ask("export", {"export"});
    Ask("import", {"import", "-", "--replace"}, exported.dump());
    Ask("import", {"import", "-", "--replace", "--dry-run"}, exported.dump());
    Ask("rename", {"rename", "office", "hq"});
    Ask("modify", {"modify", "hq", "port=5061"});
    Ask("delete", {"delete", "hq"});
    Do({"add", "a", "type=slave", "user=a", "--password-file", "/dev/null"});
    Ask("delete", {"delete", "a", "branch"});
    Ask("add", {"add", "new", "type=slave", "user=3", "--password-file", "/dev/null"});

    std::set<std::string> commands = CommandsOf(Run({"--help"}).out);
    EXPECT_EQ(commands.erase("watch"), 1U);  // it does not end; its own test measures it
    for (const char* group : {"slave", "accounts", "agents"}) {
        for (const std::string& command : CommandsOf(Run({group, "--help"}).out)) {
            commands.insert(std::string(group) + "-" + command);
        }
    }
    EXPECT_EQ(commands.erase("slave") + commands.erase("accounts"), 2U);  // groups alone
    EXPECT_EQ(Asked(), commands);
    for (const std::string& command : commands) {
        EXPECT_TRUE(Schema().Has(command)) << command;
    }
}

TEST_F(JsonAnswers, TheSchemaRefusesOtherAnswers) {
    const Json good = {{"name", "a"}, {"user", "b"}, {"password", nullptr}};
    const auto fault = [&](const char* key, const Json& value) {
        Json bad = good;
        bad[key] = value;
        return Schema().Fault("accounts-master", Json::array({bad}));
    };
    EXPECT_EQ(Schema().Fault("accounts-master", Json::array({good})), "");
    EXPECT_NE(fault("name", 1), "");
    EXPECT_NE(fault("other", "a"), "");
    EXPECT_NE(fault("name_base64", "%"), "");
    EXPECT_EQ(fault("name_base64", "/w=="), "");
    EXPECT_NE(Schema().Fault("accounts-master", Json::array({Json::object()})), "");
    EXPECT_NE(Schema().Fault(
                  "delete",
                  {{"action", "added"}, {"name", ""}, {"was_registered", true}, {"changed", true}}),
              "");
}

TEST_F(JsonAnswers, ValuesAreThoseOfTheDatabase) {
    WriteDatabase(kTwoTrunks);
    ASSERT_EQ(setenv("TZ", "EST5", 1), 0);
    EXPECT_EQ(Ask("list", {"list"}),
              Json::parse(R"([{"name": "office", "type": "master", "user": "1001",
                               "ip": "192.0.2.10", "port": "5060", "sym_nat": null,
                               "since": "03/07/2024 09:05:31",
                               "since_iso": "2024-03-07T09:05:31-05:00", "note": null},
                              {"name": "branch", "type": "slave", "user": "2001",
                               "ip": "198.51.100.7", "port": "5070", "sym_nat": true,
                               "since": "03/08/2024 10:06:32",
                               "since_iso": "2024-03-08T10:06:32-05:00", "note": null}])"));
    EXPECT_EQ(Ask("show", {"show", "office", "--show-secrets"}),
              Json::parse(R"({"name": "office", "type": "master", "user": "1001",
                              "password": "alpha", "ip": "192.0.2.10", "port": "5060",
                              "registration": true, "since": "03/07/2024 09:05:31",
                              "since_iso": "2024-03-07T09:05:31-05:00"})"));
    EXPECT_EQ(Ask("show", {"show", "branch"})["password"], nullptr);
    EXPECT_EQ(Ask("status", {"status"}),
              Json::parse(R"([{"name": "office", "type": "master", "active": true,
                               "registration": true, "note": null},
                              {"name": "branch", "type": "slave", "active": true,
                               "registration": null, "note": null}])"));
    EXPECT_EQ(Ask("agents", {"agents"}), Json::parse(R"({"master": true, "slave": false})"));
    EXPECT_EQ(Ask("delete", {"delete", "office"}),
              Json::parse(R"({"action": "deleted", "name": "office", "was_registered": true,
                              "changed": true})"));
}

TEST_F(JsonAnswers, BytesThatAreNotUtf8AreThereInBase64) {
    WriteDatabase(
        "section {\ntrunk_name=\xff"
        "a\ntrunk_type=0\nuser_name=\x80\npassword=\xc3\xbc\n}\n");
    const Json trunk = Ask("list", {"list"})[0];
    EXPECT_EQ(trunk["name"],
              "\xef\xbf\xbd"
              "a");
    EXPECT_EQ(trunk["name_base64"], "/2E=");
    EXPECT_EQ(trunk["user_base64"], "gA==");
    EXPECT_EQ(Ask("accounts-master", {"accounts", "master"})[0].count("password_base64"), 0U);
    EXPECT_EQ(Ask("accounts-master", {"accounts", "master", "--show-secrets"})[0]["password"],
              "\xc3\xbc");
}

TEST_F(JsonAnswers, ValidateListsItsProblems) {
    WriteDatabase("section {\nx\n");
    EXPECT_EQ(
        Ask("validate", {"validate"}, "", 5),
        Json({{"file", DatabasePath()},
              {"problems",
               {{{"line", 1}, {"reason", "section is not closed"}},
                {{"line", 1}, {"reason", "first section without \"siptrunk_master_enabled\""}},
                {{"line", 1}, {"reason", "first section without \"siptrunk_slave_enabled\""}},
                {{"line", 2}, {"reason", "entry without \"=\""}}}}}));
}

TEST_F(JsonAnswers, AFailureLeavesTheStandardOutputEmpty) {
    WriteDatabase(kTwoTrunks);
    ExpectFailure({"show", "x", "--json"}, 3, "no trunk \"x\"");
}

TEST_F(JsonAnswers, CheckTellsWhoHasIt) {
    WriteDatabase(kTwoTrunks);
    EXPECT_EQ(Ask("check", {"check", "new", "--user", "2001"}, "", 4),
              Json::parse(R"({"name": "new", "user": "2001", "free": false, "taken": "user",
                              "by": "branch"})"));
    EXPECT_EQ(Ask("check", {"check", "office"}, "", 4)["taken"], "name");
}

TEST_F(JsonAnswers, WhatCouldPlayWithATerminalIsEscaped) {
    // DEL, U+009B, a mark of direction, and a tag character beyond the basic plane.
    const std::string name =
        "\x7f\xc2\x9b\xe2\x80\xae\xf3\xa0\x81\x81"
        "z";
    WriteDatabase("section {\ntrunk_name=" + name + "\n}\n");
    const std::string out = Run({"list", "--names", "--json"}).out;
    EXPECT_EQ(out, "[\n  {\n    \"name\": \"\\u007f\\u009b\\u202e\\udb40\\udc41z\"\n  }\n]\n");
    EXPECT_EQ(Json::parse(out)[0]["name"], name);
    EXPECT_EQ(Json::parse(Run({"export"}).out)["sections"][0]["trunk_name"], name);
}

TEST_F(JsonAnswers, EveryChangeSaysWhetherAnythingChanged) {
    WriteDatabase(kTwoTrunks);
    WriteFile(StartFilePath(), "START_SIPTRUNK=true\n");
    EXPECT_EQ(Ask("modify", {"modify", "office", "port=5060"})["changed"], false);
    EXPECT_EQ(Ask("modify", {"modify", "office", "port=5061"})["changed"], true);
    EXPECT_EQ(Ask("rename", {"rename", "office", "office"})["changed"], false);
    EXPECT_EQ(Ask("deactivate", {"deactivate", "office"})["changed"], true);
    EXPECT_EQ(Ask("deactivate", {"deactivate", "office"})["changed"], false);
    EXPECT_EQ(Ask("unregister-all", {"unregister-all"})["changed"], true);
    EXPECT_EQ(Ask("unregister-all", {"unregister-all"})["changed"], false);
    EXPECT_EQ(Ask("snapshot", {"snapshot", "office"})["changed"], true);
    EXPECT_EQ(Ask("snapshot", {"snapshot", "office"})["changed"], false);
    EXPECT_EQ(Ask("slave-unregister", {"slave", "unregister", "2001"})["changed"], true);
    EXPECT_EQ(Ask("slave-unregister", {"slave", "unregister", "2001"})["changed"], false);
    EXPECT_EQ(Ask("agents-set", {"agents", "set", "slave=on"})["changed"], true);
    EXPECT_EQ(Ask("agents-set", {"agents", "set", "slave=on"})["changed"], false);
    EXPECT_EQ(Ask("service", {"service", "on"})["changed"], false);
    EXPECT_EQ(Ask("service", {"service", "off"})["changed"], true);
    EXPECT_EQ(Ask("accounts-slave", {"accounts", "slave", "--yes"})["changed"], false);
    const std::string exported = Run({"export"}).out;
    EXPECT_EQ(Ask("import", {"import", "-", "--replace"}, exported)["changed"], true);  // comments
    EXPECT_EQ(Ask("import", {"import", "-", "--replace"}, exported)["changed"], false);
    EXPECT_EQ(Ask("import", {"import", "-", "--skip-existing"}, exported)["changed"], false);
}

}  // namespace
