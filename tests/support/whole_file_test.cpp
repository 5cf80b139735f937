#include "support/whole_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <string>
#include <vector>

#include "tests/fixture/child_process.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/file_kinds.h"
#include "tests/fixture/temp_folder.h"

namespace {

class WholeFileTest : public testing::Test {
  protected:
    std::string Read(bool createIfMissing = false) const {
        return std::string(support::ReadWholeFile(m_path.c_str(), createIfMissing).View());
    }
    std::string FailureToRead(bool createIfMissing = false) const {
        return FailureOf([&] { (void)Read(createIfMissing); });
    }

    const TempFolder m_folder;
    const std::string m_path = m_folder.File("file");
};

TEST_F(WholeFileTest, EveryByteOfAFileIsRead) {
    std::string text;
    for (int code = 0; code < 256; ++code) {
        text.push_back(static_cast<char>(code));
    }
    for (const std::string& whole : {std::string(), text, std::string(1000000, 'x')}) {
        WriteFile(m_path, whole);
        EXPECT_EQ(Read(), whole);
    }
}

TEST_F(WholeFileTest, ShortReadsAndSignalsAreContinued) {
    WriteFile(m_path, "abcdef");
    const ShortTransfers most(2);
    const FailingCall opening(Call::kOpen, EINTR);
    const FailingCall reading(Call::kRead, EINTR, 2, 3);
    const std::string text = Read();
    EXPECT_EQ(text, "abcdef");
    EXPECT_EQ(opening.Count(), 2);
    EXPECT_EQ(reading.Count(), 6);
}

TEST_F(WholeFileTest, AFileThatIsCutMeanwhileIsReadUpToItsNewEnd) {
    WriteFile(m_path, "abcdef");
    const CallWatch cutting(Call::kRead, [&](int) { return truncate(m_path.c_str(), 3); });
    EXPECT_EQ(Read(), "abc");
}

TEST_F(WholeFileTest, EveryFailingStepIsNamedAndLeavesNothingOpen) {
    struct Case {
        Call call;
        int error;
        std::string step;
    };
    const Case cases[] = {
        {Call::kOpen, EMFILE, "open"},
        {Call::kFstat, EIO, "stat"},
        {Call::kRead, EIO, "read"},
    };
    WriteFile(m_path, "text");
    for (const Case& c : cases) {
        const FailingCall failing(c.call, c.error);
        EXPECT_EQ(FailureToRead(), m_path + ": " + c.step + ": " + ErrorText(c.error));
        EXPECT_TRUE(FilesOpenIn(m_folder.Path()).empty()) << c.step;
    }
    EXPECT_EQ(Read(), "text");
    EXPECT_TRUE(FilesOpenIn(m_folder.Path()).empty());
}

TEST_F(WholeFileTest, TheOpenFileIsNotHandedToOtherPrograms) {
    WriteFile(m_path, "text");
    const CallWatch reading(Call::kRead, [&](int) {
        const std::vector<int> files = FilesOpenIn(m_folder.Path());
        EXPECT_EQ(files.size(), 1U);
        for (const int file : files) {
            EXPECT_EQ(fcntl(file, F_GETFD), FD_CLOEXEC);
        }
        return 0;
    });
    EXPECT_EQ(Read(), "text");
    EXPECT_GT(reading.Count(), 0);
}

TEST_F(WholeFileTest, AMissingFileIsAFailureUnlessItIsToBeMade) {
    EXPECT_EQ(FailureToRead(), m_path + ": open: " + ErrorText(ENOENT));
    EXPECT_TRUE(EntriesOf(m_folder.Path()).empty());
}

TEST_F(WholeFileTest, ANewFileIsItsOwnersAloneWhateverTheUmask) {
    for (const mode_t mask : {0U, 022U, 0777U}) {
        const mode_t old = umask(mask);
        // A signal in between changes nothing.
        const FailingCall interrupted(Call::kOpen, EINTR, 2);
        const std::string text = Read(true);
        umask(old);
        EXPECT_EQ(text, "");
        EXPECT_EQ(ModeOf(m_path), 0600U) << mask;
        EXPECT_EQ(ReadFile(m_path), "");
        ASSERT_EQ(unlink(m_path.c_str()), 0);
    }
}

TEST_F(WholeFileTest, ANewFileIsNeverOpenToOthers) {
    const mode_t old = umask(0);
    const CallWatch before(Call::kFchmod, [&](int) {
        EXPECT_EQ(ModeOf(m_path), 0600U);
        return 0;
    });
    (void)Read(true);
    umask(old);
    EXPECT_EQ(ModeOf(m_path), 0600U);
}

TEST_F(WholeFileTest, AFileThatIsThereIsReadAsItIsAlsoWhenAMissingOneWouldBeMade) {
    WriteFile(m_path, "text");
    ASSERT_EQ(chmod(m_path.c_str(), 0644), 0);
    EXPECT_EQ(Read(true), "text");
    EXPECT_EQ(ModeOf(m_path), 0644U);
}

TEST_F(WholeFileTest, FoldersAreNeverMade) {
    const std::string path = m_folder.File("missing/file");
    EXPECT_EQ(FailureOf([&] { (void)support::ReadWholeFile(path.c_str(), true); }),
              path + ": open: " + ErrorText(ENOENT));
    EXPECT_TRUE(EntriesOf(m_folder.Path()).empty());
}

TEST_F(WholeFileTest, LinksAreFollowed) {
    WriteFile(m_folder.File("target"), "text");
    ASSERT_EQ(symlink("target", m_folder.File("link").c_str()), 0);
    ASSERT_EQ(symlink(m_folder.File("link").c_str(), m_path.c_str()), 0);
    EXPECT_EQ(Read(), "text");
}

TEST_F(WholeFileTest, BehindALinkToNothingTheMissingFileIsMade) {
    ASSERT_EQ(symlink("target", m_path.c_str()), 0);
    EXPECT_EQ(FailureToRead(), m_path + ": open: " + ErrorText(ENOENT));
    EXPECT_EQ(Read(true), "");
    EXPECT_EQ(EntriesOf(m_folder.Path()), (std::vector<std::string>{"file", "target"}));
    EXPECT_EQ(ModeOf(m_folder.File("target")), 0600U);
}

TEST_F(WholeFileTest, RootFollowsNoLinkOfAnotherUser) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may make a link of somebody else";
    }
    const std::string failure =
        m_path + ": open (another user's link, which root does not follow): " + ErrorText(EACCES);
    WriteFile(m_folder.File("target"), "text");
    ASSERT_EQ(symlink("target", m_folder.File("own").c_str()), 0);
    for (const char* target : {"target", "own", "missing"}) {
        ASSERT_EQ(symlink(target, m_path.c_str()), 0);
        ASSERT_EQ(lchown(m_path.c_str(), 12345, 23456), 0);
        EXPECT_EQ(FailureToRead(), failure) << target;
        EXPECT_EQ(FailureToRead(true), failure) << target;
        ASSERT_EQ(unlink(m_path.c_str()), 0);
    }
    ASSERT_EQ(lchown(m_folder.File("own").c_str(), 12345, 23456), 0);
    ASSERT_EQ(symlink("own", m_path.c_str()), 0);
    EXPECT_EQ(FailureToRead(), failure) << "behind a link of root's own";
    EXPECT_EQ(EntriesOf(m_folder.Path()), (std::vector<std::string>{"file", "own", "target"}));
    EXPECT_TRUE(FilesOpenIn(m_folder.Path()).empty());
}

