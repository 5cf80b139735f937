#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <thread>

#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/operation_table.h"

namespace {

// What all operations have in common, tried on each of them.
class FramePromisesTest : public DeviceFixture {
  protected:
    FramePromisesTest() { WriteFiles(); }

    void WriteFiles() const {
        WriteDatabase(kOperationDatabase);
        WriteStartFile(kOperationStartFile);
    }

    std::string PathOf(const Operation& operation) const {
        return operation.UsesDatabase() ? DatabasePath() : StartFilePath();
    }

    // Calls each operation on the files of the table, or on what `prepare` makes of them. Checks
    // that the lock is free afterwards.
    void ForEach(const std::function<void(const Operation&)>& check) {
        for (const Operation& operation : Operations()) {
            SCOPED_TRACE(operation.name);
            std::remove(DatabasePath().c_str());
            std::remove(StartFilePath().c_str());
            WriteFiles();
            (void)NewLogText();
            check(operation);
            EXPECT_FALSE(IsLockHeldHere());
        }
    }

    // Calls `operation`, which is to fail with one ERROR line after its progress line.
    void ExpectFailure(const Operation& operation, const std::string& cause) {
        EXPECT_EQ(operation.call(config), operation.failureToOpen);
        EXPECT_EQ(NewLogText(), operation.progress + ("ERROR: " + cause + " \n"));
    }
};

TEST_F(FramePromisesTest, EachOperationAnswersAndLogsItsProgressLineOnly) {
    ForEach([&](const Operation& operation) {
        EXPECT_EQ(operation.call(config), operation.answer);
        EXPECT_EQ(NewLogText(), operation.progress);
    });
}

TEST_F(FramePromisesTest, WithoutALoggerTheResultsAreTheSameAndNothingIsLogged) {
    CSIPTrunkConfig silent(nullptr);
    ForEach([&](const Operation& operation) {
        const FixedClock clock(kMoment, 0);
        EXPECT_EQ(operation.call(config), operation.answer);
        const std::string withLogger = ReadFile(PathOf(operation));
        WriteFiles();
        (void)NewLogText();

        EXPECT_EQ(operation.call(silent), operation.answer);
        EXPECT_EQ(ReadFile(PathOf(operation)), withLogger);
        EXPECT_EQ(NewLogText(), "");
    });
}

TEST_F(FramePromisesTest, WithoutALoggerAFailureGivesTheSameResult) {
    CSIPTrunkConfig silent(nullptr);
    ForEach([&](const Operation& operation) {
        WriteFile(PathOf(operation), "section {\n");
        const FailingCall failing(Call::kOpen, EIO);
        EXPECT_EQ(operation.call(silent), operation.failureToOpen);
        EXPECT_EQ(NewLogText(), "");
    });
}

TEST_F(FramePromisesTest, ReadingLeavesTheFileAndItsInodeAsTheyAre) {
    ForEach([&](const Operation& operation) {
        const std::string path = PathOf(operation);
        const std::string text = ReadFile(path);
        const ino_t inode = InodeOf(path);
        EXPECT_EQ(operation.call(config), operation.answer);
        if (operation.Saves()) {
            EXPECT_NE(InodeOf(path), inode);
            EXPECT_NE(ReadFile(path), text);
        } else {
            EXPECT_EQ(InodeOf(path), inode);
            EXPECT_EQ(ReadFile(path), text);
        }
    });
}

TEST_F(FramePromisesTest, OnlyTheOwnFileIsTouched) {
    ForEach([&](const Operation& operation) {
        const std::string other = operation.UsesDatabase() ? StartFilePath() : DatabasePath();
        std::remove(other.c_str());
        EXPECT_EQ(operation.call(config), operation.answer);
        EXPECT_EQ(EntriesOf(File("telephony")).size(), operation.UsesDatabase() ? 1U : 0U);
        EXPECT_EQ(EntriesOf(File("sysconfig")).size(), operation.UsesDatabase() ? 0U : 1U);
    });
}

TEST_F(FramePromisesTest, AMissingFileIsAFailureOrIsCreatedByTheTwoThatMayAddASection) {
    int creating = 0;
    ForEach([&](const Operation& operation) {
        const std::string path = PathOf(operation);
        std::remove(path.c_str());
        if (operation.Creates()) {
            ++creating;
            EXPECT_EQ(operation.call(config), operation.answer);
            EXPECT_EQ(ModeOf(path), 0600U);
            EXPECT_EQ(NewLogText(), operation.progress);
        } else {
            ExpectFailure(operation, path + ": open: No such file or directory");
            EXPECT_NE(access(path.c_str(), F_OK), 0);
        }
    });
    EXPECT_EQ(creating, 2);
}

TEST_F(FramePromisesTest, AMissingFolderIsAFailureAndIsNotCreated) {
    ForEach([&](const Operation& operation) {
        const EnvironmentValue elsewhere("QORV_PATH", File("nowhere/").c_str());
        ExpectFailure(operation, File(operation.UsesDatabase() ? "nowhere/telephony/siptrunkdb"
                                                               : "nowhere/sysconfig/rc.conf") +
                                     ": open: No such file or directory");
        EXPECT_NE(access(File("nowhere").c_str(), F_OK), 0);
    });
}

TEST_F(FramePromisesTest, AMalformedDatabaseIsAFailureThatNamesTheLineAndStaysAsItIs) {
    const std::string text = "section {\ntrunk_name=office\n}\nsection {\nnonsense\n}\n";
    ForEach([&](const Operation& operation) {
        if (!operation.UsesDatabase()) {
            return;
        }
        WriteDatabase(text);
        const ino_t inode = InodeOf(DatabasePath());
        ExpectFailure(operation, DatabasePath() + ":5: entry without \"=\"");
        EXPECT_EQ(DatabaseText(), text);
        EXPECT_EQ(InodeOf(DatabasePath()), inode);
    });
}

TEST_F(FramePromisesTest, AFileThatCannotBeReadIsAFailureAndStaysAsItIs) {
    ForEach([&](const Operation& operation) {
        const std::string path = PathOf(operation);
        const std::string text = ReadFile(path);
        {
            const FailingCall failing(Call::kOpen, EACCES);
            ExpectFailure(operation, path + ": open: Permission denied");
        }
        {
            const FailingCall failing(Call::kRead, EIO);
            ExpectFailure(operation, path + ": read: " + ErrorText(EIO));
        }
        EXPECT_EQ(ReadFile(path), text);
    });
}

TEST_F(FramePromisesTest, AFolderInTheFilesPlaceIsAFailure) {
    ForEach([&](const Operation& operation) {
        const std::string path = PathOf(operation);
        std::remove(path.c_str());
        ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
        ExpectFailure(operation, path + ": open: Is a directory");
        ASSERT_EQ(rmdir(path.c_str()), 0);
    });
}

TEST_F(FramePromisesTest, AFifoInTheFilesPlaceIsAFailureThatDoesNotWait) {
    ForEach([&](const Operation& operation) {
        const std::string path = PathOf(operation);
        std::remove(path.c_str());
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        ExpectFailure(operation,
                      path + ": open (a FIFO or device, not a regular file): Invalid argument");
    });
}

TEST_F(FramePromisesTest, ALockThatIsRefusedIsAFailureAfterTheProgressLineAndBeforeTheFile) {
    ForEach([&](const Operation& operation) {
        const FailingCall refused(Call::kSemop, ENOMEM, 1, FailingCall::kAlways);
        const CallWatch opened(Call::kOpen);
        EXPECT_EQ(operation.call(config), operation.failure);
        EXPECT_EQ(opened.Count(), 0);
        EXPECT_EQ(refused.Count(), 1);  // what was not taken is not released
        EXPECT_EQ(NewLogText(), std::string(operation.progress) +
                                    ("ERROR: lock 43:/bin/ls: take: " + ErrorText(ENOMEM) + " \n"));
    });
}

TEST_F(FramePromisesTest, TheFileIsOpenedSavedAndClosedUnderTheLock) {
    ForEach([&](const Operation& operation) {
        int opened = 0;
        int saved = 0;
        const auto count = [](int& calls) {
            return [&calls](int /*number*/) {
                EXPECT_TRUE(IsLockHeldHere());
                ++calls;
                return 0;
            };
        };
        const bool closesLater = operation.name == std::string("CheckTrunk");  // that one alone
        const CallWatch opening(Call::kOpen, count(opened));
        const CallWatch renaming(Call::kRenameat, count(saved));
        const CallWatch closing(Call::kClose, [&](int /*number*/) {
            EXPECT_NE(IsLockHeldHere(), closesLater);
            return 0;
        });
        EXPECT_EQ(operation.call(config), operation.answer);
        EXPECT_GE(opened, 1);
        EXPECT_EQ(saved, operation.Saves() ? 1 : 0);
    });
}

TEST_F(FramePromisesTest, LinesAreWrittenWithoutTheLock) {
    ForEach([&](const Operation& operation) {
        WriteFile(PathOf(operation), "section {\n");
        const FailingCall failing(Call::kOpen, EIO);
        int written = 0;
        const CallWatch writing(Call::kWrite, [&](int /*number*/) {
            EXPECT_FALSE(IsLockHeldHere());
            ++written;
            return 0;
        });
        EXPECT_EQ(operation.call(config), operation.failureToOpen);
        EXPECT_EQ(written, *operation.progress != '\0' ? 2 : 1);
    });
}

TEST_F(FramePromisesTest, AFailedSaveIsAFailureAndLeavesTheOldFile) {
    ForEach([&](const Operation& operation) {
        if (!operation.Saves()) {
            return;
        }
        const std::string path = PathOf(operation);
        const std::string text = ReadFile(path);
        const ino_t inode = InodeOf(path);
        const FailingCall full(Call::kFsync, ENOSPC);
        const std::string result = operation.call(config);
        EXPECT_EQ(result.substr(0, 5), "false");
        EXPECT_EQ(NewLogText(),
                  operation.progress + ("ERROR: " + path + ": sync: No space left on device \n"));
        EXPECT_EQ(ReadFile(path), text);
        EXPECT_EQ(InodeOf(path), inode);
    });
}

TEST_F(FramePromisesTest, ALogOnAFullDiskChangesNoResult) {
    CSIPTrunkLogger full("/dev/full");
    CSIPTrunkConfig logsInVain(&full);
    ForEach([&](const Operation& operation) {
        const FixedClock clock(kMoment, 0);
        EXPECT_EQ(operation.call(config), operation.answer);
        const std::string withLog = ReadFile(PathOf(operation));
        WriteFiles();

        EXPECT_EQ(operation.call(logsInVain), operation.answer);
        EXPECT_EQ(ReadFile(PathOf(operation)), withLog);
        WriteFile(PathOf(operation), "section {\n");
        const FailingCall failing(Call::kOpen, EIO);
        EXPECT_EQ(operation.call(logsInVain), operation.failureToOpen);
    });
}

TEST_F(FramePromisesTest, OneObjectServesAnyNumberOfCallsAndForgetsFailures) {
    for (int round = 0; round < 3; ++round) {
        ForEach([&](const Operation& operation) {
            {
                const FailingCall refused(Call::kSemop, ENOMEM);
                EXPECT_EQ(operation.call(config), operation.failure);
            }
            {
                const FailingCall failing(Call::kOpen, EIO);
                EXPECT_EQ(operation.call(config), operation.failureToOpen);
            }
            EXPECT_EQ(operation.call(config), operation.answer);
        });
    }
}

TEST_F(FramePromisesTest, EachCallReadsTheBaseDirectoryAnew) {
    for (const char* folder : {"other", "other/telephony", "other/sysconfig"}) {
        ASSERT_EQ(mkdir(File(folder).c_str(), 0700), 0);
    }
    ForEach([&](const Operation& operation) {
        WriteFile(File("other/telephony/siptrunkdb"), kOperationDatabase);
        WriteFile(File("other/sysconfig/rc.conf"), kOperationStartFile);
        std::remove(PathOf(operation).c_str());
        const EnvironmentValue moved("QORV_PATH", File("other/").c_str());
        EXPECT_EQ(operation.call(config), operation.answer);
    });
}

TEST_F(FramePromisesTest, ABaseDirectoryWithoutASlashAtItsEndRunsIntoTheFoldersName) {
    ASSERT_EQ(mkdir(File("basetelephony").c_str(), 0700), 0);
    ASSERT_EQ(mkdir(File("basesysconfig").c_str(), 0700), 0);
    ForEach([&](const Operation& operation) {
        WriteFile(File("basetelephony/siptrunkdb"), kOperationDatabase);
        WriteFile(File("basesysconfig/rc.conf"), kOperationStartFile);
        std::remove(PathOf(operation).c_str());
        const EnvironmentValue joined("QORV_PATH", File("base").c_str());
        EXPECT_EQ(operation.call(config), operation.answer);
    });
}

// A thread's body: cancels itself where `operation` puts the new file in place or, when it does not
// save, where it closes the file, and reaches another cancellation point after the operation.
struct Canceled {
    const Operation* operation;
    CSIPTrunkConfig* config;
    std::string result;

