#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <nlohmann/json.hpp>
#include <regex>
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

    void StartWatch(const Words& options, std::string path = "") {
        path = path.empty() ? DatabasePath() : path;
        Words words = {SIPTRUNKCTL_PATH, "-C", Folder(), "watch"};
        words.insert(words.end(), options.begin(), options.end());
        WriteFile(m_out.File("out"), "");  // there from the first look on
        WriteFile(m_out.File("err"), "");
        m_process = Start(words, "", m_out.File("out"), m_out.File("err"));
        const std::string line = "siptrunkctl: watching " + path + "\n";
        ASSERT_TRUE(WaitUntil([&] { return Errors() == line; })) << Errors();
    }

    /// Expects that these lines are printed next.
    void ExpectNext(const std::string& lines) {
        m_expected += lines;
        EXPECT_TRUE(WaitUntil([&] { return Printed().size() >= m_expected.size(); }));
        EXPECT_EQ(Printed(), m_expected);
    }

    /// What was printed; times as "TIME" when they have the form of one.
    std::string Printed() const {
        static const std::regex kTime(
            "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}[+-][0-9]{2}:[0-9]{2}");
        return std::regex_replace(AsPrinted(), kTime, "TIME");
    }
    std::string AsPrinted() const { return ReadFile(m_out.File("out")); }
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
    ExpectNext("TIME  changed trunk \"office\": registration_status \"1\" -> \"0\"\n");
    Do({"deactivate", "office"});
    ExpectNext(
        "TIME  changed trunk \"office\": registration_date \"03/07/2024\" -> none\n"
        "TIME  changed trunk \"office\": registration_time \"09:05:31\" -> none\n");
    Do({"agents", "set", "slave=on"});
    ExpectNext("TIME  changed the agents' switches: siptrunk_slave_enabled \"0\" -> \"1\"\n");
    Do({"rename", "branch", "b2"});
    ExpectNext("TIME  deleted trunk \"branch\"\nTIME  added trunk \"b2\"\n");
    Do({"modify", "b2", "--password-file", "-"}, "other");
    ExpectNext("TIME  changed trunk \"b2\": password (hidden) -> (hidden)\n");
    Do({"snapshot", "office"});
    ExpectNext(
        "TIME  changed trunk \"office\": changed_user_name none -> \"1001\"\n"
        "TIME  changed trunk \"office\": changed_password none -> (hidden)\n"
        "TIME  changed trunk \"office\": changed_master_ip none -> \"192.0.2.10\"\n"
        "TIME  changed trunk \"office\": changed_master_port none -> \"5060\"\n");
    Do({"delete", "office"});
    ExpectNext("TIME  deleted trunk \"office\"\n");
    EXPECT_EQ(End(SIGTERM), 128 + SIGTERM);
}

TEST_F(Watch, JsonIsOneValueALine) {
    const JsonSchema schema(
        nlohmann::json::parse(ReadFile(PROJECT_FOLDER "/schema/siptrunkctl.schema.json")));
    WriteDatabase(kTwoTrunks);
    StartWatch({"--json"});
    Do({"snapshot", "office"});
    ExpectNext(
        "{\"time\":\"TIME\",\"change\":\"changed\",\"name\":\"office\",\"key\":\"changed_user_"
        "name\","
        "\"old\":null,\"new\":\"1001\"}\n"
        "{\"time\":\"TIME\",\"change\":\"changed\",\"name\":\"office\",\"key\":\"changed_"
        "password\","
        "\"old\":null,\"new\":null}\n"
        "{\"time\":\"TIME\",\"change\":\"changed\",\"name\":\"office\",\"key\":\"changed_master_"
        "ip\","
        "\"old\":null,\"new\":\"192.0.2.10\"}\n"
        "{\"time\":\"TIME\",\"change\":\"changed\",\"name\":\"office\",\"key\":\"changed_master_"
        "port\","
        "\"old\":null,\"new\":\"5060\"}\n");
    Do({"delete", "branch"});
    ExpectNext("{\"time\":\"TIME\",\"change\":\"deleted\",\"name\":\"branch\"}\n");
    std::istringstream lines(AsPrinted());
    for (std::string line; std::getline(lines, line);) {
        EXPECT_EQ(schema.Fault("watch", nlohmann::json::parse(line)), "") << line;
    }
}

