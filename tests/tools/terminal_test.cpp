#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utmp.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <thread>

#include "tests/fixture/child_process.h"
#include "tests/fixture/own_lock.h"
#include "tests/tools/tool_fixture.h"

namespace {

/// What a person does: waits for a text, then types one.
struct Turn {
    std::string text;
    std::string typed;
    std::function<void()> done = [] {};
};

/// The tool on a terminal.
class Terminal : public ToolTest {
  protected:
    Terminal() { (void)setenv("TERM", "xterm", 1); }

    /// Returns all that the terminal shows, with "\n" as line ends, and the exit code.
    std::pair<std::string, int> RunThere(Words words, unsigned short columns,
                                         const std::vector<Turn>& turns = {}) const {
        words.insert(words.begin(), {SIPTRUNKCTL_PATH, "-C", Folder()});
        struct winsize size = {25, columns, 0, 0};
        int terminal = -1;
        int inside = -1;
        EXPECT_EQ(openpty(&terminal, &inside, nullptr, nullptr, &size), 0);
        const pid_t process = fork();
        if (process == 0) {
            (void)close(terminal);
            (void)login_tty(inside);
            std::vector<char*> arguments;
            for (const std::string& word : words) {
                arguments.push_back(const_cast<char*>(word.c_str()));  // execv only reads
            }
            arguments.push_back(nullptr);
            (void)execv(arguments[0], arguments.data());
            _exit(127);
        }
        // The tool's last words could be lost if nobody else had the terminal open.
        int code = -1;
        std::thread waiting([&] {
            code = WaitForEnd(process);
            (void)!write(inside, &kEnd, 1);
        });
        const std::string shown = Talk(terminal, turns);
        waiting.join();
        (void)close(terminal);
        (void)close(inside);
        return {shown, code};
    }

  private:
    static constexpr char kEnd = '\0';

