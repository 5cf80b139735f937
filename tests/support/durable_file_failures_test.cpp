#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "tests/fixture/child_process.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/file_kinds.h"
#include "tests/support/durable_file_fixture.h"

namespace {

TEST_F(DurableFileTest, EveryFailureBeforeTheRenameLeavesTheOldFileAndNothingElse) {
    const struct {
        Call call;
        int error;
        std::string step;
    } cases[] = {
        {Call::kOpen, EMFILE, "open folder"},
        {Call::kFstatat, EIO, "stat"},
        {Call::kOpenat, EROFS, "create temporary file"},
        {Call::kOpenat, ENOSPC, "create temporary file"},
        {Call::kFstat, EIO, "stat temporary file"},
        {Call::kWritev, ENOSPC, "write"},
        {Call::kWritev, EDQUOT, "write"},
        {Call::kFgetxattr, EIO, "read access list"},
        {Call::kFremovexattr, EIO, "keep access list"},
        {Call::kFchmod, EIO, "keep mode"},
        {Call::kFsync, EIO, "sync"},
        {Call::kFsync, EINVAL, "sync"},
        {Call::kClose, EIO, "close"},
        {Call::kRenameat, EROFS, "rename"},
        {Call::kRenameat, EBUSY, "rename (the file is a mount point: mount its folder)"},
        {Call::kRenameat, EXDEV, "rename (the file is a mount point: mount its folder)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.step);
        WriteFile(m_path, "old");
        ASSERT_EQ(chmod(m_path.c_str(), 0640), 0);
        const ino_t inode = InodeOf(m_path);
        std::string failure;
        {
            const FailingCall failing(c.call, c.error);
            failure = FailureToReplace();
        }
        EXPECT_EQ(failure, m_path + ": " + c.step + ": " + ErrorText(c.error));
        EXPECT_EQ(ReadFile(m_path), "old");
        EXPECT_EQ(InodeOf(m_path), inode);
        EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
        EXPECT_TRUE(FilesOpenIn(m_folder.Path()).empty());
    }
}

TEST_F(DurableFileTest, AWriteThatFailsHalfwayLeavesTheOldFile) {
    WriteFile(m_path, "old");
    {
        const ShortTransfers most(1);
        const FailingCall failing(Call::kWritev, ENOSPC, 3);
        EXPECT_EQ(FailureToReplace(), m_path + ": write: " + ErrorText(ENOSPC));
        EXPECT_EQ(failing.Count(), 3);
    }
    EXPECT_EQ(ReadFile(m_path), "old");
    EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
}

TEST_F(DurableFileTest, AFailedSyncIsNotTriedAgain) {
    WriteFile(m_path, "old");
    const FailingCall failing(Call::kFsync, EIO);
    EXPECT_EQ(FailureToReplace(), m_path + ": sync: " + ErrorText(EIO));
    EXPECT_EQ(failing.Count(), 1);
}

TEST_F(DurableFileTest, SignalsInterruptNoStep) {
    for (const Call call :
         {Call::kOpen, Call::kFstatat, Call::kOpenat, Call::kFstat, Call::kFgetxattr,
          Call::kFremovexattr, Call::kFchmod, Call::kWritev, Call::kFsync, Call::kRenameat}) {
        WriteFile(m_path, "old");
        ASSERT_EQ(chmod(m_path.c_str(), 0640), 0);
        {
            const FailingCall interrupted(call, EINTR, 1, 3);
            Replace();
            EXPECT_GE(interrupted.Count(), 4) << static_cast<int>(call);
        }
        EXPECT_EQ(ReadFile(m_path), "new");
        EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
    }
}

TEST_F(DurableFileTest, AnInterruptedCloseHasClosedAndIsNotMadeTwice) {
    WriteFile(m_path, "old");
    int usual = 0;
    {
        const CallWatch closing(Call::kClose);
        Replace();
        usual = closing.Count();
    }
    const FailingCall interrupted(Call::kClose, EINTR);
    Replace({"newer"});
    EXPECT_EQ(interrupted.Count(), usual);
    EXPECT_EQ(ReadFile(m_path), "newer");
}

TEST_F(DurableFileTest, ASyncOfTheFolderThatFailsIsReportedWithTheNewFileInPlace) {
    WriteFile(m_path, "old");
    {
        const FailingCall failing(Call::kFsync, EIO, 2);
        EXPECT_EQ(FailureToReplace(),
                  m_path + ": sync folder (the new file is in place; a power cut may undo it): " +
                      ErrorText(EIO));
        EXPECT_EQ(failing.Count(), 2);
    }
    EXPECT_EQ(ReadFile(m_path), "new");
    EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
    EXPECT_TRUE(FilesOpenIn(m_folder.Path()).empty());
}

TEST_F(DurableFileTest, AFileSystemWithoutASyncForFoldersIsNoFailure) {
    WriteFile(m_path, "old");
    for (const int error : {EINVAL, ENOSYS}) {
        const FailingCall failing(Call::kFsync, error, 2);
        EXPECT_EQ(FailureToReplace(), "no failure");
        EXPECT_EQ(failing.Count(), 2);
    }
    EXPECT_EQ(ReadFile(m_path), "new");
}

TEST_F(DurableFileTest, AFullFileSystemFailsTheSaveAndKeepsTheOldFile) {
    ExpectSuccess(RunWithOwnMounts([&] {
        MountSmallFileSystem(m_folder.Path(), 64 * 1024);
        WriteFile(m_path, "old");
        const std::string tooLarge(1000000, 'x');
        EXPECT_EQ(FailureOf([&] { Replace({tooLarge}); }),
                  m_path + ": write: " + ErrorText(ENOSPC));
        EXPECT_EQ(ReadFile(m_path), "old");
        EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
        Replace();
        EXPECT_EQ(ReadFile(m_path), "new");
    }));
}

TEST_F(DurableFileTest, AFileThatIsAMountPointFailsTheSaveWithTheCure) {
    ExpectSuccess(RunWithOwnMounts([&] {
        WriteFile(m_path, "below");
        WriteFile(m_folder.File("mounted"), "old");
        BindMount(m_folder.File("mounted"), m_path);
        EXPECT_EQ(
            FailureToReplace(),
            m_path + ": rename (the file is a mount point: mount its folder): " + ErrorText(EBUSY));
        EXPECT_EQ(ReadFile(m_path), "old");
        EXPECT_EQ(EntriesOf(m_folder.Path()), (std::vector<std::string>{"mounted", "rc.conf"}));
    }));
}

}  // namespace
