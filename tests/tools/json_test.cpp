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
    /// definition  the one of the schema
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

// "slave register USER IP PORT" in the help is slave-register in the schema.
std::set<std::string> CommandsOf(const std::string& help) {
    std::set<std::string> commands;
    std::istringstream lines(help.substr(help.find("\nCommands:\n") + 11));
    for (std::string line; std::getline(lines, line) && !line.empty();) {
        const std::string usage = line.substr(2, line.find("  ", 2) - 2);
        std::istringstream words(usage);
        std::string command;
        for (std::string word;
             words >> word &&
             word.find_first_not_of("abcdefghijklmnopqrstuvwxyz-") == std::string::npos;) {
            command += (command.empty() ? "" : "-") + word;
        }
        commands.insert(command);
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
    Ask("add", {"add", "new", "type=slave", "user=3", "--password-file", "/dev/null"});

    std::set<std::string> commands = CommandsOf(Run({"--help"}).out);
    EXPECT_EQ(commands.erase("watch"), 1U);  // it does not end; its own test measures it
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
    EXPECT_NE(
        Schema().Fault("delete", {{"action", "added"}, {"name", ""}, {"was_registered", true}}),
        "");
}

TEST_F(JsonAnswers, ValuesAreThoseOfTheDatabase) {
    WriteDatabase(kTwoTrunks);
    EXPECT_EQ(Ask("list", {"list"}),
              Json::parse(R"([{"name": "office", "type": "master", "user": "1001",
                               "ip": "192.0.2.10", "port": "5060", "sym_nat": null,
                               "since": "03/07/2024 09:05:31"},
                              {"name": "branch", "type": "slave", "user": "2001",
                               "ip": "198.51.100.7", "port": "5070", "sym_nat": true,
                               "since": "03/08/2024 10:06:32"}])"));
    EXPECT_EQ(Ask("show", {"show", "office", "--show-secrets"}),
              Json::parse(R"({"name": "office", "type": "master", "user": "1001",
                              "password": "alpha", "ip": "192.0.2.10", "port": "5060",
                              "registration": true, "since": "03/07/2024 09:05:31"})"));
    EXPECT_EQ(Ask("show", {"show", "branch"})["password"], nullptr);
    EXPECT_EQ(Ask("status", {"status"}),
              Json::parse(R"([{"name": "office", "type": "master", "active": true,
                               "registration": true},
                              {"name": "branch", "type": "slave", "active": true,
                               "registration": null}])"));
    EXPECT_EQ(Ask("agents", {"agents"}), Json::parse(R"({"master": true, "slave": false})"));
    EXPECT_EQ(Ask("delete", {"delete", "office"}),
              Json::parse(R"({"action": "deleted", "name": "office", "was_registered": true})"));
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
    ExpectFailure({"check", "office", "--json"}, 4,
                  "name \"office\" is taken by a trunk to a master, user \"1001\"");
}

}  // namespace
