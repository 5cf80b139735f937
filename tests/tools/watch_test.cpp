#include <csignal>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

#include "tests/fixture/child_process.h"
#include "tests/tools/json_schema.h"
#include "tests/tools/tool_fixture.h"

namespace {

/// "watch", running beside the test.
class Watch : public ToolTest {
  protected:
    ~Watch() override {
        if (m_process != -1) {
            (void)kill(m_process, SIGKILL);
            (void)WaitForEnd(m_process);
        }
    }

    void StartWatch(const Words& options) {
        Words words = {SIPTRUNKCTL_PATH, "-C", Folder(), "watch"};
        words.insert(words.end(), options.begin(), options.end());
        WriteFile(m_out.File("out"), "");  // there from the first look on
        WriteFile(m_out.File("err"), "");
        m_process = Start(words, "", m_out.File("out"), m_out.File("err"));
        const std::string line = "siptrunkctl: watching " + DatabasePath() + "\n";
        ASSERT_TRUE(WaitUntil([&] { return Errors() == line; })) << Errors();
    }

    /// Expects that these lines are printed next.
    void ExpectNext(const std::string& lines) {
        m_expected += lines;
        EXPECT_TRUE(WaitUntil([&] { return Printed().size() >= m_expected.size(); }));
        EXPECT_EQ(Printed(), m_expected);
    }

    std::string Printed() const { return ReadFile(m_out.File("out")); }
    std::string Errors() const { return ReadFile(m_out.File("err")); }
    pid_t Process() const { return m_process; }
    int End(int signal) {
        if (m_process == -1) {
            throw std::logic_error("watch does not run");  // -1 would be every process there is
        }
        (void)kill(m_process, signal);
        const int code = WaitForEnd(m_process);
        m_process = -1;
        return code;
    }

  private:
    TempFolder m_out;
    pid_t m_process = -1;
    std::string m_expected;
};

TEST_F(Watch, EachChangeIsALine) {
    WriteDatabase(kTwoTrunks);
    StartWatch({});
    Do({"unregister-all"});
    ExpectNext("changed trunk \"office\": registration_status \"1\" -> \"0\"\n");
    Do({"deactivate", "office"});
    ExpectNext(
        "changed trunk \"office\": registration_date \"03/07/2024\" -> none\n"
        "changed trunk \"office\": registration_time \"09:05:31\" -> none\n");
    Do({"agents", "set", "slave=on"});
    ExpectNext("changed the agents' switches: siptrunk_slave_enabled \"0\" -> \"1\"\n");
    Do({"rename", "branch", "b2"});
    ExpectNext("deleted trunk \"branch\"\nadded trunk \"b2\"\n");
    Do({"modify", "b2", "--password-file", "-"}, "other");
    ExpectNext("changed trunk \"b2\": password (hidden) -> (hidden)\n");
    Do({"snapshot", "office"});
    ExpectNext(
        "changed trunk \"office\": changed_user_name none -> \"1001\"\n"
        "changed trunk \"office\": changed_password none -> (hidden)\n"
        "changed trunk \"office\": changed_master_ip none -> \"192.0.2.10\"\n"
        "changed trunk \"office\": changed_master_port none -> \"5060\"\n");
    Do({"delete", "office"});
    ExpectNext("deleted trunk \"office\"\n");
    EXPECT_EQ(End(SIGTERM), 128 + SIGTERM);
}

TEST_F(Watch, JsonIsOneValueALine) {
    const JsonSchema schema(
        nlohmann::json::parse(ReadFile(PROJECT_FOLDER "/schema/siptrunkctl.schema.json")));
    WriteDatabase(kTwoTrunks);
    StartWatch({"--json"});
    Do({"snapshot", "office"});
    ExpectNext(
        "{\"change\":\"changed\",\"name\":\"office\",\"key\":\"changed_user_name\","
        "\"old\":null,\"new\":\"1001\"}\n"
        "{\"change\":\"changed\",\"name\":\"office\",\"key\":\"changed_password\","
        "\"old\":null,\"new\":null}\n"
        "{\"change\":\"changed\",\"name\":\"office\",\"key\":\"changed_master_ip\","
        "\"old\":null,\"new\":\"192.0.2.10\"}\n"
        "{\"change\":\"changed\",\"name\":\"office\",\"key\":\"changed_master_port\","
        "\"old\":null,\"new\":\"5060\"}\n");
    Do({"delete", "branch"});
    ExpectNext("{\"change\":\"deleted\",\"name\":\"branch\"}\n");
    std::istringstream lines(Printed());
    for (std::string line; std::getline(lines, line);) {
        EXPECT_EQ(schema.Fault("watch", nlohmann::json::parse(line)), "") << line;
    }
}

TEST_F(Watch, ADatabaseMayAppearBreakAndBeMended) {
    StartWatch({});
    WriteDatabase("section {\ntrunk_name=a\n}\n");
    ExpectNext("added trunk \"a\"\n");
    WriteDatabase("section {\n");
    ASSERT_TRUE(WaitUntil([&] {
        return Errors().find(":1: section is not closed") != std::string::npos;
    })) << Errors();
    WriteDatabase("section {\ntrunk_name=b\n}\n");
    ExpectNext("deleted trunk \"a\"\nadded trunk \"b\"\n");
    ASSERT_EQ(unlink(DatabasePath().c_str()), 0);
    ExpectNext("deleted trunk \"b\"\n");
}

TEST_F(Watch, OfTrunksWithOneNameTheFirstCounts) {
    const std::string twice =
        "section {\ntrunk_name=a\nuser_name=1\n}\nsection {\ntrunk_name=a\nuser_name=2\n}\n";
    WriteDatabase(twice);
    StartWatch({});
    WriteDatabase(twice + "section {\ntrunk_name=b\n}\n");
    ExpectNext("added trunk \"b\"\n");
}

TEST_F(Watch, TheEndOfTheFolderIsAFailure) {
    StartWatch({});
    ASSERT_EQ(rmdir((Folder() + "/telephony").c_str()), 0);
    EXPECT_EQ(End(0), 1);
    EXPECT_NE(Errors().find("siptrunkctl: the folder of siptrunkdb was removed\n"),
              std::string::npos)
        << Errors();
}

TEST_F(Watch, AMissingFolderIsAFailure) {
    ASSERT_EQ(rmdir((Folder() + "/telephony").c_str()), 0);
    ExpectFailure({"watch"}, 1, Folder() + "/telephony: watch: No such file or directory");
}

}  // namespace
