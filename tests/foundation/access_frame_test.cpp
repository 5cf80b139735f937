#include "src/foundation/access_frame.h"

#include <pthread.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/failure_text.h"

using namespace raiklaik;

namespace {

class AccessFrameTest : public DeviceFixture {
  protected:
    Semaphore m_lock{43, "/bin/ls"};
};

TEST_F(AccessFrameTest, TheWorkRunsUnderTheLockAndItsResultIsHandedOn) {
    const int result = RunLocked<LocalBuffer>(m_lock, &logger, -1, [](ValueBuffer) {
        EXPECT_TRUE(IsLockHeldHere());
        return 7;
    });
    EXPECT_EQ(result, 7);
    EXPECT_FALSE(IsLockHeldHere());
    EXPECT_EQ(NewLogText(), "");
}

template <typename Buffer>
void ExpectBufferOf1024Bytes(Semaphore& lock) {
    const bool result = RunLocked<Buffer>(lock, nullptr, false, [](ValueBuffer buffer) {
        EXPECT_EQ(buffer.capacity, 1024U);
        EXPECT_STREQ(buffer.text, "");
        std::memset(buffer.text, 'x', buffer.capacity);
        return true;
    });
    EXPECT_TRUE(result);
}

TEST_F(AccessFrameTest, TheWorkGetsABufferOf1024BytesWithTheEmptyText) {
    ExpectBufferOf1024Bytes<LocalBuffer>(m_lock);
    ExpectBufferOf1024Bytes<SmartBuffer>(m_lock);
}

CSIPTrunkConfig* interrupted = nullptr;
int failuresInHandler = 0;

extern "C" void OperateInSignalHandler(int) {
    failuresInHandler += interrupted->LoadAgentStatus() ? 0 : 1;
}

TEST_F(AccessFrameTest, AnOperationThatInterruptsOneOfTheSameObjectFailsInsteadOfWaitingForItself) {
    CSIPTrunkConfig service(nullptr);
    interrupted = &service;
    failuresInHandler = 0;
    struct sigaction handled {};
    struct sigaction before {};
    handled.sa_handler = OperateInSignalHandler;
    ASSERT_EQ(sigaction(SIGUSR1, &handled, &before), 0);
    WriteStartFile("START_SIPTRUNK=true\n");
    {
        const CallWatch syncing(Call::kFsync, [](int) { return raise(SIGUSR1); });
        EXPECT_TRUE(service.SaveAgentStatus(true));
        EXPECT_EQ(syncing.Count(), 2);
    }
    ASSERT_EQ(sigaction(SIGUSR1, &before, nullptr), 0);
    EXPECT_EQ(failuresInHandler, 2);
    EXPECT_FALSE(IsLockHeldHere());
    EXPECT_TRUE(service.LoadAgentStatus());
}

TEST_F(AccessFrameTest, WhatALockRefusesIsAFailureLikeAnyOther) {
    const bool result = RunLocked<LocalBuffer>(m_lock, &logger, true, [&](ValueBuffer) {
        return RunLocked<LocalBuffer>(m_lock, &logger, false, [](ValueBuffer) { return true; });
    });
    EXPECT_FALSE(result);
    EXPECT_EQ(NewLogText(), "ERROR: lock 43:/bin/ls: take (this thread holds it already): " +
                                std::string(std::strerror(EDEADLK)) + " \n");
    EXPECT_FALSE(IsLockHeldHere());
}

TEST_F(AccessFrameTest, TheBufferIsMadeBeforeTheLockIsTaken) {
    const FailingCall noMemory(Call::kNew, ENOMEM);
    const CallWatch locked(Call::kSemop);
    const bool result =
        RunLocked<SmartBuffer>(m_lock, nullptr, false, [](ValueBuffer) { return true; });
    EXPECT_FALSE(result);
    EXPECT_EQ(locked.Count(), 0);
}

TEST_F(AccessFrameTest, AFailureGivesTheFailureValueAndOneLineWrittenWithoutTheLock) {
    int written = 0;
    const CallWatch writing(Call::kWrite, [&](int /*number*/) {
        EXPECT_FALSE(IsLockHeldHere());
        ++written;
        return 0;
    });
    const int result = RunLocked<LocalBuffer>(
        m_lock, &logger, 3, [](ValueBuffer) -> int { throw std::runtime_error("no luck"); });
    EXPECT_EQ(result, 3);
    EXPECT_EQ(written, 1);
    EXPECT_EQ(NewLogText(), "ERROR: no luck \n");
}

TEST_F(AccessFrameTest, WithoutALoggerAFailureGivesTheSameValue) {
    const int result = RunLocked<LocalBuffer>(m_lock, nullptr, 3,
                                              [](ValueBuffer) -> int { throw std::bad_alloc(); });
    EXPECT_EQ(result, 3);
    EXPECT_FALSE(IsLockHeldHere());
}

TEST_F(AccessFrameTest, AnExceptionOfAnotherTypeLeavesTheFrameAndReleasesTheLock) {
    const auto run = [&] {
        RunLocked<SmartBuffer>(m_lock, &logger, false, [](ValueBuffer) -> bool { throw 42; });
    };
    EXPECT_THROW(run(), int);
    EXPECT_FALSE(IsLockHeldHere());
    EXPECT_EQ(NewLogText(), "");
}

TEST_F(AccessFrameTest, ALockThatIsRefusedIsAFailureWithoutWorkAndWithoutRelease) {
    const FailingCall refused(Call::kSemop, ENOMEM, 1, FailingCall::kAlways);
    bool hasWorked = false;
    const bool result = RunLocked<LocalBuffer>(m_lock, &logger, false, [&](ValueBuffer) {
        hasWorked = true;
        return true;
    });
    EXPECT_FALSE(result);
    EXPECT_FALSE(hasWorked);
    EXPECT_EQ(refused.Count(), 1);
    EXPECT_EQ(NewLogText(), "ERROR: lock 43:/bin/ls: take: " + ErrorText(ENOMEM) + " \n");
}

// What a canceled thread has done.
struct CanceledWork {
    bool hasFinished = false;
    bool wasHeld = false;

    static void* Run(void* argument) {
        auto& self = *static_cast<CanceledWork*>(argument);
        Semaphore lock(43, "/bin/ls");
        RunLocked<LocalBuffer>(lock, nullptr, false, [&](ValueBuffer) {
            pthread_cancel(pthread_self());
            pthread_testcancel();
            self.wasHeld = IsLockHeldHere();
            self.hasFinished = true;
            return true;
        });
        pthread_testcancel();
        return nullptr;
    }
};

TEST_F(AccessFrameTest, ACanceledThreadFinishesItsWorkFirst) {
    CanceledWork work;
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, CanceledWork::Run, &work), 0);
    void* end = nullptr;
    ASSERT_EQ(pthread_join(thread, &end), 0);
    EXPECT_EQ(end, PTHREAD_CANCELED);
    EXPECT_TRUE(work.hasFinished);
    EXPECT_TRUE(work.wasHeld);
    EXPECT_FALSE(IsLockHeldHere());
}

TEST_F(AccessFrameTest, AThreadThatMayNotBeCanceledStaysSo) {
    int before = 0;
    ASSERT_EQ(pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before), 0);
    RunLocked<LocalBuffer>(m_lock, nullptr, false, [](ValueBuffer) { return true; });
    int after = PTHREAD_CANCEL_ENABLE;
    ASSERT_EQ(pthread_setcancelstate(before, &after), 0);
    EXPECT_EQ(after, PTHREAD_CANCEL_DISABLE);
}

}  // namespace
