#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "tests/fixture/child_process.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/file_kinds.h"
#include "tests/support/durable_file_fixture.h"

namespace {

TEST_F(DurableFileTest, TheModeIsKeptWhateverTheUmask) {
    for (const mode_t mask : {0U, 022U, 0777U}) {
        for (const mode_t mode : {0600U, 0640U, 0644U, 0444U, 0400U, 0666U, 0000U}) {
            WriteFile(m_path, "old");
            support::FileIdentity loaded = IdentityOf(m_path);  // while it may be read
            ASSERT_EQ(chmod(m_path.c_str(), mode), 0);
            const mode_t old = umask(mask);
            support::ReplaceFile(m_path.c_str(), loaded, {"new"});
            umask(old);
            EXPECT_EQ(ModeOf(m_path), mode) << std::oct << mode << " under " << mask;
            ASSERT_EQ(chmod(m_path.c_str(), 0600), 0);
            EXPECT_EQ(ReadFile(m_path), "new");
        }
    }
}

TEST_F(DurableFileTest, OwnerAndGroupAreKeptAndWithThemTheBitsThatAChangeOfOwnerClears) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may give a file to somebody else";
    }
    const struct {
        uid_t user;
        gid_t group;
    } cases[] = {{12345, 23456}, {12345, getegid()}, {geteuid(), 23456}};
    for (const auto& c : cases) {
        WriteFile(m_path, "old");
        ASSERT_EQ(chown(m_path.c_str(), c.user, c.group), 0);
        ASSERT_EQ(chmod(m_path.c_str(), 06750), 0);
        const FailingCall interrupted(Call::kFchown, EINTR, 1, 3);
        Replace();
        EXPECT_EQ(interrupted.Count(), 4);
        struct stat status {};
        ASSERT_EQ(stat(m_path.c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, c.user);
        EXPECT_EQ(status.st_gid, c.group);
        EXPECT_EQ(ModeOf(m_path), 06750U);
    }
}

TEST_F(DurableFileTest, AnOwnerThatCannotBeKeptFailsTheSaveWithTheCure) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may make a file of somebody else";
    }
    WriteFile(m_path, "old");
    ASSERT_EQ(chmod(m_path.c_str(), 0666), 0);
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0777), 0);
    EXPECT_EQ(RunAsOrdinaryUser([&] {
                  EXPECT_EQ(FailureToReplace(),
                            m_path + ": keep owner and group (save as that user or as root): " +
                                ErrorText(EPERM));
              }),
              0);
    EXPECT_EQ(ReadFile(m_path), "old");
    EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
}

TEST_F(DurableFileTest, AFolderThatIsReadOnlyFailsTheSave) {
    WriteFile(m_path, "old");
    ASSERT_EQ(chmod(m_path.c_str(), 0666), 0);
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0555), 0);
    EXPECT_EQ(RunAsOrdinaryUser([&] {
                  EXPECT_EQ(FailureToReplace(),
                            m_path + ": create temporary file: " + ErrorText(EACCES));
              }),
              0);
    EXPECT_EQ(ReadFile(m_path), "old");
    EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
}

TEST_F(DurableFileTest, ALinkStaysAndTheFileBehindItIsReplaced) {
    const std::string target = m_folder.File("deep/real/target");
    const struct {
        const char* name;
        std::string link;
    } cases[] = {
        {"a relative link", "deep/real/target"},
        {"an absolute link", target},
        {"an absolute link of another look", "/." + target},
        {"a link to a link", "second"},
        {"a link through a linked folder", "linked/../target"},
        {"a link to a link in a linked folder", "linked/up"},
    };
    std::filesystem::create_directories(m_folder.File("deep/real/sub"));
    std::filesystem::create_symlink("deep/real/target", m_folder.File("second"));
    std::filesystem::create_symlink("deep/real/sub", m_folder.File("linked"));
    std::filesystem::create_symlink("../target", m_folder.File("linked/up"));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        WriteFile(target, "old");
        ASSERT_EQ(chmod(target.c_str(), 0640), 0);
        const ino_t inode = InodeOf(target);
        std::filesystem::create_symlink(c.link, m_path);
        Replace();
        EXPECT_EQ(std::filesystem::read_symlink(m_path), c.link);
        EXPECT_TRUE(std::filesystem::symlink_status(target).type() ==
                    std::filesystem::file_type::regular);
        EXPECT_NE(InodeOf(target), inode);
        EXPECT_EQ(ReadFile(target), "new");
        EXPECT_EQ(ModeOf(target), 0640U);
        EXPECT_EQ(EntriesOf(m_folder.File("deep/real")),
                  (std::vector<std::string>{"sub", "target"}));
        std::filesystem::remove(m_path);
    }
}

