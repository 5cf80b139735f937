#include "support/process_semaphore.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "tests/fixture/child_process.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/own_lock.h"
#include "tests/fixture/temp_folder.h"

namespace {

std::uint32_t Fnv1a(const std::string& text) {
    std::uint32_t hash = 2166136261U;
    for (const char byte : text) {
        hash ^= static_cast<unsigned char>(byte);
        hash *= 16777619U;
    }
    return hash;
}

key_t KeyOf(int number, const std::string& path) {
    return static_cast<key_t>(Fnv1a(std::to_string(number) + ":" + path));
}

// A thread that takes the lock, tells so, and releases it when it is told to.
class Locker {
  public:
    explicit Locker(Semaphore& semaphore)
        : m_thread([this, &semaphore] {
              semaphore.Lock(true);
              m_hasLock = true;
              m_release.Pass();
              semaphore.Unlock();
          }) {}
    ~Locker() { Finish(); }

    bool HasLock() const { return m_hasLock; }
    bool GetsLock() const {
        return WaitUntil([this] { return HasLock(); });
    }
    void Finish() {
        if (m_thread.joinable()) {
            m_release.Open();
            m_thread.join();
        }
    }

  private:
    std::atomic<bool> m_hasLock{false};
    Gate m_release;
    std::thread m_thread;
};

// Each test has a lock of its own, and looks at its set from outside.
class ProcessSemaphoreTest : public testing::Test {
  protected:
    ProcessSemaphoreTest()
        : m_number(static_cast<int>(getpid())),
          m_path("/raiklaik_test/" +
                 std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()) +
                 testing::UnitTest::GetInstance()->current_test_info()->name()),
          m_name("lock " + std::to_string(m_number) + ":" + m_path) {}
    ~ProcessSemaphoreTest() override { RemoveSet(); }

    Semaphore Handle() const { return Semaphore(m_number, m_path.c_str()); }

    // The identifier of the lock's set, -1 while there is none.
    int Set() const { return semget(KeyOf(m_number, m_path), 1, 0); }
    void RemoveSet() const { (void)semctl(Set(), 0, IPC_RMID); }
    bool IsTaken() const { return semctl(Set(), 0, GETVAL) == 1; }
    bool IsFree() const { return semctl(Set(), 0, GETVAL) == 0; }
    int Waiters() const { return semctl(Set(), 0, GETZCNT); }

    void ExpectWaiting(const Locker& locker) const {
        EXPECT_TRUE(WaitUntil([&] { return Waiters() == 1 || locker.HasLock(); }));
        EXPECT_FALSE(locker.HasLock());
    }

    // A thread that locks by `second` waits for this one, which has locked by `first`.
    void ExpectWaitingOf(Semaphore& second, Semaphore& first) const {
        first.Lock(true);
        Locker locker(second);
        ExpectWaiting(locker);
        first.Unlock();
        EXPECT_TRUE(locker.GetsLock());
        EXPECT_TRUE(IsTaken());
        locker.Finish();
        EXPECT_TRUE(IsFree());
    }

    const int m_number;
    const std::string m_path;
    const std::string m_name;
};

// Counts in two steps, so that counts are lost unless the lock keeps others away meanwhile.
void CountUnder(Semaphore& semaphore, std::atomic<int>& count, int rounds) {
    for (int round = 0; round < rounds; ++round) {
        semaphore.Lock(true);
        const int seen = count.load(std::memory_order_relaxed);
        (void)sched_yield();
        count.store(seen + 1, std::memory_order_relaxed);
        semaphore.Unlock();
    }
}

TEST_F(ProcessSemaphoreTest, TheKeyIsTheHashOfNumberAndPathWhetherThePathExistsOrNot) {
    EXPECT_EQ(Fnv1a("foobar"), 0xbf9cf968U);  // the algorithm's own example
    const TempFolder folder;
    const std::string path = folder.File("name");
    const key_t key = KeyOf(m_number, path);
    EXPECT_EQ(semget(key, 1, 0), -1);
    const Semaphore first(m_number, path.c_str());
    const int set = semget(key, 1, 0);
    EXPECT_NE(set, -1);
    WriteFile(path, "");
    const Semaphore second(m_number, path.c_str());
    EXPECT_EQ(semget(key, 1, 0), set);
    EXPECT_EQ(semctl(set, 0, IPC_RMID), 0);
}

