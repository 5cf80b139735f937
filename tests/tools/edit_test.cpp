#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/fixture/own_lock.h"
#include "tests/tools/tool_fixture.h"

namespace {

/// "edit", with a shell script as the editor: it finds the copy in "$1".
class Edit : public ToolTest {
  protected:
    Edit() {
        (void)unsetenv("VISUAL");
        (void)mkdir(Copies().c_str(), 0777);
        (void)setenv("TMPDIR", Copies().c_str(), 1);
        WriteDatabase(kTwoTrunks);
    }

    ~Edit() override { (void)unsetenv("TMPDIR"); }

    void EditWith(const std::string& script) const {
        const std::string file = Folder() + "/editor";
        WriteFile(file, "#!/bin/sh\n" + script + "\n");
        (void)chmod(file.c_str(), 0755);
        (void)setenv("EDITOR", file.c_str(), 1);
    }

    std::string Copies() const { return Folder() + "/copies"; }

    /// Returns the text of the only copy that was kept, and expects that its path is told.
    std::string KeptText(const std::string& told) const {
        const std::vector<std::string> folders = EntriesOf(Copies());
        EXPECT_EQ(folders.size(), 1U);
        if (folders.empty()) {
            return "";
        }
        const std::string path = Copies() + "/" + folders.front() + "/siptrunkdb";
        EXPECT_NE(told.find("your text is kept in " + path), std::string::npos) << told;
        return ReadFile(path);
    }

