#include "support/thread_mutex.h"

#include <gtest/gtest.h>

#include <sched.h>

#include <thread>
#include <vector>

namespace {

TEST(ThreadMutexTest, OneThreadAtATimeHoldsTheMutex) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 500;
    ThreadMutex mutex;
    volatile int count = 0;  // read and written in two steps, so that two threads lose counts
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                mutex.Lock();
                const int seen = count;
                (void)sched_yield();
                count = seen + 1;
                mutex.Unlock();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(count, kThreads * kRounds);
}

}  // namespace