TEST_F(ProcessSemaphoreTest, OtherPairsAreOtherLocks) {
    Semaphore lock = Handle();
    lock.Lock(true);
    const std::string path = m_path + "x";
    const Semaphore otherPath(m_number, path.c_str());
    const Semaphore otherNumber(-m_number, m_path.c_str());
    for (const key_t key : {KeyOf(m_number, path), KeyOf(-m_number, m_path)}) {
        const int set = semget(key, 1, 0);
        EXPECT_EQ(semctl(set, 0, GETVAL), 0);
        EXPECT_EQ(semctl(set, 0, IPC_RMID), 0);
    }
}

TEST_F(ProcessSemaphoreTest, ANewLockIsFreeAndHasTheModeOfTheBuildWhateverTheUmask) {
    const mode_t old = umask(0777);
    const Semaphore lock = Handle();
    umask(old);
    EXPECT_TRUE(IsFree());
    struct semid_ds status {};
    ASSERT_EQ(semctl(Set(), 0, IPC_STAT, &status), 0);
    EXPECT_EQ(status.sem_perm.mode & 0777U, static_cast<unsigned int>(RAIKLAIK_LOCK_MODE));
    EXPECT_EQ(status.sem_nsems, 1U);
}

TEST_F(ProcessSemaphoreTest, TheLockOutlivesItsHandles) {
    int set = -1;
    {
        const Semaphore lock = Handle();
        set = Set();
    }
    EXPECT_NE(set, -1);
    EXPECT_EQ(Set(), set);
    Semaphore lock = Handle();
    EXPECT_EQ(Set(), set);
    lock.Lock(true);
    {
        const Semaphore other = Handle();
        EXPECT_TRUE(IsTaken());
    }
    EXPECT_TRUE(IsTaken()) << "another handle was made and given up";
}

TEST_F(ProcessSemaphoreTest, TakingAndReleasingAreOneCallEach) {
    Semaphore lock = Handle();
    const CallWatch calls(Call::kSemop);
    for (int round = 1; round <= 3; ++round) {
        lock.Lock(true);
        EXPECT_TRUE(IsTaken());
        EXPECT_EQ(calls.Count(), 2 * round - 1);
        lock.Unlock();
        EXPECT_TRUE(IsFree());
        EXPECT_EQ(calls.Count(), 2 * round);
    }
}

TEST_F(ProcessSemaphoreTest, OneHandleWaitsForAnother) {
    Semaphore first = Handle();
    Semaphore second = Handle();
    ExpectWaitingOf(second, first);
}

TEST_F(ProcessSemaphoreTest, TwoThreadsWithOneHandleWaitForEachOther) {
    Semaphore lock = Handle();
    ExpectWaitingOf(lock, lock);
}

