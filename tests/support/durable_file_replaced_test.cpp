#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "support/file_status.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/file_kinds.h"
#include "tests/support/access_lists.h"
#include "tests/support/durable_file_fixture.h"

// A save replaces the file that was loaded, or none.

namespace {

class ReplacedFileTest : public DurableFileTest {
  protected:
    ReplacedFileTest() {
        WriteFile(m_path, "old");
        WriteFile(m_other, "somebody's");
    }

    // Loads `path`, calls `meanwhile`, and saves; the failure's text.
    std::string FailureToSave(const std::string& path, const std::function<void()>& meanwhile) {
        support::FileText text = support::ReadWholeFile(path.c_str(), false);
        meanwhile();
        return FailureOf([&] { support::ReplaceFile(path.c_str(), text.identity, {"new"}); });
    }

    const std::string m_other = m_folder.File("other");
    const std::string m_replaced = m_path + ": save: was replaced meanwhile";
};

TEST(FileStatusTest, AFileIsTheLoadedOneByItsDeviceAndItsInode) {
    support::FileStatus status;
    status.device = 1;
    status.inode = 2;
    EXPECT_TRUE(status.IsOf({1, 2, support::FileDescriptor(-1)}));
    EXPECT_FALSE(status.IsOf({3, 2, support::FileDescriptor(-1)}));
    EXPECT_FALSE(status.IsOf({1, 3, support::FileDescriptor(-1)}));
}

TEST_F(ReplacedFileTest, AFileThatAnotherOneWasRenamedOverIsNotReplaced) {
    const CallWatch creations(Call::kOpenat);
    EXPECT_EQ(FailureToSave(m_path, [&] { std::filesystem::rename(m_other, m_path); }), m_replaced);
    EXPECT_EQ(creations.Count(), 0) << "a temporary file was made";
    EXPECT_EQ(ReadFile(m_path), "somebody's");
    EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
}

TEST_F(ReplacedFileTest, AFileThatWasRemovedAndMadeAnewIsNotReplaced) {
    const auto makeAnew = [&] {
        ASSERT_EQ(unlink(m_path.c_str()), 0);
        WriteFile(m_path, "somebody's");
    };
    EXPECT_EQ(FailureToSave(m_path, makeAnew), m_replaced);
    EXPECT_EQ(ReadFile(m_path), "somebody's");
}

TEST_F(ReplacedFileTest, AFileThatIsReplacedDuringTheSaveStays) {
    for (const Call call :
         {Call::kOpen, Call::kOpenat, Call::kWritev, Call::kFsync, Call::kClose}) {
        WriteFile(m_path, "old");
        WriteFile(m_other, "somebody's");
        const CallWatch during(call, [&](int number) {
            if (number == 1) {
                std::filesystem::rename(m_other, m_path);
            }
            return 0;
        });
        support::FileIdentity loaded = IdentityOf(m_path);
        EXPECT_EQ(FailureOf([&] { support::ReplaceFile(m_path.c_str(), loaded, {"new"}); }),
                  m_replaced);
        EXPECT_EQ(ReadFile(m_path), "somebody's");
        EXPECT_EQ(EntriesOf(m_folder.Path()), m_fileAlone);
    }
}

TEST_F(ReplacedFileTest, AnotherFileIsNotTakenForTheOldOneWhenASecondSaveOpensIt) {
    support::FileIdentity loaded = IdentityOf(m_path);
    loaded.file = support::FileDescriptor(-1);  // as after a first save
    const std::string aside = m_folder.File("aside");
    const CallWatch during(Call::kOpenat, [&](int number) {
        if (number == 1) {
            std::filesystem::rename(m_path, aside);
            std::filesystem::rename(m_other, m_path);
        } else if (number == 2) {  // nobody could tell later
            std::filesystem::rename(m_path, m_other);
            std::filesystem::rename(aside, m_path);
        }
        return 0;
    });
    EXPECT_EQ(FailureOf([&] { support::ReplaceFile(m_path.c_str(), loaded, {"new"}); }),
              m_replaced);
    EXPECT_EQ(ReadFile(aside), "old");
}

TEST_F(ReplacedFileTest, AFileThatIsRemovedDuringTheSaveIsNotMadeAnew) {
    support::FileIdentity loaded = IdentityOf(m_path);
    const CallWatch during(Call::kFsync, [&](int) { return unlink(m_path.c_str()); });
    EXPECT_EQ(FailureOf([&] { support::ReplaceFile(m_path.c_str(), loaded, {"new"}); }),
              m_path + ": stat: " + ErrorText(ENOENT));
    EXPECT_EQ(EntriesOf(m_folder.Path()), std::vector<std::string>{"other"});
}

TEST_F(ReplacedFileTest, ALinkThatLeadsElsewhereMeanwhileReplacesNothing) {
    const std::string link = m_folder.File("link");
    std::filesystem::create_symlink("rc.conf", link);
    const auto lead = [&] {
        std::filesystem::remove(link);
        std::filesystem::create_symlink("other", link);
    };
    EXPECT_EQ(FailureToSave(link, lead), link + ": save: was replaced meanwhile");
    EXPECT_EQ(ReadFile(m_path), "old");
    EXPECT_EQ(ReadFile(m_other), "somebody's");
    EXPECT_EQ(EntriesOf(m_folder.Path()), (std::vector<std::string>{"link", "other", "rc.conf"}));
}

// A base folder that is a link to one of two slots, as devices with two systems have it.
class SlotsTest : public ReplacedFileTest {
  protected:
    SlotsTest() {
        for (const char* slot : {"first", "second"}) {
            std::filesystem::create_directory(m_folder.File(slot));
            WriteFile(FileOf(slot), slot);
        }
        LeadTo("first");
    }