    static std::string Talk(int terminal, const std::vector<Turn>& turns) {
        std::string shown;
        std::size_t turn = 0;
        std::size_t seen = 0;
        std::array<char, 1024> block{};
        ssize_t count = 0;
        while ((count = read(terminal, block.data(), block.size())) > 0) {
            for (ssize_t i = 0; i < count; ++i) {
                const char byte = block.at(static_cast<std::size_t>(i));
                if (byte == kEnd) {
                    return shown;
                }
                if (byte != '\r') {
                    shown += byte;
                }
            }
            if (turn < turns.size() && shown.find(turns[turn].text, seen) != std::string::npos) {
                seen = shown.size();
                const std::string& typed = turns[turn++].typed;
                turns[turn - 1].done();
                (void)!write(terminal, typed.data(), typed.size());
            }
        }
        return shown;
    }
};

using Shown = std::pair<std::string, int>;

TEST_F(Terminal, ThePasswordIsAskedForTwiceAndNotShown) {
    WriteDatabase("");
    EXPECT_EQ(RunThere({"add", "a", "type=slave", "user=1"}, 80,
                       {{"Password: ", "s3cret\n"}, {"Once more: ", "s3cret\n"}}),
              Shown("Password: \nOnce more: \nadded trunk \"a\"\n", 0));
    ExpectAnswer({"accounts", "master", "--show-secrets", "--no-legend"}, "a  1  s3cret\n");
    EXPECT_EQ(RunThere({"modify", "a", "--ask-password"}, 80,
                       {{"Password: ", "new\n"}, {"Once more: ", "new\n"}}),
              Shown("Password: \nOnce more: \nchanged trunk \"a\"\n", 0));
    ExpectAnswer({"accounts", "master", "--show-secrets", "--no-legend"}, "a  1  new\n");
}

TEST_F(Terminal, WhatOthersChangeWhileAPasswordIsAskedForStays) {
    WriteDatabase(kTwoTrunks);
    const auto change = [&] { Do({"modify", "office", "port=5061"}); };
    EXPECT_EQ(RunThere({"modify", "office", "--ask-password"}, 80,
                       {{"Password: ", "new\n", change}, {"Once more: ", "new\n"}})
                  .second,
              0);
    ExpectAnswer({"get", "office", "port"}, "5061\n");
    ExpectAnswer({"get", "office", "password", "--show-secrets"}, "new\n");
}

TEST_F(Terminal, APasswordThatIsNotGivenChangesNothing) {
    WriteDatabase("");
    const std::string failed = "\x1b[1;31msiptrunkctl:\x1b[0m ";
    EXPECT_EQ(RunThere({"add", "a", "type=slave", "user=1"}, 80,
                       {{"Password: ", "one\n"}, {"Once more: ", "two\n"}}),
              Shown("Password: \nOnce more: \n" + failed +
                        "the two passwords differ; nothing was changed\n",
                    1));
    // Ctrl-C, Ctrl-D, Ctrl-Z, Ctrl-\, the last two after something was typed
    for (const char* key : {"\x03", "\x04", "ab\x1a", "ab\x1c"}) {
        EXPECT_EQ(RunThere({"add", "a", "type=slave", "user=1"}, 80, {{"Password: ", key}}),
                  Shown("Password: \n" + failed + "no password given; nothing was changed\n", 1));
    }
    EXPECT_EQ(DatabaseText(), "");
}

TEST_F(Terminal, AKeyThatInterruptsKeepsAnEditedText) {
    WriteDatabase(kTwoTrunks);
    (void)unsetenv("VISUAL");
    (void)setenv("EDITOR", "sed -i s/^master_port=5060/oops/", 1);
    (void)setenv("TMPDIR", Folder().c_str(), 1);
    for (const char* key : {"\x03", "\x1a", "\x1c"}) {
        const auto [shown, code] = RunThere({"edit"}, 200, {{"iscard it? ", key}});
        EXPECT_EQ(code, 5);
        EXPECT_NE(shown.find("your text is kept in " + Folder() + "/siptrunkctl."),
                  std::string::npos)
            << shown;
    }
    (void)unsetenv("TMPDIR");
    (void)unsetenv("EDITOR");
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

// A text whose characters have two bytes each.
std::string Wide(int characters) {
    std::string text;
    for (int i = 0; i < characters; ++i) {
        text += "\xc3\xbc";
    }
    return text;
}

TEST_F(Terminal, TablesFitTheTerminal) {
    const std::string name = "a name that is long enough";
    WriteDatabase("section {\ntrunk_name=" + name + "\ntrunk_type=0\nuser_name=" + Wide(11) +
                  "\n}\n");
    EXPECT_EQ(RunThere({"list", "--no-legend"}, 80),
              Shown(name + "  slave  " + Wide(11) + "  -  -  off  -\n", 0));
    // The columns that are needed least go first,
    EXPECT_EQ(
        RunThere({"list", "--color", "never"}, 68),
        Shown("NAME                        TYPE   USER         IP  PORT  SINCE\n" + name +
                  "  slave  " + Wide(11) + "  -   -     -\n1 trunk; --full also shows SYM NAT\n",
              0));
    EXPECT_EQ(
        RunThere({"list", "--color", "never"}, 60),
        Shown("NAME                        TYPE   USER         IP  PORT\n" + name + "  slave  " +
                  Wide(11) + "  -   -\n1 trunk; --full also shows SINCE, SYM NAT\n",
              0));
    // and then what is left is cut, the name last, but not to nothing.
    EXPECT_EQ(RunThere({"list", "--no-legend"}, 49),
              Shown(name + "  slave  " + Wide(7) + "~  -  -\n", 0));
    EXPECT_EQ(RunThere({"list", "--no-legend"}, 33),
              Shown("a name th~  slave  " + Wide(7) + "~  -  -\n", 0));
    EXPECT_EQ(RunThere({"list", "--no-legend"}, 20),
              Shown("a name ~  slave  " + Wide(7) + "~  -  -\n", 0));
    EXPECT_EQ(RunThere({"list", "--no-legend", "--full"}, 20),
              Shown(name + "  slave  " + Wide(11) + "  -  -  off  -\n", 0));
    EXPECT_EQ(RunThere({"list", "--no-legend", "--fields", "name,sym_nat"}, 30),
              Shown("a name that is long enou~  off\n", 0));
}

TEST_F(Terminal, OneLongNameDoesNotHideTheAddresses) {
    const std::string name = "the desk at the entrance of the building";
    WriteDatabase("section {\ntrunk_name=" + name +
                  "\ntrunk_type=1\nuser_name=reception@a.example.com\nmaster_ip=192.0.2.100\n"
                  "master_port=5060\n}\nsection {\ntrunk_name=b\ntrunk_type=1\nuser_name=2\n"
                  "master_ip=2001:db8:1234:5678:9abc:def0:1234:5678\nmaster_port=5060\n}\n");
    const Words list = {"list", "--no-legend", "--fields", "name,user,ip,port"};
    EXPECT_EQ(RunThere(list, 66),
              Shown("the desk at the entrance ~  reception@a.ex~  192.0.2.100      5060\n"
                    "b                           2                2001:db8:1234:~  5060\n",
                    0));
    // Where that is not enough, the name is the last to be cut further.
    EXPECT_EQ(RunThere(list, 64),
              Shown("the desk at the entrance ~  reception@a.e~  192.0.2.100     5060\n"
                    "b                           2               2001:db8:1234~  5060\n",
                    0));
}

TEST_F(Terminal, ColumnsAreCountedAsTheTerminalDrawsThem) {
    const std::string japanese = "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e";  // three of two columns
    const std::string accent = "e\xcc\x81";                               // two, drawn as one
    WriteDatabase("section {\ntrunk_name=" + japanese + "\ntrunk_type=0\nuser_name=1\n}\n" +
                  "section {\ntrunk_name=" + accent + "\ntrunk_type=0\nuser_name=2\n}\n" +
                  "section {\ntrunk_name=" + japanese + japanese +
                  "\ntrunk_type=0\nuser_name=3\n}\n");
    const std::string off = "  -  -  off  -\n";
    EXPECT_EQ(RunThere({"list", "--no-legend"}, 80),
              Shown(japanese + "        slave  1" + off + accent + "             slave  2" + off +
                        japanese + japanese + "  slave  3" + off,
                    0));
    const std::string none = "  -  -\n";
    EXPECT_EQ(RunThere({"list", "--no-legend"}, 20),
              Shown(japanese + "    slave  1" + none + accent + "         slave  2" + none +
                        japanese + "~   slave  3" + none,
                    0));
}

TEST_F(Terminal, ACommandThatWaitsSaysForWhom) {
    if (!HasOwnLock()) {
        GTEST_SKIP() << "a test may not have a lock of its own here";
    }
    WriteDatabase(kTwoTrunks);
    const std::unique_ptr<ChildProcess> holder = StartStoppedHolder();
    const auto kill = [&] { holder->Kill(); };
    const Shown shown =
        RunThere({"get", "branch", "port", "--color", "never"}, 80, {{" holds\n", "", kill}});
    EXPECT_EQ(shown, Shown("siptrunkctl: waiting for the device's lock, which process " +
                               ReadFile(Folder() + "/holder") + " holds\n5070\n",
                           0));
}

TEST_F(Terminal, ColorsAreForTerminalsThatWantThem) {
    WriteDatabase(kTwoTrunks);
    const Words list = {"accounts", "master"};
    const std::string rest = "branch  2001  (hidden)\n1 account\n";
    const std::string plain = "NAME    USER  PASSWORD\n" + rest;
    const std::string bold = "\x1b[1mNAME    USER  PASSWORD\x1b[0m\n" + rest;
    EXPECT_EQ(RunThere(list, 80), Shown(bold, 0));
    ExpectAnswer(list, plain);
    ExpectAnswer({"accounts", "master", "--color", "always"}, bold);
    EXPECT_EQ(RunThere({"accounts", "master", "--color", "never"}, 80), Shown(plain, 0));
    ASSERT_EQ(setenv("NO_COLOR", "1", 1), 0);
    EXPECT_EQ(RunThere(list, 80), Shown(plain, 0));
    EXPECT_EQ(RunThere({"accounts", "master", "--color", "always"}, 80), Shown(bold, 0));
    ASSERT_EQ(setenv("NO_COLOR", "", 1), 0);
    EXPECT_EQ(RunThere(list, 80), Shown(bold, 0));
    ASSERT_EQ(setenv("TERM", "dumb", 1), 0);
    EXPECT_EQ(RunThere(list, 80), Shown(plain, 0));
}

}  // namespace