TEST_F(ProcessSemaphoreTest, OneThreadAtATimeHoldsTheLock) {
    constexpr int kThreads = 3;
    constexpr int kRounds = 100;
    Semaphore shared = Handle();
    std::atomic<int> count{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] { CountUnder(shared, count, kRounds); });
        threads.emplace_back([&] {
            Semaphore own = Handle();
            CountUnder(own, count, kRounds);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(count, 2 * kThreads * kRounds);
    EXPECT_TRUE(IsFree());
}

TEST_F(ProcessSemaphoreTest, OneProcessAtATimeHoldsTheLock) {
    constexpr int kProcesses = 4;
    constexpr int kRounds = 100;
    void* memory = mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    auto& count = *new (memory) std::atomic<int>(0);
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (int i = 0; i < kProcesses; ++i) {
        // No handle is made before, so the processes make the lock itself at the same time too.
        children.push_back(std::make_unique<ChildProcess>([&] {
            Semaphore lock = Handle();
            CountUnder(lock, count, kRounds);
        }));
    }
    for (const auto& child : children) {
        EXPECT_EQ(child->Wait(), 0);
    }
    EXPECT_EQ(count, kProcesses * kRounds);
    EXPECT_TRUE(IsFree());
    (void)munmap(memory, sizeof(std::atomic<int>));
}

TEST_F(ProcessSemaphoreTest, TheKernelFreesTheLockOfAProcessThatIsKilled) {
    Semaphore lock = Handle();
    Gate taken;
    Gate never;
    ChildProcess child([&] {
        Semaphore own = Handle();
        own.Lock(true);
        taken.Open();
        never.Pass();
    });
    taken.Pass();
    EXPECT_TRUE(IsTaken());
    Locker locker(lock);
    ExpectWaiting(locker);
    child.Kill();
    EXPECT_TRUE(locker.GetsLock());
    locker.Finish();
    EXPECT_TRUE(IsFree());
}

TEST_F(ProcessSemaphoreTest, TheKernelFreesTheLockOfAProcessThatEndsWithoutReleasing) {
    ChildProcess child([&] {
        Semaphore own = Handle();
        own.Lock(true);
        EXPECT_TRUE(IsTaken());
    });
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_TRUE(IsFree());
}

TEST_F(ProcessSemaphoreTest, TheChildOfAForkHoldsNothing) {
    Semaphore lock = Handle();
    lock.Lock(true);
    ChildProcess child([&] {
        lock.Unlock();
        EXPECT_TRUE(IsTaken()) << "the child has freed its parent's lock";
        lock.Unlock();
    });
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_TRUE(IsTaken()) << "the child's end has freed its parent's lock";
    lock.Unlock();
    EXPECT_TRUE(IsFree());
}

// Makes a child as a C library's fork does it, without telling any library of it.
pid_t ForkUntold() { return static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0)); }