TEST_F(WholeFileTest, AnOrdinaryUserFollowsTheLinksOfAnybody) {
    WriteFile(m_folder.File("target"), "text");
    ASSERT_EQ(symlink("target", m_path.c_str()), 0);
    if (geteuid() == 0) {
        ASSERT_EQ(lchown(m_path.c_str(), 12345, 23456), 0);
    }
    ASSERT_EQ(chmod(m_folder.File("target").c_str(), 0644), 0);
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0755), 0);
    ExpectSuccess(RunAsOrdinaryUser([&] { EXPECT_EQ(Read(), "text"); }));
}

TEST_F(WholeFileTest, ForAnOrdinaryUserTheKernelFollowsLinksAlsoToWhatHasNoNameAnyMore) {
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0777), 0);
    ExpectSuccess(RunAsOrdinaryUser([&] {
        WriteFile(m_path, "text");
        const support::FileDescriptor file(open(m_path.c_str(), O_RDONLY | O_CLOEXEC));
        EXPECT_EQ(unlink(m_path.c_str()), 0);
        const std::string link = "/proc/self/fd/" + std::to_string(file.Number());
        EXPECT_EQ(support::ReadWholeFile(link.c_str(), false).View(), "text");
    }));
}

TEST_F(WholeFileTest, ALinkThatIsPutThereWhileTheLinksAreFollowedIsNotFollowed) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "the kernel follows for everybody else";
    }
    WriteFile(m_folder.File("target"), "text");
    WriteFile(m_folder.File("secret"), "root's");
    ASSERT_EQ(symlink("target", m_path.c_str()), 0);
    const CallWatch opening(Call::kOpen, [&](int number) {
        if (number == 2) {  // the first meets the link
            EXPECT_EQ(unlink(m_folder.File("target").c_str()), 0);
            EXPECT_EQ(symlink("secret", m_folder.File("target").c_str()), 0);
        }
        return 0;
    });
    EXPECT_EQ(FailureToRead(), m_path + ": open: " + ErrorText(ELOOP));
    EXPECT_EQ(opening.Count(), 2);
}

TEST_F(WholeFileTest, NoFileGetsTheNumberOfAClosedStream) {
    const std::vector<std::vector<int>> cases = {{0}, {1}, {2}, {0, 1}, {1, 2}, {0, 1, 2}};
    for (const std::vector<int>& closed : cases) {
        ExpectSuccess(RunWithoutStreams(closed, [&] {
            int opened = 0;
            const CallWatch status(Call::kFstat, [&](int) {
                for (const int file : FilesOpenIn(m_folder.Path())) {
                    EXPECT_GT(file, 2);
                    ++opened;
                }
                return 0;
            });
            EXPECT_EQ(Read(true), "");
            EXPECT_EQ(opened, 1);
        }));
    }
}

