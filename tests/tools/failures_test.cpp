#include <fcntl.h>
#include <sys/mount.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>

#include "include/raiklaik.h"
#include "tests/fixture/child_process.h"
#include "tests/fixture/own_lock.h"
#include "tests/tools/tool_fixture.h"

namespace {

/// What goes wrong, each with the whole text on the standard error and the exit code.
class Failures : public ToolTest {
  protected:
    /// Runs expectations as a user who owns nothing here; skips the test where the tool cannot be
    /// run by such a user.
    void AsOrdinaryUser(const std::function<void()>& work) {
        OpenStreamsToEverybody();
        const int code = RunAsOrdinaryUser([&] {
            if (access(SIPTRUNKCTL_PATH, X_OK) != 0) {
                _exit(ChildProcess::kNotPermitted);
            }
            work();
        });
        ExpectSuccess(code);
    }

    /// Returns how many processes wait for the device's lock.
    static int Waiting() { return semctl(semget(kLockKey, 0, 0), 0, GETZCNT); }

    std::string DatabaseFolder() const { return Folder() + "/telephony"; }

  private:
    static constexpr key_t kLockKey = static_cast<key_t>(0xef7b2cd0);
};

TEST_F(Failures, AWrongCommandLineIsWrongUse) {
    const std::string more = "; \"siptrunkctl --help\" tells more";
    ExpectFailure({"lst"}, 2, "no command \"lst\"; did you mean \"list\"?");
    ExpectFailure({"frobnicate"}, 2, "no command \"frobnicate\"" + more);
    ExpectFailure({"slave"}, 2,
                  "a command is required: list, register, refresh, move, unregister; "
                  "\"siptrunkctl slave --help\" tells more");
    ExpectFailure({"accounts"}, 2,
                  "a command is required: master, slave; "
                  "\"siptrunkctl accounts --help\" tells more");
    ExpectFailure({"slave", "lst"}, 2, "no command \"slave lst\"; did you mean \"list\"?");
    ExpectFailure({"slaves", "list"}, 2, "no command \"slaves\"; did you mean \"slave\"?");
    ExpectFailure({"agents", "sett"}, 2, "no command \"agents sett\"; did you mean \"set\"?");
    ExpectFailure({"agents", "master=on"}, 2,
                  "no command \"agents master=on\"; did you mean \"set\"?");
    ExpectFailure({"unreg"}, 2, "no command \"unreg\"; did you mean \"unregister-all\"?");
    ExpectFailure({"help", "lst"}, 2, "no command \"lst\"; did you mean \"list\"?");
    ExpectFailure({"help", "list", "x"}, 2,
                  "no command \"list x\"; \"siptrunkctl list --help\" tells more");
    ExpectFailure({"show"}, 2, "NAME is required; \"siptrunkctl show --help\" tells more");
    ExpectFailure({"rename", "a"}, 2, "NEW is required; \"siptrunkctl rename --help\" tells more");
    ExpectFailure({"add", "a"}, 2, "SETTING is required; \"siptrunkctl add --help\" tells more");
    ExpectFailure({"slave", "move", "1", "a"}, 2,
                  "PORT is required; \"siptrunkctl slave move --help\" tells more");
    ExpectFailure({"show", "Head", "office"}, 2,
                  "unexpected argument \"office\"; a name with blanks goes in quotation marks");
    ExpectFailure({"slave", "list", "x"}, 2,
                  "unexpected argument \"x\"; \"siptrunkctl slave list --help\" tells more");
}

TEST_F(Failures, TheWordsOfOtherToolsAreUnderstood) {
    for (const char* word : {"remove", "rm", "del"}) {
        ExpectFailure({word, "x"}, 2,
                      std::string("no command \"") + word + "\"; did you mean \"delete\"?");
    }
    ExpectFailure({"ls"}, 2, "no command \"ls\"; did you mean \"list\"?");
    ExpectFailure({"mv", "a", "b"}, 2, "no command \"mv\"; did you mean \"rename\"?");
    ExpectFailure({"set", "a", "port=1"}, 2, "no command \"set\"; did you mean \"modify\"?");
}

TEST_F(Failures, AWrongOptionIsWrongUse) {
    const std::string more = "; \"siptrunkctl list --help\" tells more";
    ExpectFailure({"list", "--bogus"}, 2, "no option \"--bogus\"" + more);
    ExpectFailure({"-V"}, 2, "no option \"-V\"; \"siptrunkctl --help\" tells more");
    ExpectFailure({"show", "a", "--type", "all"}, 2,
                  "no option \"--type\"; \"siptrunkctl show --help\" tells more");
    ExpectFailure({"--jsno", "list"}, 2, "no option \"--jsno\"; did you mean \"--json\"?");
    ExpectFailure({"list", "--typ=all"}, 2, "no option \"--typ=all\"; did you mean \"--type\"?");
    ExpectFailure({"show", "-odd"}, 2,
                  "no option \"-odd\"; a name that begins with a dash goes after \"--\"");
    ExpectFailure({"list", "--type"}, 2,
                  "--type: 1 required TEXT:{master,slave,all} missing" + more);
    ExpectFailure({"list", "--type", "phone"}, 2, "--type: phone not in {master,slave,all}" + more);
    ExpectFailure(
        {"list", "--fields", "name,x"}, 2,
        "--fields: x not in {name,type,user,ip,port,sym_nat,since,since_iso,note}" + more);
    ExpectFailure({"list", "--fields", "name", "--names"}, 2, "--names excludes --fields" + more);
    ExpectFailure({"list", "--color", "red"}, 2, "--color: red not in {auto,always,never}" + more);
    ExpectFailure({"list", "-C", ""}, 2, "--config-dir: it is empty" + more);
    ExpectFailure({"list", "--wait", "soon"}, 2,
                  "--wait: \"soon\" is not a number of seconds" + more);
    ExpectFailure({"list", "--wait", "-1"}, 2, "--wait: \"-1\" is not a number of seconds" + more);
    ExpectFailure({"add", "a", "type=slave", "user=1", "--password-file", "x", "--ask-password"}, 2,
                  "--password-file excludes --ask-password; \"siptrunkctl add --help\" tells more");
}

TEST_F(Failures, AnOptionGivenTwiceHasItsLastValue) {
    WriteDatabase(kTwoTrunks);
    ExpectAnswer({"-C", "/nowhere", "list", "-C", Folder(), "--type", "slave", "--names", "--type",
                  "master", "--names"},
                 "office\n");
}

TEST_F(Failures, APasswordIsNeededFromSomewhere) {
    WriteDatabase(kTwoTrunks);
    const Words add = {"add", "new", "type=slave", "user=3"};
    ExpectFailure(add, 2,
                  "a password is needed, and there is no terminal to ask at; use --password-file "
                  "FILE, or - for the standard input");
    const auto expect = [&](const std::string& file, int code, const std::string& text,
                            std::string_view input = "") {
        Words words = add;
        words.insert(words.end(), {"--password-file", file});
        ExpectFailure(words, code, text, input);
    };
    expect(Folder() + "/none", 1, Folder() + "/none: open: No such file or directory");
    expect(Folder(), 1, Folder() + ": read: Is a directory");
    expect("-", 2, "password: it holds a line feed, which the database cannot store", "a\nb\n");
    expect("-", 2, "password: it has 1024 bytes; at most 1023 can be read back",
           std::string(1024, 'p'));
    expect("-", 1, "standard input: it has more than 4092 bytes", std::string(100000, 'p'));
    expect("-", 2, "password: it holds a NUL byte, which the database cannot store",
           std::string_view("a\0b", 3));
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(Failures, AMissingDatabaseIsToldWithItsCure) {
    const std::string cause = DatabasePath() + ": open: No such file or directory; ";
    ExpectFailure({"list"}, 1,
                  cause + "\"agents set\" or \"add\" makes it, and -C names another directory");
    ExpectFailure({"check", "a"}, 1,
                  cause + "\"agents set\" or \"add\" makes it, and -C names another directory");
    ASSERT_EQ(rmdir(DatabaseFolder().c_str()), 0);
    ExpectFailure({"list"}, 1,
                  cause + "make its folder (mkdir -p " + DatabaseFolder() +
                      "), or name another directory with -C");
    ExpectFailure({"agents", "set", "master=on"}, 1,
                  cause + "make its folder (mkdir -p " + DatabaseFolder() +
                      "), or name another directory with -C");
}

TEST_F(Failures, AMalformedDatabaseIsToldWithItsLine) {
    const std::string text = "section {\ntrunk_name=a\n}\noops\n";
    WriteDatabase(text);
    for (const Words& words :
         {Words{"list"}, Words{"show", "a"},
          Words{"add", "b", "type=slave", "user=1", "--password-file", "/dev/null"},
          Words{"modify", "a", "user=1"}, Words{"delete", "a"}, Words{"check", "a"},
          Words{"status"}, Words{"activate", "a"}, Words{"unregister-all"}, Words{"params", "a"},
          Words{"slave", "list"}, Words{"slave", "register", "1", "a", "1"},
          Words{"get", "a", "port"}, Words{"accounts", "master"},
          Words{"accounts", "slave", "--yes"}, Words{"agents"},
          Words{"agents", "set", "master=on", "slave=on"}, Words{"export"}, Words{"watch"}}) {
        ExpectFailure(
            words, 5,
            DatabasePath() +
                ":4: text outside a section; \"siptrunkctl validate\" lists every problem");
    }
    EXPECT_EQ(DatabaseText(), text);
}

TEST_F(Failures, AFolderInThePlaceOfTheDatabaseIsToldByName) {
    ASSERT_EQ(mkdir(DatabasePath().c_str(), 0755), 0);
    ExpectFailure({"list"}, 1, DatabasePath() + ": open: Is a directory");
}

TEST_F(Failures, AnUnreadableFolderIsNotPermitted) {
    WriteDatabase(kTwoTrunks);
    ASSERT_EQ(chmod(DatabaseFolder().c_str(), 0), 0);
    AsOrdinaryUser([&] {
        const std::string cause =
            DatabasePath() + ": open: Permission denied; run this as root or as the file's owner";
        ExpectFailure({"list"}, 6, cause);
        ExpectFailure({"export"}, 6, cause);
        ExpectFailure({"check", "new"}, 6, cause);
        ExpectFailure({"add", "a", "type=slave", "user=1", "--password-file", "/dev/null"}, 6,
                      cause);
    });
    ASSERT_EQ(chmod(DatabaseFolder().c_str(), 0755), 0);
}

TEST_F(Failures, AFolderThatMayOnlyBeReadIsNotPermittedToChange) {
    WriteDatabase(kTwoTrunks);
    ASSERT_EQ(chmod(DatabasePath().c_str(), 0644), 0);
    ASSERT_EQ(chmod(DatabaseFolder().c_str(), 0555), 0);
    AsOrdinaryUser([&] {
        ExpectFailure({"delete", "office"}, 6,
                      DatabasePath() +
                          ": create temporary file: Permission denied; run this as root or as the "
                          "file's owner");
        ExpectAnswer({"list", "--names"}, "office\nbranch\n");
    });
    ASSERT_EQ(chmod(DatabaseFolder().c_str(), 0755), 0);
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(Failures, ADatabaseOfAnotherOwnerIsNotPermittedToChange) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file to somebody else";
    }
    WriteDatabase(kTwoTrunks);
    ASSERT_EQ(chmod(DatabasePath().c_str(), 0644), 0);
    ASSERT_EQ(chmod(DatabaseFolder().c_str(), 0777), 0);
    AsOrdinaryUser([&] {
        ExpectFailure(
            {"delete", "office"}, 6,
            DatabasePath() +
                ": keep owner and group (save as that user or as root): Operation not permitted; "
                "run this as root or as the file's owner");
    });
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(Failures, APathCannotPlayWithTheTerminal) {
    ExpectFailure({"validate", "/\x1b[2J"}, 1, "/\\x1b[2J: open: No such file or directory");
}

TEST_F(Failures, AReadOnlyFileSystemIsNotPermitted) {
    ExpectSuccess(RunWithOwnMounts([&] {
        MountSmallFileSystem(DatabaseFolder(), 65536);
        WriteDatabase(kTwoTrunks);
        ASSERT_EQ(
            mount(nullptr, DatabaseFolder().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
        ExpectFailure({"delete", "office"}, 6,
                      DatabasePath() +
                          ": create temporary file: Read-only file system; mount the file system "
                          "writable");
    }));
}

TEST_F(Failures, AFullDiskIsToldWithItsCure) {
    ExpectSuccess(RunWithOwnMounts([&] {
        MountSmallFileSystem(DatabaseFolder(), 65536);
        WriteDatabase(kTwoTrunks);
        const int rest = open((DatabaseFolder() + "/rest").c_str(), O_WRONLY | O_CREAT, 0600);
        const std::string block(4096, 'x');
        while (write(rest, block.data(), block.size()) > 0) {
        }
        (void)close(rest);
        ExpectFailure(
            {"delete", "office"}, 1,
            DatabasePath() + ": write: No space left on device; make room on that file system");
        EXPECT_EQ(DatabaseText(), kTwoTrunks);
    }));
}

TEST_F(Failures, AStandardOutputThatTakesNothingIsToldOf) {
    WriteDatabase(kTwoTrunks);
    const std::string errors = Folder() + "/errors";
    EXPECT_EQ(
        WaitForEnd(Start({SIPTRUNKCTL_PATH, "-C", Folder(), "list"}, "", "/dev/full", errors)), 1);
    const std::string full = "siptrunkctl: standard output: write: No space left on device\n";
    EXPECT_EQ(ReadFile(errors), full);
    EXPECT_EQ(WaitForEnd(Start({SIPTRUNKCTL_PATH, "--help"}, "", "/dev/full", errors)), 1);
    EXPECT_EQ(ReadFile(errors), full);
}

TEST_F(Failures, AClosedStreamIsNotTakenForAFile) {
    WriteDatabase(kTwoTrunks);
    const std::string errors = Folder() + "/errors";
    const std::string log = Folder() + "/log";
    const auto run = [&](const std::string& command) {
        return WaitForEnd(Start({"/bin/sh", "-c", "exec \"$0\" -C \"$1\" --log \"$2\" " + command,
                                 SIPTRUNKCTL_PATH, Folder(), log},
                                "", "", errors));
    };
    EXPECT_EQ(run("agents >&-"), 1);
    EXPECT_EQ(ReadFile(errors), "siptrunkctl: standard output: write: Bad file descriptor\n");
    EXPECT_EQ(ReadFile(log).substr(14), "INFO:SIP Trunk: Get agent states from siptrunkdb...\n");
    EXPECT_EQ(run("import - <&-"), 1);
    EXPECT_EQ(ReadFile(errors), "siptrunkctl: standard input: read: Bad file descriptor\n");
    EXPECT_EQ(run("show nobody >&- 2>&-"), 3);
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(Failures, ALockHeldByAStoppedProcessIsWaitedForAsLongAsWanted) {
    if (!HasOwnLock()) {
        GTEST_SKIP() << "a test may not have a lock of its own here";
    }
    WriteDatabase(kTwoTrunks);
    const std::string exported = Run({"export", "--show-secrets"}).out;
    const std::string exportedFile = Folder() + "/exported";
    WriteFile(exportedFile, exported);
    const std::unique_ptr<ChildProcess> holder = StartStoppedHolder();
    const std::string cause = "the device's lock is still held by process " +
                              ReadFile(Folder() + "/holder") +
                              " after the time of --wait; let it go on, or end it";
    ExpectFailure({"delete", "office", "--wait", "0.05"}, 1, cause);
    ExpectFailure({"show", "office", "--wait", "0"}, 1, cause);
    ExpectFailure({"import", "-", "--replace", "--wait", "0.05"}, 1, cause, exported);
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
    ExpectAnswer({"validate", "-q"}, "");  // needs no lock, as does a list
    ExpectAnswer({"list", "--names"}, "office\nbranch\n");
    const Words import = {SIPTRUNKCTL_PATH, "-C", Folder(), "import", exportedFile, "--replace"};
    const pid_t waiting = Start(import, "", "", "");
    EXPECT_TRUE(WaitUntil([&] { return Waiting() == 1; }));
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
    holder->Kill();
    EXPECT_EQ(WaitForEnd(waiting), 0);
    EXPECT_NE(DatabaseText(), kTwoTrunks);  // the comment stands elsewhere
    ExpectAnswer({"delete", "office", "--wait", "60"},
                 "deleted trunk \"office\"; its registration was switched on\n");
}

TEST_F(Failures, ACommandThatWasStoppedStillGivesUp) {
    if (!HasOwnLock()) {
        GTEST_SKIP() << "a test may not have a lock of its own here";
    }
    WriteDatabase(kTwoTrunks);
    const std::unique_ptr<ChildProcess> holder = StartStoppedHolder();
    const pid_t waiting =
        Start({SIPTRUNKCTL_PATH, "-C", Folder(), "delete", "office", "--wait", "0.5"}, "", "", "");
    const auto hasEnded = [&](int peek) {
        siginfo_t end{};
        return waitid(P_PID, static_cast<id_t>(waiting), &end, WEXITED | WNOHANG | peek) == 0 &&
               end.si_pid == waiting;
    };
    EXPECT_TRUE(WaitUntil([&] { return Waiting() == 1 || hasEnded(WNOWAIT); }));
    (void)kill(waiting, SIGSTOP);
    siginfo_t stop{};
    (void)waitid(P_PID, static_cast<id_t>(waiting), &stop, WSTOPPED | WEXITED | WNOWAIT);
    (void)kill(waiting, SIGCONT);
    EXPECT_TRUE(WaitUntil([&] { return hasEnded(WNOWAIT); }));
    holder->Kill();
    EXPECT_EQ(WaitForEnd(waiting), 1);
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(Failures, TheLogHasTheLibrarysLines) {
    WriteDatabase(kTwoTrunks);
    const std::string log = Folder() + "/log";
    Do({"activate", "office", "--log", log});
    Do({"deactivate", "office", "--log", log});
    WriteDatabase("x\n");
    ExpectFailure({"show", "office", "--log", log}, 5,
                  DatabasePath() +
                      ":1: text outside a section; \"siptrunkctl validate\" lists every problem");
    const std::string text = ReadFile(log);
    const std::string first = "INFO:SIP Trunk: Set active state trunk to master : office\n";
    const std::string second = "INFO:SIP Trunk: Set Trunk To Master : office  InActive State...\n";
    const std::string third = "ERROR: " + DatabasePath() + ":1: text outside a section \n";
    ASSERT_EQ(text.size(), 3 * 14 + first.size() + second.size() + third.size()) << text;
    EXPECT_EQ(text.substr(14, first.size()), first);
    EXPECT_EQ(text.substr(28 + first.size(), second.size()), second);
    EXPECT_EQ(text.substr(text.size() - third.size()), third);
    ExpectFailure({"show", "office", "--log", Folder() + "/none/log"}, 1,
                  Folder() + "/none/log: open log: No such file or directory");
}

TEST_F(Failures, TheLogHasEachLineOnce) {
    WriteDatabase(kTwoTrunks);
    const std::string log = Folder() + "/log";
    Do({"agents", "set", "slave=on", "--log", log});  // reads, then writes
    const std::string first = "INFO:SIP Trunk: Get agent states from siptrunkdb...\n";
    const std::string second = "INFO:SIP Trunk: Set agent states to siptrunkdb...\n";
    const std::string text = ReadFile(log);
    ASSERT_EQ(text.size(), 2 * 14 + first.size() + second.size()) << text;
    EXPECT_EQ(text.substr(14, first.size()), first);
    EXPECT_EQ(text.substr(28 + first.size()), second);
}

TEST_F(Failures, TheDirectoryComesFromTheOptionOrTheEnvironment) {
    WriteDatabase(kTwoTrunks);
    ASSERT_EQ(setenv("QORV_PATH", (Folder() + "/").c_str(), 1), 0);
    EXPECT_EQ(RunBare({"list", "--names"}).out, "office\nbranch\n");
    ASSERT_EQ(setenv("QORV_PATH", "/nowhere/", 1), 0);
    EXPECT_EQ(
        RunBare({"list"}).err,
        "siptrunkctl: /nowhere/telephony/siptrunkdb: open: No such file or directory; make its "
        "folder (mkdir -p /nowhere/telephony), or name another directory with -C\n");
    EXPECT_EQ(RunBare({"list", "--names", "-C", Folder() + "/"}).out, "office\nbranch\n");
    ASSERT_EQ(setenv("QORV_PATH", Folder().c_str(), 1), 0);
    EXPECT_EQ(RunBare({"list"}).err, "siptrunkctl: " + Folder() +
                                         "telephony/siptrunkdb: open: No such file or directory; "
                                         "QORV_PATH must end in \"/\"\n");
    EXPECT_EQ(
        RunBare({"-C", DatabaseFolder(), "list"}).err,
        "siptrunkctl: " + DatabaseFolder() +
            "/telephony/siptrunkdb: open: No such file or directory; name the directory above "
            "that one with -C\n");
    EXPECT_EQ(RunBare({"-C", DatabasePath(), "list"}).err,
              "siptrunkctl: " + DatabasePath() +
                  "/telephony/siptrunkdb: open: Not a directory; a file stands for one of its "
                  "folders; -C names another directory\n");
    EXPECT_EQ(RunBare({"validate", "-C", Folder() + "/"}).out, DatabasePath() + ": no problems\n");
    EXPECT_EQ(RunBare({"list", "--names", "--config-dir=" + Folder()}).out, "office\nbranch\n");
}

TEST_F(Failures, HelpAndVersionAreNone) {
    EXPECT_EQ(RunBare({"--version"}).out, "siptrunkctl " RAIKLAIK_VERSION "\n");
    EXPECT_EQ(RunBare({"version"}).out, "siptrunkctl " RAIKLAIK_VERSION "\n");
    const Answer help = RunBare({"add", "--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_NE(help.out.find("\nUsage: siptrunkctl add [OPTIONS] NAME SETTING...\n"),
              std::string::npos)
        << help.out;
    EXPECT_NE(help.out.find("\n  -h,--help  "), std::string::npos);
    EXPECT_NE(help.out.find("\nExamples:\n  siptrunkctl add office "), std::string::npos);
    EXPECT_EQ(RunBare({"help", "add"}).out, help.out);
    EXPECT_EQ(RunBare({"help", "slave", "move"}).out, RunBare({"slave", "move", "--help"}).out);
    const std::string overview = RunBare({}).out;
    EXPECT_NE(overview.find("\nTrunks:\n  list  "), std::string::npos) << overview;
    EXPECT_EQ(RunBare({"--help"}).out, overview);
    EXPECT_EQ(RunBare({"help"}).out, overview);
    EXPECT_EQ(overview.find("__complete"), std::string::npos);
}

}  // namespace