TEST_F(ProcessSemaphoreTest, AChildThatNoLibraryIsToldOfHoldsNothing) {
    Semaphore lock = Handle();
    lock.Lock(true);
    const pid_t child = ForkUntold();
    if (child == 0) {
        lock.Unlock();
        _exit(IsTaken() ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "the child has freed its parent's lock";
    EXPECT_TRUE(IsTaken());
    lock.Unlock();
    EXPECT_TRUE(IsFree());
}

TEST_F(ProcessSemaphoreTest, AThreadThatHoldsTheLockGetsAFailureAndGoesOnHoldingIt) {
    Semaphore lock = Handle();
    lock.Lock(true);
    EXPECT_EQ(FailureOf([&] { lock.Lock(true); }),
              m_name + ": take (this thread holds it already): " + ErrorText(EDEADLK));
    EXPECT_THROW(lock.Lock(true), std::system_error);
    EXPECT_TRUE(IsTaken());
    lock.Unlock();
    EXPECT_TRUE(IsFree());
    lock.Lock(true);
    EXPECT_TRUE(IsTaken());
    lock.Unlock();
    EXPECT_TRUE(IsFree());
}

TEST_F(ProcessSemaphoreTest, AThreadDoesNotWaitForItselfWhileItReleases) {
    Semaphore lock = Handle();
    lock.Lock(true);
    std::string failure;
    {
        const CallWatch releasing(Call::kSemop, [&](int) {
            failure = FailureOf([&] { lock.Lock(true); });  // as a signal handler would
            return 0;
        });
        lock.Unlock();
    }
    EXPECT_EQ(failure, m_name + ": take (this thread holds it already): " + ErrorText(EDEADLK));
    EXPECT_TRUE(IsFree());
}

TEST_F(ProcessSemaphoreTest, TheChildOfAForkTakesTheLockThroughTheSameHandle) {
    Semaphore lock = Handle();
    lock.Lock(true);
    Gate released;
    Gate taken;
    ChildProcess child([&] {
        lock.Lock(true);
        taken.Open();
        released.Pass();
        EXPECT_TRUE(IsTaken()) << "the parent has freed its child's lock";
        lock.Unlock();
    });
    EXPECT_TRUE(WaitUntil([&] { return Waiters() == 1; }));
    lock.Unlock();
    taken.Pass();
    lock.Unlock();
    released.Open();
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_TRUE(IsFree());
}

TEST_F(ProcessSemaphoreTest, ReleasingWithoutHoldingDoesNothing) {
    Semaphore holder = Handle();
    Semaphore other = Handle();
    other.Unlock();
    EXPECT_TRUE(IsFree());
    holder.Lock(true);
    other.Unlock();
    EXPECT_TRUE(IsTaken());
    holder.Unlock();
    other.Lock(true);
    holder.Unlock();
    EXPECT_TRUE(IsTaken()) << "a second release has freed another handle's lock";
    other.Unlock();
    EXPECT_TRUE(IsFree());
}

TEST_F(ProcessSemaphoreTest, AThreadThatDoesNotHoldTheLockDoesNotReleaseIt) {
    Semaphore lock = Handle();
    lock.Lock(true);
    std::thread([&] { lock.Unlock(); }).join();
    EXPECT_TRUE(IsTaken());
    lock.Unlock();
    EXPECT_TRUE(IsFree());
}

TEST_F(ProcessSemaphoreTest, ASetThatWasRemovedBeforeIsObtainedAgain) {
    Semaphore lock = Handle();
    for (int round = 0; round < 3; ++round) {
        RemoveSet();
        EXPECT_EQ(Set(), -1);
        lock.Lock(true);
        EXPECT_TRUE(IsTaken());
        lock.Unlock();
        EXPECT_TRUE(IsFree());
    }
}

TEST_F(ProcessSemaphoreTest, ASetThatIsRemovedDuringTheWaitIsObtainedAgain) {
    Semaphore first = Handle();
    Semaphore second = Handle();
    first.Lock(true);
    Locker locker(second);
    ExpectWaiting(locker);
    RemoveSet();
    EXPECT_TRUE(locker.GetsLock());
    EXPECT_TRUE(IsTaken());
    first.Unlock();
    EXPECT_TRUE(IsTaken()) << "the release of the removed set has freed the new one";
    locker.Finish();
    EXPECT_TRUE(IsFree());
    first.Lock(true);
    EXPECT_TRUE(IsTaken());
}

TEST_F(ProcessSemaphoreTest, AReleaseForgetsNobodyWhoTookANewSetByTheSameHandleMeanwhile) {
    Semaphore lock = Handle();
    lock.Lock(true);
    std::unique_ptr<Locker> locker;
    {
        const CallWatch releasing(Call::kSemop, [&](int) {
            RemoveSet();
            locker = std::make_unique<Locker>(lock);
            EXPECT_TRUE(locker->GetsLock());
            return 0;
        });
        lock.Unlock();
    }
    EXPECT_TRUE(IsTaken());
    locker->Finish();
    EXPECT_TRUE(IsFree()) << "its own release was forgotten";
}

TEST_F(ProcessSemaphoreTest, ASetThatIsRemovedAgainAndAgainIsAFailureInTheEnd) {
    Semaphore lock = Handle();
    for (const int error : {EIDRM, EINVAL}) {
        {
            const FailingCall removed(Call::kSemop, error, 1, 8);
            lock.Lock(true);
            EXPECT_EQ(removed.Count(), 9);
        }
        EXPECT_TRUE(IsTaken());
        lock.Unlock();
        const FailingCall removed(Call::kSemop, error, 1, FailingCall::kAlways);
        EXPECT_EQ(FailureOf([&] { lock.Lock(true); }), m_name + ": take: " + ErrorText(error));
        EXPECT_EQ(removed.Count(), 9);
    }
    EXPECT_TRUE(IsFree());
}

extern "C" void IgnoreSignal(int) {}

TEST_F(ProcessSemaphoreTest, SignalsDuringTheWaitAreNoFailure) {
    struct sigaction handled {};
    struct sigaction old {};
    handled.sa_handler = IgnoreSignal;  // without SA_RESTART
    ASSERT_EQ(sigaction(SIGUSR1, &handled, &old), 0);
    Semaphore first = Handle();
    Semaphore second = Handle();
    first.Lock(true);
    std::atomic<int> calls{0};
    std::atomic<bool> hasLock{false};
    std::thread waiter([&] {
        const CallWatch watch(Call::kSemop, [&](int) {
            ++calls;
            return 0;
        });
        second.Lock(true);
        hasLock = true;
        second.Unlock();
    });
    for (int signals = 1; signals <= 5; ++signals) {
        EXPECT_TRUE(WaitUntil([&] { return calls == signals && Waiters() == 1; }));
        EXPECT_EQ(pthread_kill(waiter.native_handle(), SIGUSR1), 0);
    }
    EXPECT_TRUE(WaitUntil([&] { return calls == 6 && Waiters() == 1; }));
    EXPECT_FALSE(hasLock);
    first.Unlock();
    waiter.join();
    EXPECT_TRUE(hasLock);
    EXPECT_TRUE(IsFree());
    ASSERT_EQ(sigaction(SIGUSR1, &old, nullptr), 0);
}

TEST_F(ProcessSemaphoreTest, ASignalDuringTheReleaseIsNoFailure) {
    Semaphore lock = Handle();
    lock.Lock(true);
    const FailingCall interrupted(Call::kSemop, EINTR, 1, 3);
    lock.Unlock();
    EXPECT_EQ(interrupted.Count(), 4);
    EXPECT_TRUE(IsFree());
}

TEST_F(ProcessSemaphoreTest, WhatTheKernelRefusesIsAFailureThatNamesLockAndCauseAndHoldsNothing) {
    const struct {
        int error;
        std::string step;
    } cases[] = {
        {ENOSPC, "take (the kernel's limit on semaphores is reached, see kernel.sem)"},
        {EACCES, "take (the lock was made for other users)"},
        {ENOMEM, "take"},
    };
    Semaphore lock = Handle();
    Semaphore holder = Handle();
    for (const auto& c : cases) {
        const std::string text = m_name + ": " + c.step + ": " + ErrorText(c.error);
        {
            const FailingCall failing(Call::kSemget, c.error);
            EXPECT_EQ(FailureOf([&] { Handle(); }), text);
        }
        {
            const FailingCall failing(Call::kSemop, c.error);
            EXPECT_EQ(FailureOf([&] { lock.Lock(true); }), text);
            EXPECT_EQ(failing.Count(), 1);
        }
        {
            const FailingCall removed(Call::kSemop, EIDRM);
            const FailingCall failing(Call::kSemget, c.error);
            EXPECT_EQ(FailureOf([&] { lock.Lock(true); }), text);
        }
        EXPECT_TRUE(IsFree());
        holder.Lock(true);
        lock.Unlock();
        EXPECT_TRUE(IsTaken()) << "a lock that was not taken was released";
        holder.Unlock();
    }
    const FailingCall failing(Call::kSemop, EACCES);
    EXPECT_THROW(lock.Lock(true), std::system_error);
}

TEST_F(ProcessSemaphoreTest, ALockThatWasMadeForOtherUsersIsRefused) {
    ASSERT_NE(semget(KeyOf(m_number, m_path), 1, IPC_CREAT), -1);
    ExpectSuccess(RunAsOrdinaryUser([&] {
        EXPECT_EQ(FailureOf([&] { Handle(); }),
                  m_name + ": take (the lock was made for other users): " + ErrorText(EACCES));
    }));
}

TEST_F(ProcessSemaphoreTest, APairWhoseHashIsTheKeyOfPrivateSetsIsALockLikeAnyOther) {
    const int number = 15595;
    const char* const path = "/raiklaik/16535";
    ASSERT_EQ(KeyOf(number, path), IPC_PRIVATE);
    if (!HasOwnLock()) {
        GTEST_SKIP() << "the machine may have a set of that key";
    }
    Semaphore lock(number, path);
    const Semaphore other(number, path);
    lock.Lock(true);
    const int set = semget(1, 1, 0);
    EXPECT_EQ(semctl(set, 0, GETVAL), 1);
    EXPECT_EQ(semctl(set, 0, IPC_RMID), 0);
}

}  // namespace
