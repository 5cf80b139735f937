#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <new>
#include <random>
#include <sstream>
#include <thread>

#include "tests/faults/disturbed_calls.h"
#include "tests/fixture/child_process.h"
#include "tests/fixture/device_fixture.h"

// Eight processes write without end, and are killed at random. Each writes rising numbers into a
// trunk of its own, and notes each number before and after, in memory that survives it.

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kWriters = 8;
constexpr int kDefaultSeconds = 1;
constexpr unsigned kHolders = 50;

struct Progress {
    std::atomic<unsigned> begun{0};  // the last number whose store was begun
    std::atomic<unsigned> done{0};   // the last number whose store was acknowledged
};
using AllProgress = std::array<Progress, kWriters>;

std::string NameOf(std::size_t writer) { return "writer" + std::to_string(writer); }

CSIPTrunkBase::STParamsRecord RecordOf(std::size_t writer, unsigned number) {
    CSIPTrunkBase::STParamsRecord record;
    record.trunk_name = NameOf(writer);
    record.trunk_type = "1";
    record.user_name = record.password = record.remote_ip = record.remote_port =
        std::to_string(number);
    return record;
}

// The text of a writer's trunk.
std::string SectionOf(std::size_t writer, unsigned number) {
    const std::string text = std::to_string(number);
    return "section {\ntrunk_name=" + NameOf(writer) + "\ntrunk_type=1\nuser_name=" + text +
           "\npassword=" + text + "\nmaster_ip=" + text + "\nmaster_port=" + text +
           "\nregistration_status=0\n}\n";
}

[[noreturn]] void WriteWithoutEnd(std::size_t writer, Progress& progress) {
    CSIPTrunkConfig service(nullptr);
    for (unsigned number = progress.begun + 1;; ++number) {
        CSIPTrunkBase::STParamsRecord record = RecordOf(writer, number);
        progress.begun = number;
        if (!service.SetSIPTrunkParams(NameOf(writer), record, false)) {
            _exit(1);
        }
        progress.done = number;
    }
}