TEST_F(WholeFileTest, LineFeedsFollowEachText) {
    const std::string lineFeeds(64, '\n');
    const auto following = [](const support::FileText& text) {
        return std::string(text.bytes.get() + text.size, support::kLineFeedsAfterText);
    };
    EXPECT_EQ(following(support::MakeText(0)), lineFeeds);
    EXPECT_EQ(support::MakeText(0).View(), "");
    EXPECT_EQ(following(support::MakeText(3)), lineFeeds);
    EXPECT_EQ(support::MakeText(3).size, 3U);
    for (const std::string& text : {std::string(), std::string("a"), std::string(5000, 'x')}) {
        WriteFile(m_path, text);
        EXPECT_EQ(following(support::ReadWholeFile(m_path.c_str(), false)), lineFeeds);
    }
    const CallWatch cutting(Call::kRead, [&](int) { return truncate(m_path.c_str(), 3); });
    EXPECT_EQ(following(support::ReadWholeFile(m_path.c_str(), false)), lineFeeds);
}

TEST_F(WholeFileTest, ATextTellsWhichFileItIsOf) {
    WriteFile(m_folder.File("target"), "text");
    ASSERT_EQ(symlink("target", m_path.c_str()), 0);
    struct stat status {};
    ASSERT_EQ(stat(m_path.c_str(), &status), 0);
    const support::FileText text = support::ReadWholeFile(m_path.c_str(), false);
    EXPECT_EQ(text.identity.device, status.st_dev);
    EXPECT_EQ(text.identity.inode, status.st_ino);
    struct stat open {};
    ASSERT_EQ(fstat(text.identity.file.Number(), &open), 0);
    EXPECT_EQ(open.st_ino, status.st_ino);
}

TEST_F(WholeFileTest, LinksInACircleAreAFailure) {
    ASSERT_EQ(symlink("file", m_path.c_str()), 0);
    EXPECT_EQ(FailureToRead(true), m_path + ": open: " + ErrorText(ELOOP));
}

TEST_F(WholeFileTest, OnlyARegularFileIsReadAndNothingIsWaitedFor) {
    const std::string notRegular =
        "open (a FIFO or device, not a regular file): " + ErrorText(EINVAL);
    const struct {
        FileKind kind;
        std::string failure;
    } cases[] = {
        {FileKind::kFolder, "open: " + ErrorText(EISDIR)},
        {FileKind::kFifo, notRegular},
        {FileKind::kDevice, notRegular},
        {FileKind::kSocket, "open: " + ErrorText(ENXIO)},
    };
    for (const auto& c : cases) {
        MakeFileOfKind(c.kind, m_path);
        EXPECT_EQ(FailureToRead(), m_path + ": " + c.failure);
        EXPECT_EQ(FailureToRead(true), m_path + ": " + c.failure);
        EXPECT_TRUE(FilesOpenIn(m_folder.Path()).empty());
        ASSERT_EQ(remove(m_path.c_str()), 0);
    }
}

TEST_F(WholeFileTest, ATerminalThatIsRefusedDoesNotBecomeThatOfTheProcess) {
    ExpectSuccess(RunWithoutTerminal([](const std::string& terminal) {
        EXPECT_THROW((void)support::ReadWholeFile(terminal.c_str(), false), std::system_error);
        EXPECT_FALSE(HasTerminal());
    }));
}

TEST_F(WholeFileTest, AFileThatMayNotBeReadIsAFailure) {
    WriteFile(m_path, "text");
    ASSERT_EQ(chmod(m_path.c_str(), 0), 0);
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0755), 0);
    ExpectSuccess(RunAsOrdinaryUser(
        [&] { EXPECT_EQ(FailureToRead(), m_path + ": open: " + ErrorText(EACCES)); }));
}

TEST_F(WholeFileTest, AFileLargerThanTheAddressSpaceIsAFailure) {
    const auto checkFileOf = [&](off_t size) {
        WriteFile(m_path, "text");
        ASSERT_EQ(truncate(m_path.c_str(), size), 0);
        EXPECT_EQ(FailureToRead(), m_path + ": read: " + ErrorText(EFBIG));
    };
    if (sizeof(void*) == 4) {
        checkFileOf(static_cast<off_t>(3) << 30);
        return;
    }
    ExpectSuccess(RunWithOwnMounts([&] {
        MountSmallFileSystem(m_folder.Path(), 1 << 20);  // in memory, a file may have any size
        checkFileOf(std::numeric_limits<off_t>::max());
    }));
}

TEST_F(WholeFileTest, AFileThatDoesNotFitIntoMemoryIsAFailureAndLeavesNothingOpen) {
    WriteFile(m_path, "text");
    const FailingCall failing(Call::kNew, ENOMEM);
    bool failed = false;
    try {
        (void)support::ReadWholeFile(m_path.c_str(), false);
    } catch (const std::bad_alloc&) {
        failed = true;
    }
    EXPECT_TRUE(failed);
    EXPECT_TRUE(FilesOpenIn(m_folder.Path()).empty());
}

}  // namespace
