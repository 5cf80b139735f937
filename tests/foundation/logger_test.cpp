#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <sstream>
#include <system_error>
#include <thread>

#include "include/raiklaik.h"
#include "tests/fixture/canceled_thread.h"
#include "tests/fixture/child_process.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"

namespace {

// 12:00:00 in the time zone of the fixture.
constexpr std::time_t kNoon = 1709802000;

class LoggerTest : public DeviceFixture {
  protected:
    std::string LogPath() const { return File("trace"); }
    std::string LogText() const { return ReadFile(LogPath()); }
};

TEST_F(LoggerTest, TheSecondMessageOfASecondGetsABlankedPrefixWithItsOwnMilliseconds) {
    CSIPTrunkLogger log(LogPath().c_str());
    const unsigned short moments[] = {0, 42, 42, 7, 999};
    for (const unsigned short milliseconds : moments) {
        const FixedClock clock(kMoment, milliseconds);
        log.TRACE(3, "line\n");
    }
    EXPECT_EQ(LogText(),
              "09:05:31.000  line\n"
              "        .042  line\n"
              "        .042  line\n"
              "        .007  line\n"
              "        .999  line\n");
}

TEST_F(LoggerTest, ANewSecondGetsAFullPrefixHoweverCloseItIs) {
    CSIPTrunkLogger log(LogPath().c_str());
    {
        const FixedClock clock(kNoon, 999);
        log.TRACE(3, "before\n");
    }
    const FixedClock clock(kNoon + 1, 0);
    log.TRACE(3, "after\n");
    EXPECT_EQ(LogText(), "12:00:00.999  before\n12:00:01.000  after\n");
}

TEST_F(LoggerTest, AMessageAMinuteAnHourOrADayLaterGetsAFullPrefix) {
    CSIPTrunkLogger log(LogPath().c_str());
    for (const std::time_t later : {0, 60, 3600, 86400}) {
        const FixedClock clock(kNoon + later, 5);
        log.TRACE(3, "line\n");
    }
    EXPECT_EQ(LogText(),
              "12:00:00.005  line\n12:01:00.005  line\n13:00:00.005  line\n12:00:00.005  line\n");
}

TEST_F(LoggerTest, HoursCountTo23) {
    CSIPTrunkLogger log(LogPath().c_str());
    for (const std::time_t later : {7200, 43199, 43200}) {
        const FixedClock clock(kNoon + later, 5);
        log.TRACE(3, "line\n");
    }
    EXPECT_EQ(LogText(), "14:00:00.005  line\n23:59:59.005  line\n00:00:00.005  line\n");
}

TEST_F(LoggerTest, NoLineWaitsForTheDisk) {
    const CallWatch data(Call::kFdatasync);
    const CallWatch all(Call::kFsync);
    CSIPTrunkLogger(LogPath().c_str()).TRACE(3, "line\n");
    EXPECT_EQ(data.Count(), 0);
    EXPECT_EQ(all.Count(), 0);
}

TEST_F(LoggerTest, TheLogGrowsTo2147483647BytesAndThenStartsAnew) {
    constexpr off_t kLargest = 2147483647;
    const std::string line = "09:05:31.000  line\n";
    const FixedClock clock(kMoment, 0);
    WriteFile(LogPath(), "");
    const auto size = static_cast<off_t>(line.size());
    for (const off_t before : {kLargest - size, kLargest - size + 1}) {
        // Without content, which takes no room on the disk.
        ASSERT_EQ(truncate(LogPath().c_str(), before), 0);
        CSIPTrunkLogger(LogPath().c_str()).TRACE(3, "line\n");
        struct stat status {};
        ASSERT_EQ(stat(LogPath().c_str(), &status), 0);
        EXPECT_EQ(status.st_size, before + size <= kLargest ? kLargest : size);
    }
    EXPECT_EQ(LogText(), line);
}

TEST_F(LoggerTest, ACanceledThreadMakesItsCallsToTheEnd) {
    CSIPTrunkLogger shared(LogPath().c_str());
    EXPECT_TRUE(EndsBeforeItsCanceledThread([&] {
        const FixedClock clock(kMoment, 0);
        {
            // Where the C library may look for a cancellation while a line is made.
            const CallWatch making(Call::kNew, [](int /*number*/) {
                pthread_testcancel();
                return 0;
            });
            shared.TRACE(3, "shared %020d\n", 7);
            EXPECT_GT(making.Count(), 0);
        }
        CSIPTrunkLogger(LogPath().c_str()).TRACE(3, "own\n");
    }));
    const FixedClock clock(kMoment, 1);
    shared.TRACE(3, "after\n");
    EXPECT_EQ(
        LogText(),
        "09:05:31.000  shared 00000000000000000007\n09:05:31.000  own\n        .001  after\n");
}

TEST_F(LoggerTest, AClockThatGoesBackGetsAFullPrefixToo) {
    CSIPTrunkLogger log(LogPath().c_str());
    for (const std::time_t second : {kNoon, kNoon - 1, kNoon}) {
        const FixedClock clock(second, 5);
        log.TRACE(3, "line\n");
    }
    EXPECT_EQ(LogText(), "12:00:00.005  line\n11:59:59.005  line\n12:00:00.005  line\n");
}

TEST_F(LoggerTest, TheFirstLineOfALoggerHasAFullPrefixEvenInSecondZero) {
    const FixedClock clock(0, 8);
    CSIPTrunkLogger log(LogPath().c_str());
    log.TRACE(3, "first\n");
    log.TRACE(3, "second\n");
    EXPECT_EQ(LogText(), "03:00:00.008  first\n        .008  second\n");
}

TEST_F(LoggerTest, ThePrefixHas14Characters) {
    CSIPTrunkLogger log(LogPath().c_str());
    const FixedClock clock(kMoment, 42);
    EXPECT_EQ(log.FormatTime(), "09:05:31.042  ");
    EXPECT_EQ(log.FormatTime(), "        .042  ");
}

TEST_F(LoggerTest, MessagesOfEveryLevelAreWrittenWithTheSamePrefix) {
    constexpr unsigned char kLevels[] = {1, 3, 0, 255};
    for (const unsigned char level : kLevels) {
        CSIPTrunkLogger log(LogPath().c_str());
        const FixedClock clock(kMoment, 0);
        log.TRACE(level, "level %d\n", level);
    }
    EXPECT_EQ(LogText(),
              "09:05:31.000  level 1\n"
              "09:05:31.000  level 3\n"
              "09:05:31.000  level 0\n"
              "09:05:31.000  level 255\n");
}

TEST_F(LoggerTest, FormatsWithAndWithoutArgumentsAreCarriedOut) {
    CSIPTrunkLogger log(LogPath().c_str());
    const FixedClock clock(kMoment, 0);
    log.TRACE(3, "plain, 100%%\n");
    log.TRACE(3, "INFO:SIP Trunk: Set %s@%s:%s slave registration params in siptrunkdb... \n",
              "user", "10.0.0.1", "5060");
    log.TRACE(1, "%c %5d %-4s| %lld %zu\n", 'c', 42, "x", -1LL, static_cast<std::size_t>(7));
    EXPECT_EQ(LogText(),
              "09:05:31.000  plain, 100%\n"
              "        .000  INFO:SIP Trunk: Set user@10.0.0.1:5060 slave registration params in "
              "siptrunkdb... \n"
              "        .000  c    42 x   | -1 7\n");
}

TEST_F(LoggerTest, ThePrefixIsLocalTimeInTheZoneOfTheEnvironment) {
    CSIPTrunkLogger log(LogPath().c_str());
    const EnvironmentValue zone("TZ", "ABC+02:30");
    const FixedClock clock(kMoment, 0);
    log.TRACE(3, "line\n");
    EXPECT_EQ(LogText(), "03:35:31.000  line\n");
}

TEST_F(LoggerTest, ALongMessageIsWrittenWholeInOneWrite) {
    CSIPTrunkLogger log(LogPath().c_str());
    const FixedClock clock(kMoment, 0);
    const std::string text(100000, 'x');
    const CallWatch written(Call::kWrite);
    log.TRACE(3, "%s\n", text.c_str());
    EXPECT_EQ(written.Count(), 1);
    EXPECT_EQ(LogText(), "09:05:31.000  " + text + "\n");
}

TEST_F(LoggerTest, AControlCharacterInAMessageIsWrittenAsItsCode) {
    CSIPTrunkLogger log(LogPath().c_str());
    const FixedClock clock(kMoment, 0);
    log.TRACE(3, "%s\n", "a\nb\tc\x1b[1m\x7f\xc3\xa9");
    EXPECT_EQ(LogText(), "09:05:31.000  a\\x0ab\\x09c\\x1b[1m\\x7f\xc3\xa9\n");
}

TEST_F(LoggerTest, AnotherLoggerAppendsToTheSameFile) {
    const FixedClock clock(kMoment, 0);
    WriteFile(LogPath(), "old\n");
    CSIPTrunkLogger first(LogPath().c_str());
    CSIPTrunkLogger second(LogPath().c_str());
    first.TRACE(3, "a\n");
    second.TRACE(3, "b\n");
    first.TRACE(3, "c\n");
    EXPECT_EQ(LogText(), "old\n09:05:31.000  a\n09:05:31.000  b\n        .000  c\n");
}

TEST_F(LoggerTest, ALogThatCannotBeOpenedLeavesTheConstructorAsAnExceptionThatNamesIt) {
    const std::string path = File("missing/log");
    try {
        const CSIPTrunkLogger log(path.c_str());
        FAIL() << "it was opened";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code().value(), ENOENT);
        EXPECT_NE(std::string(failure.what()).find(path), std::string::npos);
    }
}

