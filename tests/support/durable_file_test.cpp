#include "support/durable_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/whole_file.h"
#include "tests/fixture/child_process.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/file_kinds.h"
#include "tests/fixture/temp_folder.h"

namespace {

class DurableFileTest : public testing::Test {
  protected:
    void Replace(const TextPieces& pieces = {"new"}) const { ReplaceFile(m_path.c_str(), pieces); }
    std::string FailureToReplace() const {
        return FailureOf([&] { Replace(); });
    }
    // The path of the only entry of the folder whose name begins with a dot.
    std::string TemporaryFile() const {
        const std::vector<std::string> entries = EntriesOf(m_folder.Path());
        EXPECT_EQ(entries.size(), 2U);
        EXPECT_EQ(entries[0].substr(0, m_prefix.size()), m_prefix);
        EXPECT_EQ(entries[0].size(), m_prefix.size() + 6);
        return m_folder.File(entries[0]);
    }

    const TempFolder m_folder;
    const std::string m_path = m_folder.File("rc.conf");
    const std::string m_prefix = ".rc.conf.";
    const std::vector<std::string> m_fileAlone = {"rc.conf"};
};

TEST_F(DurableFileTest, TheNewTextIsThePiecesOneBehindTheOther) {
    std::string bytes;
    for (int code = 0; code < 256; ++code) {
        bytes.push_back(static_cast<char>(code));
    }
    const std::string large(1000000, 'x');
    const std::vector<TextPieces> cases = {
        {},
        {""},
        {"", "", ""},
        {"a"},
        {bytes},
        {"", "a", "", "", "bc", ""},
        {large, "", bytes, large},
        TextPieces(64, "ab"),
        TextPieces(65, "ab"),
        TextPieces(1000, "ab"),
    };
    for (const TextPieces& pieces : cases) {
        WriteFile(m_path, "old");
        std::string text;
        for (const std::string_view piece : pieces) {
            text.append(piece);
        }
        Replace(pieces);
        EXPECT_TRUE(ReadFile(m_path) == text) << pieces.size() << " pieces";
    }
    EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
}

TEST_F(DurableFileTest, ShortWritesAreContinued) {
    for (const std::size_t most : {1U, 2U, 3U, 5U}) {
        WriteFile(m_path, "old");
        {
            const ShortTransfers shortTransfers(most);
            const FailingCall interrupted(Call::kWritev, EINTR, 2, 2);
            Replace({"ab", "", "cdefg", "h", std::string_view("\0i", 2)});
        }
        EXPECT_EQ(ReadFile(m_path), std::string("abcdefgh\0i", 10)) << most;
    }
}

TEST_F(DurableFileTest, AReplacedFileIsANewOne) {
    WriteFile(m_path, "old");
    const std::string other = m_folder.File("other");
    ASSERT_EQ(link(m_path.c_str(), other.c_str()), 0);
    const ino_t inode = InodeOf(m_path);
    Replace();
    EXPECT_NE(InodeOf(m_path), inode);
    EXPECT_EQ(InodeOf(other), inode);
    EXPECT_EQ(ReadFile(other), "old");
    EXPECT_EQ(ReadFile(m_path), "new");
}

TEST_F(DurableFileTest, TheStepsComeInTheOrderThatKeepsTheTextSafe) {
    const struct {
        Call call;
        const char* name;
    } kinds[] = {
        {Call::kReadlink, "readlink"}, {Call::kOpen, "open"},         {Call::kLstat, "lstat"},
        {Call::kOpenat, "openat"},     {Call::kFchown, "fchown"},     {Call::kFchmod, "fchmod"},
        {Call::kWritev, "writev"},     {Call::kFsync, "fsync"},       {Call::kClose, "close"},
        {Call::kRenameat, "renameat"}, {Call::kUnlinkat, "unlinkat"}, {Call::kFstat, "fstat"},
    };
    WriteFile(m_path, "old");
    ASSERT_EQ(chmod(m_path.c_str(), 0640), 0);
    const bool isRoot = geteuid() == 0;  // only root may give a file to somebody else
    if (isRoot) {
        ASSERT_EQ(chown(m_path.c_str(), 12345, 23456), 0);
    }
    WriteFile(m_folder.File(".rc.conf.~B3dE6"), "left by a killed process");
    std::vector<std::string> steps;
    {
        std::vector<std::unique_ptr<CallWatch>> watches;
        for (const auto& kind : kinds) {
            watches.push_back(std::make_unique<CallWatch>(kind.call, [&steps, kind](int) {
                steps.emplace_back(kind.name);
                return 0;
            }));
        }
        Replace();
        while (!watches.empty()) {
            watches.pop_back();
        }
    }
    std::vector<std::string> expected = {"lstat",  "open",     "openat", "fstat", "fchown",
                                         "fchmod", "writev",   "fsync",  "close", "renameat",
                                         "fsync",  "unlinkat", "close"};
    if (!isRoot) {
        expected.erase(std::find(expected.begin(), expected.end(), "fchown"));
    }
    EXPECT_EQ(steps, expected);
}

TEST_F(DurableFileTest, OwnerAndModeAreNotGivenToATemporaryFileThatHasThem) {
    WriteFile(m_path, "old");
    for (const mode_t mode : {0600U, 0400U}) {
        ASSERT_EQ(chmod(m_path.c_str(), mode), 0);
        const CallWatch owner(Call::kFchown);
        const CallWatch modes(Call::kFchmod);
        Replace();
        EXPECT_EQ(owner.Count(), 0);
        EXPECT_EQ(modes.Count(), mode == 0600 ? 0 : 1);
        EXPECT_EQ(ModeOf(m_path), mode);
    }
}

TEST_F(DurableFileTest, BeforeItHasOwnerAndModeTheTemporaryFileIsItsOwnersAloneAndEmpty) {
    for (const mode_t mask : {0U, 0777U}) {
        WriteFile(m_path, "old");
        ASSERT_EQ(chmod(m_path.c_str(), 0664), 0);
        const mode_t old = umask(mask);
        const CallWatch birth(Call::kFstat, [&](int) {
            const std::string temporary = TemporaryFile();
            EXPECT_EQ(ModeOf(temporary), 0600U & ~mask);
            EXPECT_EQ(std::filesystem::file_size(temporary), 0U);
            return 0;
        });
        Replace();
        umask(old);
        EXPECT_EQ(birth.Count(), 1);
        EXPECT_EQ(ModeOf(m_path), 0664U) << mask;
    }
}

TEST_F(DurableFileTest, UntilTheRenameTheOldFileStandsAndTheNewOneIsComplete) {
    WriteFile(m_path, "old");
    const ino_t inode = InodeOf(m_path);
    const CallWatch rename(Call::kRenameat, [&](int) {
        EXPECT_EQ(InodeOf(m_path), inode);
        EXPECT_EQ(ReadFile(m_path), "old");
        EXPECT_EQ(ReadFile(TemporaryFile()), "new");
        return 0;
    });
    Replace();
    EXPECT_EQ(rename.Count(), 1);
}

TEST_F(DurableFileTest, TheModeIsKeptWhateverTheUmask) {
    for (const mode_t mask : {0U, 022U, 0777U}) {
        for (const mode_t mode : {0600U, 0640U, 0644U, 0444U, 0400U, 0666U, 0000U}) {
            WriteFile(m_path, "old");
            ASSERT_EQ(chmod(m_path.c_str(), mode), 0);
            const mode_t old = umask(mask);
            Replace();
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
                  EXPECT_EQ(FailureOf([&] { ReplaceFile(link.c_str(), {"new"}); }), "no failure");
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
    ReplaceFile(m_folder.File("40").c_str(), {"new"});
    EXPECT_EQ(ReadFile(m_folder.File("40")), "new");
    EXPECT_THROW(ReplaceFile(m_folder.File("41").c_str(), {"newer"}), std::system_error);
    EXPECT_THROW(ReadFile(m_folder.File("41")), std::exception);
}

TEST_F(DurableFileTest, ANameThatLeavesNoRoomForATemporaryOneIsRefused) {
    const std::string longest = m_folder.File(std::string(NAME_MAX - 8, 'n'));
    WriteFile(longest, "old");
    ReplaceFile(longest.c_str(), {"new"});
    EXPECT_EQ(ReadFile(longest), "new");
    const std::string longer = longest + "n";
    WriteFile(longer, "old");
    EXPECT_EQ(FailureOf([&] { ReplaceFile(longer.c_str(), {"new"}); }),
              longer + ": create temporary file: File name too long");
    EXPECT_EQ(ReadFile(longer), "old");
}

TEST_F(DurableFileTest, ARelativePathIsReplacedInTheWorkingFolder) {
    const std::filesystem::path before = std::filesystem::current_path();
    WriteFile(m_path, "old");
    std::filesystem::current_path(m_folder.Path());
    ReplaceFile("rc.conf", {"1"});
    EXPECT_EQ(ReadFile(m_path), "1");
    ReplaceFile("././rc.conf", {"2"});
    std::filesystem::create_symlink("rc.conf", "link");
    ReplaceFile("link", {"3"});
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

TEST_F(DurableFileTest, EveryFailureBeforeTheRenameLeavesTheOldFileAndNothingElse) {
    const struct {
        Call call;
        int error;
        std::string step;
    } cases[] = {
        {Call::kOpen, EMFILE, "open folder"},
        {Call::kLstat, EIO, "stat"},
        {Call::kOpenat, EROFS, "create temporary file"},
        {Call::kOpenat, ENOSPC, "create temporary file"},
        {Call::kFstat, EIO, "stat temporary file"},
        {Call::kFchmod, EIO, "keep mode"},
        {Call::kWritev, ENOSPC, "write"},
        {Call::kWritev, EDQUOT, "write"},
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
    for (const Call call : {Call::kOpen, Call::kLstat, Call::kOpenat, Call::kFstat, Call::kFchmod,
                            Call::kWritev, Call::kFsync, Call::kRenameat}) {
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
    for (const Call call : {Call::kGetdents, Call::kUnlinkat}) {
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

TEST_F(DurableFileTest, AReaderSeesTheOldTextOrTheNewOneWhole) {
    const std::string texts[] = {std::string(20000, 'a'), std::string(10000, 'b')};
    WriteFile(m_path, texts[0]);
    std::atomic<bool> isDone{false};
    std::thread reader([&] {
        do {
            const FileText text = ReadWholeFile(m_path.c_str(), false);
            if (text.View() != texts[0] && text.View() != texts[1]) {
                ADD_FAILURE() << "a text of " << text.size << " bytes";
                break;
            }
        } while (!isDone);
    });
    for (int i = 1; i <= 100; ++i) {
        Replace({texts[i % 2]});
    }
    isDone = true;
    reader.join();
}

TEST_F(DurableFileTest, AFullFileSystemFailsTheSaveAndKeepsTheOldFile) {
    const int code = RunWithOwnMounts([&] {
        MountSmallFileSystem(m_folder.Path(), 64 * 1024);
        WriteFile(m_path, "old");
        const std::string tooLarge(1000000, 'x');
        EXPECT_EQ(FailureOf([&] { Replace({tooLarge}); }),
                  m_path + ": write: " + ErrorText(ENOSPC));
        EXPECT_EQ(ReadFile(m_path), "old");
        EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
        Replace();
        EXPECT_EQ(ReadFile(m_path), "new");
    });
    if (code == ChildProcess::kNotPermitted) {
        GTEST_SKIP() << "a test may not mount here";
    }
    EXPECT_EQ(code, 0);
}

TEST_F(DurableFileTest, AFileThatIsAMountPointFailsTheSaveWithTheCure) {
    const int code = RunWithOwnMounts([&] {
        WriteFile(m_path, "below");
        WriteFile(m_folder.File("mounted"), "old");
        BindMount(m_folder.File("mounted"), m_path);
        EXPECT_EQ(
            FailureToReplace(),
            m_path + ": rename (the file is a mount point: mount its folder): " + ErrorText(EBUSY));
        EXPECT_EQ(ReadFile(m_path), "old");
        EXPECT_EQ(EntriesOf(m_folder.Path()), (std::vector<std::string>{"mounted", "rc.conf"}));
    });
    if (code == ChildProcess::kNotPermitted) {
        GTEST_SKIP() << "a test may not mount here";
    }
    EXPECT_EQ(code, 0);
}

}  // namespace
