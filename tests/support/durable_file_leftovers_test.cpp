#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/fixture/child_process.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/file_kinds.h"
#include "tests/support/durable_file_fixture.h"

namespace {

TEST_F(DurableFileTest, ATemporaryNameThatIsTakenIsNotUsed) {
    WriteFile(m_path, "old");
    {
        const FailingCall taken(Call::kOpenat, EEXIST, 1, 99);
        Replace();
    }
    EXPECT_EQ(ReadFile(m_path), "new");
    {
        const FailingCall taken(Call::kOpenat, EEXIST, 1, 100);
        EXPECT_EQ(FailureToReplace(), m_path + ": create temporary file: " + ErrorText(EEXIST));
    }
    EXPECT_EQ(ReadFile(m_path), "new");
}

TEST_F(DurableFileTest, AFileThatHasTheTemporaryNameIsNotWritten) {
    const FixedClock clock(1000000000, 7);  // the names follow from it
    WriteFile(m_path, "old");
    std::string temporary;
    {
        const CallWatch watch(Call::kFstat, [&](int) {
            temporary = TemporaryFile();
            return 0;
        });
        Replace();
    }
    WriteFile(m_folder.File("other"), "somebody's");
    ASSERT_EQ(link(m_folder.File("other").c_str(), temporary.c_str()), 0);
    const CallWatch creations(Call::kOpenat);
    Replace({"newer"});
    EXPECT_EQ(creations.Count(), 2) << "the name is another one";
    EXPECT_EQ(ReadFile(m_path), "newer");
    EXPECT_EQ(ReadFile(m_folder.File("other")), "somebody's");
}

TEST_F(DurableFileTest, LeftoversOfKilledProcessesAreRemovedAndNothingElse) {
    const std::vector<std::string> leftovers = {".rc.conf.~aB3d9", ".rc.conf.~aaaaa",
                                                ".rc.conf.~00000"};
    const std::vector<std::string> others = {
        ".other.~aB3d9",    ".rc.conf",         ".rc.conf.",        ".rc.conf.202411",
        ".rc.conf.aB3d9Z",  ".rc.conf.backup",  ".rc.conf.~",       ".rc.conf.~aB-d9",
        ".rc.conf.~aB3d",   ".rc.conf.~aB3d9Z", ".rc.conf.~~aB3d9", ".rc.conf.~aB3d\xe9",
        ".rc.confX~aB3d9",  ".rd.conf.~aB3d9",  "Xrc.conf.~aB3d9",  "rc.conf.~aB3d9",
        ".rc.conf.~aB3d9~",
    };
    for (const std::vector<std::string>& names : {leftovers, others}) {
        for (const std::string& name : names) {
            WriteFile(m_folder.File(name), name);
        }
    }
    std::filesystem::create_directory(m_folder.File(".rc.conf.~fOlDe"));
    std::filesystem::create_symlink("rc.conf.~aB3d9", m_folder.File(".rc.conf.~lInKs"));
    WriteFile(m_path, "old");
    Replace();
    std::vector<std::string> expected = others;
    expected.insert(expected.end(), {"rc.conf", ".rc.conf.~fOlDe"});
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(EntriesOf(m_folder.Path()), expected);
    for (const std::string& name : others) {
        EXPECT_EQ(ReadFile(m_folder.File(name)), name);
    }
}

TEST_F(DurableFileTest, LeftoversAreFoundAmongManyFiles) {
    WriteFile(m_path, "old");
    std::vector<std::string> expected = m_fileAlone;
    for (int i = 100; i < 400; ++i) {
        const std::string number = std::to_string(i);
        WriteFile(m_folder.File(".rc.conf.~ab" + number), "left by a killed process");
        expected.push_back("rc.conf." + std::string(100, 'x') + number);
        WriteFile(m_folder.File(expected.back()), "");
    }
    Replace();
    EXPECT_EQ(EntriesOf(m_folder.Path()), expected);
}

TEST_F(DurableFileTest, WhatCannotBeSweptStaysAndFailsNoSave) {
    const std::string leftover = m_folder.File(".rc.conf.~B3dE6");
    WriteFile(leftover, "left by a killed process");
    WriteFile(m_path, "old");
    for (const Call call : {Call::kFdopendir, Call::kReaddir, Call::kUnlinkat}) {
        {
            const FailingCall failing(call, EIO);
            EXPECT_EQ(FailureToReplace(), "no failure");
            EXPECT_EQ(failing.Count(), 1);
        }
        EXPECT_EQ(ReadFile(leftover), "left by a killed process");
        EXPECT_TRUE(FilesOpenIn(m_folder.Path()).empty());
    }
    Replace();
    EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
}

TEST_F(DurableFileTest, AProcessThatIsKilledLeavesTheOldFileAndTheNextSaveSweeps) {
    for (const Call call : {Call::kFstat, Call::kWritev, Call::kFsync, Call::kRenameat}) {
        WriteFile(m_path, "old");
        ChildProcess child([&] {
            const CallWatch killing(call, [](int) { return raise(SIGKILL); });
            Replace({"never"});
        });
        EXPECT_EQ(child.Wait(), 128 + SIGKILL);
        EXPECT_EQ(ReadFile(m_path), "old");
        (void)TemporaryFile();
        Replace();
        EXPECT_EQ(ReadFile(m_path), "new");
        EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
    }
}

}  // namespace