TEST_F(LoggerTest, AFullDiskLosesNoLineThatFitsTheBuffer) {
    CSIPTrunkLogger log(LogPath().c_str());
    const FixedClock clock(kMoment, 0);
    {
        const FailingCall full(Call::kWrite, ENOSPC, 1, FailingCall::kAlways);
        log.TRACE(3, "kept\n");
    }
    log.TRACE(3, "next\n");
    EXPECT_EQ(LogText(), "09:05:31.000  kept\n        .000  next\n");
}

TEST_F(LoggerTest, AMessageThatCannotBeMadeLeavesTheLoggerUsable) {
    CSIPTrunkLogger log(LogPath().c_str());
    const FixedClock clock(kMoment, 0);
    const std::string text(10000, 'x');
    for (int first = 1; first <= 2; ++first) {
        const FailingCall failing(Call::kNew, ENOMEM, first);
        EXPECT_THROW(log.TRACE(3, "%s\n", text.c_str()), std::bad_alloc) << first;
    }
    std::thread([&] { log.TRACE(3, "last\n"); }).join();
    const std::string written = LogText();
    EXPECT_EQ(written.substr(written.size() - 5), "last\n");
}

std::vector<std::string> SortedMessages(const std::string& log) {
    std::istringstream lines(WithoutTimePrefixes(log));
    std::vector<std::string> messages;
    for (std::string line; std::getline(lines, line);) {
        messages.push_back(line);
    }
    std::sort(messages.begin(), messages.end());
    return messages;
}