TEST_F(DurableFileTest, ALinkToNothingFailsTheSaveAndMakesNothing) {
    std::filesystem::create_symlink("missing", m_path);
    EXPECT_EQ(FailureToReplace(), m_path + ": stat: " + ErrorText(ENOENT));
    EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
}

TEST_F(DurableFileTest, LinksInACircleFailTheSave) {
    std::filesystem::create_symlink("other", m_path);
    std::filesystem::create_symlink("rc.conf", m_folder.File("other"));
    EXPECT_EQ(FailureToReplace(), m_path + ": resolve: " + ErrorText(ELOOP));
}

TEST_F(DurableFileTest, RootFollowsNoLinkOfAnotherUser) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may make a link of somebody else";
    }
    const std::string target = m_folder.File("target");
    WriteFile(target, "old");
    std::filesystem::create_symlink("target", m_path);
    ASSERT_EQ(lchown(m_path.c_str(), 12345, 23456), 0);
    EXPECT_EQ(FailureToReplace(),
              m_path + ": resolve (another user's link, which root does not follow): " +
                  ErrorText(EACCES));
    EXPECT_EQ(ReadFile(target), "old");
    EXPECT_EQ(EntriesOf(m_folder.Path()), (std::vector<std::string>{"rc.conf", "target"}));
}

TEST_F(DurableFileTest, AnOrdinaryUserFollowsTheLinksOfAnybody) {
    std::filesystem::create_symlink("target", m_path);
    if (geteuid() == 0) {
        ASSERT_EQ(lchown(m_path.c_str(), 12345, 23456), 0);
    }
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0777), 0);
    EXPECT_EQ(RunAsOrdinaryUser([&] {
                  WriteFile(m_folder.File("target"), "old");
                  EXPECT_EQ(FailureToReplace(), "no failure");
              }),
              0);
    EXPECT_EQ(ReadFile(m_folder.File("target")), "new");
}

TEST_F(DurableFileTest, NoFileGetsTheNumberOfAClosedStream) {
    WriteFile(m_path, "old");
    const auto replace = [&] {
        support::FileIdentity loaded = IdentityOf(m_path);
        int opened = 0;
        const CallWatch writing(Call::kWritev, [&](int) {
            for (const int file : FilesOpenIn(m_folder.Path())) {
                EXPECT_GT(file, 2);
                ++opened;
            }
            return 0;
        });
        support::ReplaceFile(m_path.c_str(), loaded, {"new"});
        EXPECT_EQ(opened, 3) << "the old file, its folder, the temporary file";
    };
    EXPECT_EQ(RunWithoutStreams({0, 1, 2}, replace), 0);
    EXPECT_EQ(ReadFile(m_path), "new");
}

TEST_F(DurableFileTest, AFolderOfSomebodyElseIsOpenedAsOneThatIsRead) {
    WriteFile(m_path, "old");
    {
        const FailingCall failing(Call::kOpen, EPERM);
        Replace();
        EXPECT_EQ(failing.Count(), 2);
    }
    EXPECT_EQ(ReadFile(m_path), "new");
    const FailingCall failing(Call::kOpen, EPERM, 1, 2);
    EXPECT_EQ(FailureToReplace(), m_path + ": open folder: " + ErrorText(EPERM));
}

TEST_F(DurableFileTest, ASaveLeavesTheFoldersTimeOfAccess) {
    WriteFile(m_path, "old");
    const auto accessed = [&] {
        struct stat status {};
        EXPECT_EQ(stat(m_folder.Path().c_str(), &status), 0);
        return status.st_atim.tv_sec;
    };
    struct timespec longAgo[2] = {{1000, 0}, {2000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, m_folder.Path().c_str(), longAgo, 0), 0);
    Replace();
    EXPECT_EQ(accessed(), 1000);
}

