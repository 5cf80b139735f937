#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/whole_file.h"
#include "tests/fixture/failing_calls.h"
#include "tests/support/durable_file_fixture.h"

namespace {

TEST_F(DurableFileTest, TheNewTextIsThePiecesOneAfterTheOther) {
    std::string bytes;
    for (int code = 0; code < 256; ++code) {
        bytes.push_back(static_cast<char>(code));
    }
    const std::string large(1000000, 'x');
    const std::string_view inRow = bytes;
    const std::vector<support::TextPieces> cases = {
        {},
        {""},
        {"", "", ""},
        {"a"},
        {bytes},
        {"", "a", "", "", "bc", ""},
        {large, "", bytes, large},
        {std::string_view(), "a"},
        {inRow.substr(0, 3), inRow.substr(3, 100), inRow.substr(103), inRow.substr(0, 3), "b"},
        support::TextPieces(64, "ab"),
        support::TextPieces(65, "ab"),
        support::TextPieces(1000, "ab"),
    };
    for (const support::TextPieces& pieces : cases) {
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

TEST_F(DurableFileTest, PiecesThatFollowEachOtherInMemoryAreWrittenAtOnce) {
    const std::string text(10000, 'x');
    support::TextPieces pieces;
    for (std::size_t place = 0; place < text.size(); place += 10) {
        pieces.push_back(std::string_view(text).substr(place, 10));
    }
    WriteFile(m_path, "old");
    int writes = 0;
    {
        const CallWatch watch(Call::kWritev, [&writes](int) {
            ++writes;
            return 0;
        });
        Replace(pieces);
    }
    EXPECT_EQ(writes, 1);
    EXPECT_TRUE(ReadFile(m_path) == text);
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
        {Call::kReadlink, "readlink"},   {Call::kPoll, "poll"},
        {Call::kOpen, "open"},           {Call::kFstatat, "fstatat"},
        {Call::kOpenat, "openat"},       {Call::kFstat, "fstat"},
        {Call::kFchown, "fchown"},       {Call::kFgetxattr, "fgetxattr"},
        {Call::kFsetxattr, "fsetxattr"}, {Call::kFremovexattr, "fremovexattr"},
        {Call::kFchmod, "fchmod"},       {Call::kWritev, "writev"},
        {Call::kFsync, "fsync"},         {Call::kClose, "close"},
        {Call::kRenameat, "renameat"},   {Call::kFdopendir, "fdopendir"},
        {Call::kUnlinkat, "unlinkat"},
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
    std::vector<std::string> expected = {
        "fstatat", "poll",      "open",         "openat", "writev",    "fstat",
        "fchown",  "fgetxattr", "fremovexattr", "fchmod", "fsync",     "close",
        "fstatat", "renameat",  "close",        "fsync",  "fdopendir", "unlinkat"};
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

TEST_F(DurableFileTest, BeforeItHasOwnerAndModeTheTemporaryFileIsItsOwnersAlone) {
    for (const mode_t mask : {0U, 0777U}) {
        WriteFile(m_path, "old");
        ASSERT_EQ(chmod(m_path.c_str(), 0664), 0);
        const mode_t old = umask(mask);
        const CallWatch birth(Call::kFstat, [&](int) {
            const std::string temporary = TemporaryFile();
            EXPECT_EQ(ModeOf(temporary), 0600U & ~mask);
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

TEST_F(DurableFileTest, AReaderSeesTheOldTextOrTheNewOneWhole) {
    const std::string texts[] = {std::string(20000, 'a'), std::string(10000, 'b')};
    WriteFile(m_path, texts[0]);
    std::atomic<bool> isDone{false};
    std::thread reader([&] {
        do {
            const support::FileText text = support::ReadWholeFile(m_path.c_str(), false);
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

}  // namespace
