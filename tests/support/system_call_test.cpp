#include "support/system_call.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <system_error>

#include "tests/fixture/failure_text.h"

namespace {

TEST(SystemCallTest, AFailureNamesSubjectStepAndReason) {
    const auto fail = [] { support::ThrowSystemFailure(ENOENT, "/etc/x", "open"); };
    EXPECT_EQ(FailureOf(fail), "/etc/x: open: " + ErrorText(ENOENT));
    try {
        fail();
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code(), std::error_code(ENOENT, std::system_category()));
    }
}

TEST(SystemCallTest, ACallThatASignalInterruptsIsMadeAgain) {
    int calls = 0;
    const int result = support::RetryInterrupted([&] {
        ++calls;
        errno = EINTR;
        return calls < 4 ? -1 : 7;
    });
    EXPECT_EQ(result, 7);
    EXPECT_EQ(calls, 4);
}

TEST(SystemCallTest, ACallThatFailsOtherwiseIsNotMadeAgain) {
    int calls = 0;
    const long result = support::RetryInterrupted([&] {
        ++calls;
        errno = EIO;
        return -1L;
    });
    EXPECT_EQ(result, -1L);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(calls, 1);
}

TEST(SystemCallTest, AnOldErrnoMakesNoSuccessfulCallAnInterruptedOne) {
    int calls = 0;
    errno = EINTR;
    EXPECT_EQ(support::RetryInterrupted([&] { return calls++; }), 0);
    EXPECT_EQ(calls, 1);
}

}  // namespace