    static std::string Edited() {
        std::string text = kTwoTrunks;
        return text.replace(text.find("5060"), 4, "5061");
    }
};

const char* const kMalform = "sed -i 's/^master_port=5060/oops/' \"$1\"";

TEST_F(Edit, AnUnchangedTextIsNotStored) {
    EditWith(":");
    struct stat before {};
    ASSERT_EQ(stat(DatabasePath().c_str(), &before), 0);
    ExpectAnswer({"edit"}, "nothing was changed\n");
    struct stat after {};
    ASSERT_EQ(stat(DatabasePath().c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_TRUE(EntriesOf(Copies()).empty());
}

TEST_F(Edit, AGoodTextIsStoredAsItIs) {
    EditWith("sed -i s/5060/5061/ \"$1\"");
    ExpectAnswer({"edit"},
                 "changed trunk \"office\": master_port \"5060\" -> \"5061\"\n"
                 "stored the database\n");
    EXPECT_EQ(DatabaseText(), Edited());
    EXPECT_TRUE(EntriesOf(Copies()).empty());
}

TEST_F(Edit, TheEditorMayHaveOptionsAndVisualComesFirst) {
    ASSERT_EQ(setenv("EDITOR", "false", 1), 0);
    ASSERT_EQ(setenv("VISUAL", "sed -i -e s/5060/5061/", 1), 0);
    Do({"edit"});
    EXPECT_EQ(DatabaseText(), Edited());
}

TEST_F(Edit, ADatabaseThatIsMalformedCanBeMended) {
    WriteDatabase(std::string("oops\n") + kTwoTrunks);
    EditWith("sed -i 1d \"$1\"");
    ExpectAnswer({"edit"}, "stored the database\n");
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(Edit, AMalformedTextIsOfferedAgain) {
    EditWith(
        "if [ -e \"$0.again\" ]; then sed -i s/^oops/master_port=5061/ \"$1\"; else touch "
        "\"$0.again\"; " +
        std::string(kMalform) + "; fi");
    const Answer answer = Run({"edit"}, "e\n");
    EXPECT_EQ(answer.code, 0);
    EXPECT_EQ(answer.err,
              "siptrunkctl: line 13: entry without \"=\"\n"
              "(e)dit again, (q)uit and keep the text, (d)iscard it? ");
    EXPECT_EQ(DatabaseText(), Edited());
}

TEST_F(Edit, AMalformedTextIsKeptOnRequestAndWithoutAnAnswer) {
    EditWith(kMalform);
    for (const char* input : {"q\n", "", "x\nq\n", "s\nq\n"}) {
        const Answer answer = Run({"edit"}, input);
        EXPECT_EQ(answer.code, 5);
        EXPECT_EQ(answer.out, "");
        EXPECT_NE(KeptText(answer.err).find("\noops\n"), std::string::npos);
        EXPECT_EQ(DatabaseText(), kTwoTrunks);
        ASSERT_EQ(system(("rm -r " + Copies() + "/*").c_str()), 0);
    }
}

TEST_F(Edit, ATextThatIsTooLongIsKept) {
    EditWith("truncate -s 33554433 \"$1\"");
    const Answer answer = Run({"edit"});
    EXPECT_EQ(answer.code, 1);
    EXPECT_NE(answer.err.find("it has more than 33554432 bytes"), std::string::npos);
    EXPECT_EQ(KeptText(answer.err).size(), 33554433U);
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(Edit, AMalformedTextIsDiscardedOnRequest) {
    EditWith(kMalform);
    const Answer answer = Run({"edit"}, "d\n");
    EXPECT_EQ(answer.code, 0);
    EXPECT_EQ(answer.out, "nothing was changed\n");
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
    EXPECT_TRUE(EntriesOf(Copies()).empty());
}

TEST_F(Edit, AProblemThatIsNewMayBeStoredAllTheSame) {
    EditWith("sed -i s/5060/sip/ \"$1\"");
    const Answer answer = Run({"edit"}, "s\n");
    EXPECT_EQ(answer.code, 0);
    EXPECT_EQ(answer.err,
              "siptrunkctl: line 13: master_port \"sip\" is not a port (1 to 65535)\n"
              "(e)dit again, (s)tore all the same, (q)uit and keep the text, (d)iscard it? ");
    EditWith("sed -i s/1001/1002/ \"$1\"");
    ExpectAnswer({"edit", "-q"}, "");  // the old problem is nothing new
    ExpectAnswer({"get", "office", "user"}, "1002\n");
}

TEST_F(Edit, AnotherOnesChangeIsNotLost) {
    EditWith("sed -i s/5060/5061/ \"$1\"; sed -i s/alpha/gamma/ '" + DatabasePath() + "'");
    std::string others = kTwoTrunks;
    others.replace(others.find("alpha"), 5, "gamma");
    const Answer answer = Run({"edit"});
    EXPECT_EQ(answer.code, 1);
    EXPECT_EQ(DatabaseText(), others);
    EXPECT_EQ(KeptText(answer.err), Edited());
    const std::string told =
        "siptrunkctl: somebody else has changed the database meanwhile:\n"
        "  changed trunk \"office\": password (hidden) -> (hidden)\n"
        "siptrunkctl: " +
        DatabasePath() + ": it was changed meanwhile; nothing was stored, and ";
    EXPECT_EQ(answer.err.substr(0, told.size()), told);
}

TEST_F(Edit, ATextThatCannotBeStoredIsKept) {
    EditWith("sed -i s/5060/5061/ \"$1\"; mv '" + DatabasePath() + "' \"$0.moved\"");
    const Answer answer = Run({"edit"});
    EXPECT_EQ(answer.code, 1);
    EXPECT_NE(answer.err.find(DatabasePath() + ": open: No such file"), std::string::npos)
        << answer.err;
    EXPECT_EQ(KeptText(answer.err), Edited());
}

TEST_F(Edit, ATextIsKeptWhenTheLockIsNotFreeInTime) {
    if (!HasOwnLock()) {
        GTEST_SKIP() << "a test may not have a lock of its own here";
    }
    EditWith("sed -i s/5060/5061/ \"$1\"");
    const std::unique_ptr<ChildProcess> holder = StartStoppedHolder();
    const Answer answer = Run({"edit", "--wait", "0.05"});
    EXPECT_EQ(answer.code, 1);
    EXPECT_NE(answer.err.find("the device's lock is still held"), std::string::npos) << answer.err;
    EXPECT_EQ(KeptText(answer.err), Edited());
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(Edit, AnEditorThatFailsStoresNothing) {
    EditWith("exit 3");
    const std::string editor = "editor \"" + Folder() + "/editor\": ";
    ExpectFailure({"edit"}, 1, editor + "exit code 3; nothing was stored");
    EXPECT_TRUE(EntriesOf(Copies()).empty());
    EditWith("sed -i s/5060/5061/ \"$1\"; kill -9 $$");
    const Answer answer = Run({"edit"});
    EXPECT_EQ(answer.code, 1);
    EXPECT_NE(answer.err.find(editor + "exit code 137; nothing was stored\n"), std::string::npos)
        << answer.err;
    EXPECT_EQ(KeptText(answer.err), Edited());
    EXPECT_EQ(DatabaseText(), kTwoTrunks);
}

TEST_F(Edit, AnEditorThatIsNotThereIsToldWithItsCure) {
    ASSERT_EQ(setenv("EDITOR", "/nowhere/editor", 1), 0);
    const Answer answer = Run({"edit"});
    EXPECT_EQ(answer.code, 1);
    EXPECT_NE(answer.err.find("siptrunkctl: editor \"/nowhere/editor\": exit code 127; nothing was "
                              "stored; set VISUAL or EDITOR\n"),
              std::string::npos)
        << answer.err;
}

TEST_F(Edit, NobodyElseCanReadTheCopy) {
    EditWith(
        "stat -c %a \"$1\" \"$(dirname \"$1\")\" >\"$0.seen\"; umask >>\"$0.seen\"; "
        "ls -A \"$(dirname \"$1\")\" >>\"$0.seen\"; touch \"$1~\"");
    const mode_t before = umask(0);
    Do({"edit"});
    (void)umask(before);
    EXPECT_EQ(ReadFile(Folder() + "/editor.seen"), "600\n700\n0077\nsiptrunkdb\n");
    EXPECT_TRUE(EntriesOf(Copies()).empty());  // nor what the editor leaves
}

TEST_F(Edit, ThereMustBeADatabase) {
    ASSERT_EQ(unlink(DatabasePath().c_str()), 0);
    EditWith(":");
    ExpectFailure({"edit"}, 1,
                  DatabasePath() +
                      ": open: No such file or directory; \"agents set\" or \"add\" makes it, and "
                      "-C names another directory");
}

}  // namespace
