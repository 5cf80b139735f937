#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "tests/fixture/child_process.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/file_kinds.h"
#include "tests/support/access_lists.h"
#include "tests/support/durable_file_fixture.h"

// Who may read a file: its owner, its group, its mode and its access list, which a save keeps.

namespace {

using Entry = AccessEntry;

#define SKIP_WITHOUT_LISTS()                                                    \
    do {                                                                        \
        WriteFile(m_path, "old");                                               \
        if (!GiveList(m_path, BackupList())) {                                  \
            GTEST_SKIP() << "the file system of the tests has no access lists"; \
        }                                                                       \
        ASSERT_EQ(unlink(m_path.c_str()), 0);                                   \
    } while (false)

TEST_F(DurableFileTest, AnAccessListIsKeptAndTheGroupMayNoMoreThanBefore) {
    SKIP_WITHOUT_LISTS();
    const auto check = [&] {
        const std::string backupList = BackupList();
        for (const mode_t mask : {0U, 0777U}) {
            WriteFile(m_path, "old");
            ASSERT_EQ(chmod(m_path.c_str(), 0600), 0);
            ASSERT_TRUE(GiveList(m_path, backupList));
            EXPECT_EQ(ModeOf(m_path), 0640U) << "the limit of the list, where the group's bits are";
            const mode_t before = umask(mask);
            Replace();
            umask(before);
            EXPECT_EQ(ReadFile(m_path), "new");
            EXPECT_EQ(ListOf(m_path), backupList) << mask;
            EXPECT_EQ(ModeOf(m_path), 0640U) << mask;
            ASSERT_EQ(unlink(m_path.c_str()), 0);
        }
    };
    check();
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0777), 0);
    EXPECT_EQ(RunAsOrdinaryUser(check), 0);
}

TEST_F(DurableFileTest, AListThatLimitsNothingAndSpecialBitsAreKeptTogether) {
    SKIP_WITHOUT_LISTS();
    const std::string list = AccessList({{Entry::kOwner, 6},
                                         {Entry::kUser, 4, SomeUser()},
                                         {Entry::kGroup, 4},
                                         {Entry::kOtherGroup, 6, SomeGroup()},
                                         {Entry::kLimit, 6},
                                         {Entry::kOthers, 4}});
    WriteFile(m_path, "old");
    if (geteuid() == 0) {
        ASSERT_EQ(chown(m_path.c_str(), 12345, 23456), 0);
    }
    ASSERT_TRUE(GiveList(m_path, list));
    ASSERT_EQ(chmod(m_path.c_str(), 04664), 0);
    Replace();
    EXPECT_EQ(ListOf(m_path), list);
    EXPECT_EQ(ModeOf(m_path), 04664U);
}

TEST_F(DurableFileTest, ALongListIsKeptWhole) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "an ordinary user's tests may know no other user";
    }
    SKIP_WITHOUT_LISTS();
    std::vector<Entry> entries = {{Entry::kOwner, 6}};
    for (std::uint32_t user = 1000; user < 1200; ++user) {
        entries.push_back({Entry::kUser, 4, user});
    }
    entries.insert(entries.end(), {{Entry::kGroup, 0}, {Entry::kLimit, 4}, {Entry::kOthers, 0}});
    const std::string list = AccessList(entries);
    WriteFile(m_path, "old");
    try {
        ASSERT_TRUE(GiveList(m_path, list));
    } catch (const std::system_error& failure) {
        ASSERT_EQ(failure.code().value(), ENOSPC) << failure.what();
        GTEST_SKIP() << "the blocks are too small for a long list here, as ext4's of 1 KiB";
    }
    Replace();
    EXPECT_EQ(ListOf(m_path), list);
}

TEST_F(DurableFileTest, AFileWithoutAListGetsNoneFromItsFolder) {
    SKIP_WITHOUT_LISTS();
    for (const mode_t mode : {0600U, 0640U, 0664U}) {
        WriteFile(m_path, "old");
        ASSERT_EQ(chmod(m_path.c_str(), mode), 0);
        ASSERT_TRUE(GiveList(m_folder.Path(),
                             AccessList({{Entry::kOwner, 7},
                                         {Entry::kUser, 7, SomeUser()},
                                         {Entry::kGroup, 7},
                                         {Entry::kLimit, 7},
                                         {Entry::kOthers, 7}}),
                             kListForNewFiles));
        Replace();
        EXPECT_EQ(ReadFile(m_path), "new");
        EXPECT_EQ(ListOf(m_path), "");
        EXPECT_EQ(ModeOf(m_path), mode);
        ASSERT_EQ(removexattr(m_folder.Path().c_str(), kListForNewFiles), 0);
    }
}