class KilledWriters : public DeviceFixture {
  protected:
    KilledWriters() {
        void* memory = mmap(nullptr, sizeof(AllProgress), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        m_progress = new (memory) AllProgress;
        std::string text;
        for (std::size_t writer = 0; writer < kWriters; ++writer) {
            text += SectionOf(writer, 0);
        }
        WriteDatabase(text);
    }
    ~KilledWriters() override { (void)munmap(m_progress, sizeof(AllProgress)); }

    void Start(std::size_t writer) {
        const pid_t parent = getpid();
        m_processes.at(writer) = fork();
        ASSERT_NE(m_processes.at(writer), -1);
        if (m_processes.at(writer) == 0) {
            EndWithParent(parent);
            WriteWithoutEnd(writer, m_progress->at(writer));
        }
    }

    void Kill(std::size_t writer) {
        ASSERT_GT(m_processes.at(writer), 0);  // -1 would be every process there is
        ASSERT_EQ(kill(m_processes.at(writer), SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(waitpid(m_processes.at(writer), &status, 0), m_processes.at(writer));
        // One that ended by itself could not store.
        EXPECT_TRUE(WIFSIGNALED(status));
        const Progress& progress = m_progress->at(writer);
        m_killsInAStore += progress.begun != progress.done ? 1 : 0;
        ++m_kills;
    }

    // The file is one whole state, with every acknowledged number or a later one.
    void CheckFile() {
        std::array<unsigned, kWriters> least{};
        for (std::size_t writer = 0; writer < kWriters; ++writer) {
            least.at(writer) = m_progress->at(writer).done;
        }
        const std::string text = DatabaseText();
        std::string expected;
        for (std::size_t writer = 0; writer < kWriters; ++writer) {
            const unsigned number = NumberIn(text, writer);
            EXPECT_GE(number, least.at(writer)) << NameOf(writer);
            m_lost += number < least.at(writer) ? 1 : 0;
            EXPECT_LE(number, m_progress->at(writer).begun) << NameOf(writer);
            expected += SectionOf(writer, number);
        }
        EXPECT_EQ(text, expected);
    }

    unsigned DoneByAll() const {
        unsigned sum = 0;
        for (const Progress& progress : *m_progress) {
            sum += progress.done;
        }
        return sum;
    }

    // The lock of a killed process is free: the others go on.
    void AwaitProgress() const {
        const unsigned before = DoneByAll();
        while (DoneByAll() == before) {
            std::this_thread::yield();
        }
    }

    unsigned Kills() const { return m_kills; }
    unsigned KillsInAStore() const { return m_killsInAStore; }
    unsigned Lost() const { return m_lost; }

  private:
    static unsigned NumberIn(const std::string& text, std::size_t writer) {
        const std::string before = "=" + NameOf(writer) + "\ntrunk_type=1\nuser_name=";
        const std::size_t place = text.find(before);
        EXPECT_NE(place, std::string::npos) << text;
        return place == std::string::npos ? 0
                                          : static_cast<unsigned>(std::strtoul(
                                                text.c_str() + place + before.size(), nullptr, 10));
    }

    AllProgress* m_progress;
    std::array<pid_t, kWriters> m_processes{};
    unsigned m_kills = 0;
    unsigned m_killsInAStore = 0;
    unsigned m_lost = 0;
};

class KilledHolder : public DeviceFixture {
  protected:
    KilledHolder() { WriteStartFile(""); }

    // Starts a process that goes to sleep in the midst of an operation, under the lock.
    static pid_t StartHolder() {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe(ends.data()), 0);
        const pid_t parent = getpid();
        const pid_t holder = fork();
        if (holder == 0) {
            EndWithParent(parent);
            HoldForEver(ends[1]);
        }
        char taken = 0;
        EXPECT_EQ(read(ends[0], &taken, 1), 1);
        EXPECT_EQ(close(ends[0]) + close(ends[1]), 0);
        return holder;
    }

  private:
    [[noreturn]] static void HoldForEver(int toTell) {
        CSIPTrunkConfig service(nullptr);
        const DisturbedCalls* watch = nullptr;
        const DisturbedCalls calls({}, [&] {
            if (watch->LocksHeld() > 0) {
                (void)!write(toTell, "", 1);
                pause();
            }
        });
        watch = &calls;
        (void)service.LoadAgentStatus();
        _exit(1);
    }
};

std::chrono::seconds Duration() {
    const char* seconds = std::getenv("RAIKLAIK_KILL_SECONDS");
    return std::chrono::seconds(seconds != nullptr ? std::atoi(seconds) : kDefaultSeconds);
}

}  // namespace

TEST_F(KilledWriters, LoseNoAcknowledgedChangeTearNothingAndLeaveTheLockFree) {
    const unsigned seed = std::random_device()();
    std::cout << "seed " << seed << std::endl;
    std::mt19937 random(seed);
    for (std::size_t writer = 0; writer < kWriters; ++writer) {
        Start(writer);
    }
    std::size_t leftovers = 0;
    const Clock::time_point end = Clock::now() + Duration();
    while (!HasFailure() && Clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 4000));
        const std::size_t writer = random() % kWriters;
        Kill(writer);
        leftovers = std::max(leftovers, EntriesOf(File("telephony")).size() - 1);
        AwaitProgress();
        CheckFile();
        Start(writer);
    }
    for (std::size_t writer = 0; writer < kWriters; ++writer) {
        Kill(writer);
    }
    CheckFile();
    const std::string text = DatabaseText();
    EXPECT_TRUE(config.SetTrunkToMasterInActiveState("no such trunk"));
    EXPECT_EQ(DatabaseText(), text);
    EXPECT_EQ(EntriesOf(File("telephony")), std::vector<std::string>{"siptrunkdb"});
    std::cout << Kills() << " kills, " << KillsInAStore() << " of them during a store; "
              << DoneByAll() << " changes acknowledged, " << Lost() << " lost; at most "
              << leftovers << " temporary files at a time" << std::endl;
}

TEST_F(KilledHolder, LeavesTheLockFree) {
    Clock::duration longest{};
    for (unsigned round = 0; round < kHolders; ++round) {
        const pid_t holder = StartHolder();
        ASSERT_GT(holder, 0);
        ASSERT_EQ(kill(holder, SIGKILL), 0);
        ASSERT_EQ(waitpid(holder, nullptr, 0), holder);
        const Clock::time_point begin = Clock::now();
        EXPECT_TRUE(config.SaveAgentStatus(round % 2 == 0));
        longest = std::max(longest, Clock::now() - begin);
    }
    std::cout << kHolders << " killed holders; the next operation was over within "
              << std::chrono::duration_cast<std::chrono::microseconds>(longest).count() << " us"
              << std::endl;
}