    std::string FileOf(const std::string& slot) const { return m_folder.File(slot + "/rc.conf"); }
    void LeadTo(const char* slot) const {
        std::filesystem::remove(m_folder.File("base"));
        std::filesystem::create_directory_symlink(slot, m_folder.File("base"));
    }
    void ExpectBothAsTheyWere() const {
        for (const char* slot : {"first", "second"}) {
            EXPECT_EQ(ReadFile(FileOf(slot)), slot);
            EXPECT_EQ(EntriesOf(m_folder.File(slot)), m_fileAlone);
        }
    }

    const std::string m_file = m_folder.File("base/rc.conf");
};

TEST_F(SlotsTest, OneSlotsFileIsNotWrittenOverTheOthers) {
    EXPECT_EQ(FailureToSave(m_file, [&] { LeadTo("second"); }),
              m_file + ": save: was replaced meanwhile");
    ExpectBothAsTheyWere();
}

TEST_F(SlotsTest, ASwitchRightBeforeTheFolderIsOpenedIsSeenToo) {
    support::FileText text = support::ReadWholeFile(m_file.c_str(), false);
    const CallWatch opening(Call::kOpen, [&](int) {
        LeadTo("second");
        return 0;
    });
    EXPECT_EQ(FailureOf([&] { support::ReplaceFile(m_file.c_str(), text.identity, {"new"}); }),
              m_file + ": save: was replaced meanwhile");
    EXPECT_EQ(opening.Count(), 1);
    ExpectBothAsTheyWere();
}

TEST_F(ReplacedFileTest, AFileIsSavedAgainAndAgainByWhoHasLoadedIt) {
    ASSERT_EQ(chmod(m_path.c_str(), 0640), 0);
    support::FileText text = support::ReadWholeFile(m_path.c_str(), false);
    for (const char* saved : {"1", "2", "3"}) {
        support::ReplaceFile(m_path.c_str(), text.identity, {saved});
        EXPECT_EQ(ReadFile(m_path), saved);
        EXPECT_EQ(ModeOf(m_path), 0640U);
        EXPECT_EQ(text.identity.inode, InodeOf(m_path));
    }
    std::filesystem::rename(m_other, m_path);
    EXPECT_EQ(FailureOf([&] { support::ReplaceFile(m_path.c_str(), text.identity, {"4"}); }),
              m_replaced);
    EXPECT_EQ(ReadFile(m_path), "somebody's");
}

TEST_F(ReplacedFileTest, ASecondSaveKeepsTheAccessListAsItIsThen) {
    support::FileText text = support::ReadWholeFile(m_path.c_str(), false);
    support::ReplaceFile(m_path.c_str(), text.identity, {"1"});
    const std::string list = BackupList();
    if (!GiveList(m_path, list)) {
        GTEST_SKIP() << "the file system of the tests has no access lists";
    }
    support::ReplaceFile(m_path.c_str(), text.identity, {"2"});
    EXPECT_EQ(ListOf(m_path), list);
    EXPECT_EQ(ReadFile(m_path), "2");
}

TEST_F(ReplacedFileTest, ASecondSaveThatCannotOpenTheFileFails) {
    support::FileText text = support::ReadWholeFile(m_path.c_str(), false);
    support::ReplaceFile(m_path.c_str(), text.identity, {"1"});
    {
        const FailingCall failing(Call::kOpenat, EMFILE);
        EXPECT_EQ(FailureOf([&] { support::ReplaceFile(m_path.c_str(), text.identity, {"2"}); }),
                  m_path + ": open: " + ErrorText(EMFILE));
    }
    {
        const FailingCall failing(Call::kFstat, EIO);
        EXPECT_EQ(FailureOf([&] { support::ReplaceFile(m_path.c_str(), text.identity, {"2"}); }),
                  m_path + ": open: " + ErrorText(EIO));
    }
    EXPECT_EQ(ReadFile(m_path), "1");
    EXPECT_TRUE(FilesOpenIn(m_folder.Path()).empty());
    support::ReplaceFile(m_path.c_str(), text.identity, {"3"});
    EXPECT_EQ(ReadFile(m_path), "3");
}

TEST_F(ReplacedFileTest, AfterTheRenameTheNewFileIsTheLoadedOneAlsoWhenTheFoldersSyncFails) {
    support::FileText text = support::ReadWholeFile(m_path.c_str(), false);
    {
        const FailingCall failing(Call::kFsync, EIO, 2);
        EXPECT_NE(FailureOf([&] { support::ReplaceFile(m_path.c_str(), text.identity, {"1"}); }),
                  "no failure");
    }
    support::ReplaceFile(m_path.c_str(), text.identity, {"2"});
    EXPECT_EQ(ReadFile(m_path), "2");
}

}  // namespace