// Messages of several writers, each `count` lines of its own.
std::vector<std::string> ExpectedMessages(int writers, int count) {
    std::vector<std::string> messages;
    for (int writer = 0; writer < writers; ++writer) {
        for (int i = 0; i < count; ++i) {
            messages.push_back("writer " + std::to_string(writer) + " line " + std::to_string(i));
        }
    }
    std::sort(messages.begin(), messages.end());
    return messages;
}

void WriteMessages(CSIPTrunkLogger& log, int writer, int count) {
    for (int i = 0; i < count; ++i) {
        log.TRACE(3, "writer %d line %d\n", writer, i);
    }
}

TEST_F(LoggerTest, LinesOfSeveralThreadsNeverMix) {
    CSIPTrunkLogger log(LogPath().c_str());
    std::vector<std::thread> threads;
    for (int writer = 0; writer < 4; ++writer) {
        threads.emplace_back([&log, writer] { WriteMessages(log, writer, 500); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(SortedMessages(LogText()), ExpectedMessages(4, 500));
}

TEST_F(LoggerTest, LinesOfSeveralProcessesNeverMix) {
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (int writer = 0; writer < 4; ++writer) {
        children.push_back(std::make_unique<ChildProcess>([this, writer] {
            CSIPTrunkLogger log(LogPath().c_str());
            WriteMessages(log, writer, 500);
        }));
    }
    for (const auto& child : children) {
        EXPECT_EQ(child->Wait(), 0);
    }
    EXPECT_EQ(SortedMessages(LogText()), ExpectedMessages(4, 500));
}

}  // namespace