TEST_F(DurableFileTest, AListThatCannotBeKeptFailsTheSave) {
    SKIP_WITHOUT_LISTS();
    const std::string backupList = BackupList();
    WriteFile(m_path, "old");
    ASSERT_TRUE(GiveList(m_path, backupList));
    {
        const FailingCall failing(Call::kFsetxattr, ENOSPC);
        EXPECT_EQ(FailureToReplace(), m_path + ": keep access list: " + ErrorText(ENOSPC));
    }
    {
        const FailingCall failing(Call::kFgetxattr, EIO, 2, 1);
        const FailingCall tooLong(Call::kFgetxattr, ERANGE);
        EXPECT_EQ(FailureToReplace(), m_path + ": read access list: " + ErrorText(EIO));
    }
    EXPECT_EQ(ReadFile(m_path), "old");
    EXPECT_EQ(ListOf(m_path), backupList);
    EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
    const FailingCall interrupted(Call::kFsetxattr, EINTR, 1, 3);
    Replace();
    EXPECT_EQ(interrupted.Count(), 4);
    EXPECT_EQ(ListOf(m_path), backupList);
}

TEST_F(DurableFileTest, AFileSystemWithoutAccessListsIsNoFailure) {
    for (const int error : {EOPNOTSUPP, ENODATA, ENOSYS}) {
        WriteFile(m_path, "old");
        const FailingCall reading(Call::kFgetxattr, error);
        const FailingCall removing(Call::kFremovexattr, error);
        EXPECT_EQ(FailureToReplace(), "no failure");
        EXPECT_EQ(reading.Count() + removing.Count(), 2);
        EXPECT_EQ(ReadFile(m_path), "new");
    }
}

TEST_F(DurableFileTest, WhatIsChangedDuringASaveIsKept) {
    WriteFile(m_path, "old");
    ASSERT_EQ(chmod(m_path.c_str(), 0644), 0);
    const bool isRoot = geteuid() == 0;
    {
        const CallWatch slow(Call::kFsync, [&](int number) {
            if (number == 1) {
                EXPECT_EQ(chmod(m_path.c_str(), 0600), 0);
                EXPECT_TRUE(!isRoot || chown(m_path.c_str(), 12345, 23456) == 0);
            }
            return 0;
        });
        Replace();
        EXPECT_EQ(slow.Count(), 3) << "the file's, that of another try, the folder's";
    }
    EXPECT_EQ(ReadFile(m_path), "new");
    struct stat status {};
    ASSERT_EQ(stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_EQ(status.st_uid, isRoot ? 12345 : geteuid());
    EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
}

TEST_F(DurableFileTest, AnotherUserOrGroupAloneThatIsGivenDuringASaveIsKept) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may give a file to somebody else";
    }
    WriteFile(m_path, "old");
    const std::pair<uid_t, gid_t> owners[] = {{12345, 0}, {12345, 23456}};
    for (const auto& owner : owners) {
        const CallWatch slow(Call::kFsync, [&](int number) {
            EXPECT_TRUE(number > 1 || chown(m_path.c_str(), owner.first, owner.second) == 0);
            return 0;
        });
        Replace();
        struct stat status {};
        ASSERT_EQ(stat(m_path.c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, owner.first);
        EXPECT_EQ(status.st_gid, owner.second);
    }
}

TEST_F(DurableFileTest, AnAccessListThatIsGivenDuringASaveIsKept) {
    SKIP_WITHOUT_LISTS();
    const std::string backupList = BackupList();
    WriteFile(m_path, "old");
    ASSERT_EQ(chmod(m_path.c_str(), 0640), 0);
    struct timespec soon = {0, 20000000};  // longer than a tick of the file system's clock
    (void)nanosleep(&soon, nullptr);
    const CallWatch slow(Call::kClose, [&](int number) {
        EXPECT_TRUE(number > 1 || GiveList(m_path, backupList));
        return 0;
    });
    Replace();
    EXPECT_EQ(ReadFile(m_path), "new");
    EXPECT_EQ(ListOf(m_path), backupList);
}

TEST_F(DurableFileTest, AFileThatIsChangedAgainAndAgainFailsTheSaveInTheEnd) {
    WriteFile(m_path, "old");
    {
        const CallWatch changing(Call::kFsync, [&](int number) {
            EXPECT_EQ(chmod(m_path.c_str(), number % 2 == 0 ? 0600 : 0640), 0);
            return 0;
        });
        EXPECT_EQ(
            FailureToReplace(),
            m_path + ": keep owner and mode (they change again and again): " + ErrorText(EBUSY));
        EXPECT_EQ(changing.Count(), 9);
    }
    EXPECT_EQ(ReadFile(m_path), "old");
    EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
    EXPECT_TRUE(FilesOpenIn(m_folder.Path()).empty());
}

}  // namespace