    static void* Run(void* argument) {
        auto& self = *static_cast<Canceled*>(argument);
        const Call call = self.operation->Saves() ? Call::kRenameat : Call::kClose;
        const CallWatch watch(call, [](int number) {
            if (number == 1) {
                pthread_cancel(pthread_self());
            }
            return 0;
        });
        self.result = self.operation->call(*self.config);
        pthread_testcancel();
        return nullptr;
    }
};

TEST_F(FramePromisesTest, ACanceledThreadFinishesItsOperationAndReleasesTheLock) {
    CSIPTrunkConfig silent(nullptr);  // writing a line would be a cancellation point too
    ForEach([&](const Operation& operation) {
        const ino_t inode = InodeOf(PathOf(operation));
        Canceled canceled{&operation, &silent, ""};
        pthread_t thread{};
        ASSERT_EQ(pthread_create(&thread, nullptr, Canceled::Run, &canceled), 0);
        void* end = nullptr;
        ASSERT_EQ(pthread_join(thread, &end), 0);
        EXPECT_EQ(end, PTHREAD_CANCELED);
        EXPECT_EQ(canceled.result, operation.answer);
        EXPECT_EQ(InodeOf(PathOf(operation)) != inode, operation.Saves());
    });
}

TEST_F(FramePromisesTest, AnotherThreadGetsTheLockAfterEachFailure) {
    ForEach([&](const Operation& operation) {
        {
            const FailingCall failing(Call::kOpen, EIO);
            EXPECT_EQ(operation.call(config), operation.failureToOpen);
        }
        std::string answer;
        std::thread([&] { answer = operation.call(config); }).join();
        EXPECT_EQ(answer, operation.answer);
    });
}

}  // namespace