TEST_F(DurableFileTest, TheFolderOfALinkNeedNotBeReadable) {
    std::filesystem::create_directory(m_folder.File("data"));
    std::filesystem::create_directory(m_folder.File("links"));
    const std::string target = m_folder.File("data/rc.conf");
    const std::string link = m_folder.File("links/rc.conf");
    std::filesystem::create_symlink("../data/rc.conf", link);
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0777), 0);
    ASSERT_EQ(chmod(m_folder.File("data").c_str(), 0777), 0);
    ASSERT_EQ(chmod(m_folder.File("links").c_str(), 0311), 0);
    EXPECT_EQ(RunAsOrdinaryUser([&] {
                  WriteFile(target, "old");
                  EXPECT_EQ(FailureOf([&] { ReplaceText(link, {"new"}); }), "no failure");
              }),
              0);
    EXPECT_EQ(ReadFile(target), "new");
    ASSERT_EQ(chmod(m_folder.File("links").c_str(), 0700), 0);
}

TEST_F(DurableFileTest, ALinkThatCannotBeReadFailsTheSaveAndASignalDoesNot) {
    const std::string target = m_folder.File("target");
    WriteFile(target, "old");
    std::filesystem::create_symlink("target", m_path);
    {
        const FailingCall failing(Call::kReadlink, EACCES);
        EXPECT_EQ(FailureToReplace(), m_path + ": resolve: " + ErrorText(EACCES));
    }
    EXPECT_EQ(ReadFile(target), "old");
    EXPECT_TRUE(FilesOpenIn(m_folder.Path()).empty());
    const FailingCall interrupted(Call::kReadlink, EINTR, 1, 3);
    Replace();
    EXPECT_EQ(interrupted.Count(), 4);
    EXPECT_EQ(ReadFile(target), "new");
    EXPECT_EQ(EntriesOf(m_folder.Path()), (std::vector<std::string>{"rc.conf", "target"}));
}

TEST_F(DurableFileTest, AsManyLinksAreFollowedAsTheKernelFollows) {
    WriteFile(m_folder.File("0"), "old");
    for (int link = 1; link <= 41; ++link) {
        std::filesystem::create_symlink(std::to_string(link - 1),
                                        m_folder.File(std::to_string(link)));
    }
    ReplaceText(m_folder.File("40"), {"new"});
    EXPECT_EQ(ReadFile(m_folder.File("40")), "new");
    EXPECT_THROW(ReplaceText(m_folder.File("41"), {"newer"}), std::system_error);
    EXPECT_THROW(ReadFile(m_folder.File("41")), std::exception);
}

TEST_F(DurableFileTest, ANameThatLeavesNoRoomForATemporaryOneIsRefused) {
    const std::string longest = m_folder.File(std::string(NAME_MAX - 8, 'n'));
    WriteFile(longest, "old");
    ReplaceText(longest, {"new"});
    EXPECT_EQ(ReadFile(longest), "new");
    const std::string longer = longest + "n";
    WriteFile(longer, "old");
    EXPECT_EQ(FailureOf([&] { ReplaceText(longer, {"new"}); }),
              longer + ": create temporary file: " + ErrorText(ENAMETOOLONG));
    EXPECT_EQ(ReadFile(longer), "old");
}

TEST_F(DurableFileTest, ARelativePathIsReplacedInTheWorkingFolder) {
    const std::filesystem::path before = std::filesystem::current_path();
    WriteFile(m_path, "old");
    std::filesystem::current_path(m_folder.Path());
    ReplaceText("rc.conf", {"1"});
    EXPECT_EQ(ReadFile(m_path), "1");
    ReplaceText("././rc.conf", {"2"});
    std::filesystem::create_symlink("rc.conf", "link");
    ReplaceText("link", {"3"});
    std::filesystem::current_path(before);
    EXPECT_EQ(ReadFile(m_path), "3");
}

TEST_F(DurableFileTest, OnlyARegularFileThatIsThereIsReplaced) {
    const std::string notRegular =
        "open (a FIFO or device, not a regular file): " + ErrorText(EINVAL);
    const struct {
        FileKind kind;
        std::string failure;
    } cases[] = {
        {FileKind::kFolder, "open: " + ErrorText(EISDIR)},
        {FileKind::kFifo, notRegular},
        {FileKind::kDevice, notRegular},
        {FileKind::kSocket, notRegular},
    };
    EXPECT_EQ(FailureToReplace(), m_path + ": stat: " + ErrorText(ENOENT));
    EXPECT_TRUE(EntriesOf(m_folder.Path()).empty());
    for (const auto& c : cases) {
        MakeFileOfKind(c.kind, m_path);
        EXPECT_EQ(FailureToReplace(), m_path + ": " + c.failure);
        EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
        ASSERT_EQ(remove(m_path.c_str()), 0);
    }
}

}  // namespace