TEST_F(Watch, ADatabaseMayAppearBreakAndBeMended) {
    StartWatch({});
    WriteDatabase("section {\ntrunk_name=a\n}\n");
    ExpectNext("TIME  added trunk \"a\"\n");
    WriteDatabase("section {\n");
    ASSERT_TRUE(WaitUntil([&] {
        return Errors().find(":1: section is not closed") != std::string::npos;
    })) << Errors();
    WriteDatabase("section {\ntrunk_name=b\n}\n");
    ASSERT_TRUE(WaitUntil([&] {
        return Errors().find(DatabasePath() + " can be read again\n") != std::string::npos;
    })) << Errors();
    ExpectNext("TIME  deleted trunk \"a\"\nTIME  added trunk \"b\"\n");
    ASSERT_EQ(unlink(DatabasePath().c_str()), 0);
    ExpectNext("TIME  deleted trunk \"b\"\n");
}

TEST_F(Watch, OfTrunksWithOneNameTheFirstCounts) {
    const std::string twice =
        "section {\ntrunk_name=a\nuser_name=1\n}\nsection {\ntrunk_name=a\nuser_name=2\n}\n";
    WriteDatabase(twice);
    StartWatch({});
    WriteDatabase(twice + "section {\ntrunk_name=b\n}\n");
    ExpectNext("TIME  added trunk \"b\"\n");
}

TEST_F(Watch, TheSwitchesAreToldWhenTheyComeAndGo) {
    StartWatch({});
    Do({"agents", "set", "master=on", "slave=off"});
    ExpectNext(
        "TIME  changed the agents' switches: siptrunk_master_enabled none -> \"1\"\n"
        "TIME  changed the agents' switches: siptrunk_slave_enabled none -> \"0\"\n");
}

TEST_F(Watch, AFolderThatIsReplacedIsFollowed) {
    const std::string trunks = std::string(kTwoTrunks).substr(std::string(kTwoTrunks).find("\n\n"));
    WriteDatabase(trunks);
    StartWatch({});
    const std::string folder = Folder() + "/telephony";
    ASSERT_EQ(mkdir((Folder() + "/new").c_str(), 0755), 0);
    WriteFile(Folder() + "/new/siptrunkdb", trunks);
    ASSERT_EQ(rename(folder.c_str(), (Folder() + "/old").c_str()), 0);
    ASSERT_TRUE(WaitUntil([&] {
        return Errors().find("siptrunkctl: the folder of " + DatabasePath() +
                             " is gone; waiting for it\n") != std::string::npos;
    })) << Errors();
    ExpectNext("TIME  deleted trunk \"office\"\nTIME  deleted trunk \"branch\"\n");
    ASSERT_EQ(rename((Folder() + "/new").c_str(), folder.c_str()), 0);
    ASSERT_TRUE(WaitUntil([&] {
        return Errors().find("siptrunkctl: the folder of " + DatabasePath() +
                             " was replaced; watching the new one\n") != std::string::npos;
    })) << Errors();
    ExpectNext("TIME  added trunk \"office\"\nTIME  added trunk \"branch\"\n");
    Do({"delete", "office"});
    ExpectNext("TIME  deleted trunk \"office\"\n");
}

TEST_F(Watch, ALinkAboveThatLeadsElsewhereIsFollowed) {
    const std::string base = Folder() + "/slots";
    for (const char* slot : {"/a", "/b"}) {
        ASSERT_EQ(mkdir((Folder() + slot).c_str(), 0755), 0);
        ASSERT_EQ(mkdir((Folder() + slot + "/telephony").c_str(), 0755), 0);
    }
    WriteFile(Folder() + "/a/telephony/siptrunkdb", "section {\ntrunk_name=a\n}\n");
    WriteFile(Folder() + "/b/telephony/siptrunkdb", "section {\ntrunk_name=b\n}\n");
    ASSERT_EQ(symlink("a", base.c_str()), 0);
    ASSERT_EQ(symlink("b", (base + "2").c_str()), 0);
    StartWatch({"-C", base}, base + "/telephony/siptrunkdb");
    ASSERT_EQ(rename((base + "2").c_str(), base.c_str()), 0);
    ExpectNext("TIME  deleted trunk \"a\"\nTIME  added trunk \"b\"\n");
    WriteFile(Folder() + "/b/telephony/siptrunkdb", "section {\ntrunk_name=c\n}\n");
    ExpectNext("TIME  deleted trunk \"b\"\nTIME  added trunk \"c\"\n");
}

TEST_F(Watch, AMissingFolderIsAFailure) {
    ASSERT_EQ(rmdir((Folder() + "/telephony").c_str()), 0);
    ExpectFailure({"watch"}, 1, Folder() + "/telephony: watch: No such file or directory");
}

}  // namespace
