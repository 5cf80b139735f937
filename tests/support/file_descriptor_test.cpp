#include "support/file_descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <utility>

#include "tests/fixture/failing_calls.h"

namespace {

int OpenSomething() { return open("/dev/null", O_RDONLY | O_CLOEXEC); }
bool IsOpen(int number) { return fcntl(number, F_GETFD) != -1; }

TEST(FileDescriptorTest, ADescriptorIsClosedWithItsOwner) {
    int number = -1;
    {
        const FileDescriptor owner(OpenSomething());
        number = owner.Number();
        EXPECT_TRUE(IsOpen(number));
    }
    EXPECT_FALSE(IsOpen(number));
}

TEST(FileDescriptorTest, WhatWasClosedIsNotClosedAgain) {
    const CallWatch closing(Call::kClose);
    {
        FileDescriptor owner(OpenSomething());
        const int number = owner.Number();
        EXPECT_TRUE(owner.Close());
        EXPECT_FALSE(IsOpen(number));
        EXPECT_EQ(closing.Count(), 1);
    }
    EXPECT_EQ(closing.Count(), 1);
}

TEST(FileDescriptorTest, ACloseThatFailsIsToldWithItsReasonAndNotMadeAgain) {
    const FailingCall failing(Call::kClose, EIO);
    {
        FileDescriptor owner(OpenSomething());
        EXPECT_FALSE(owner.Close());
        EXPECT_EQ(errno, EIO);
    }
    EXPECT_EQ(failing.Count(), 1);
}

TEST(FileDescriptorTest, ACloseThatASignalInterruptsHasClosed) {
    const FailingCall failing(Call::kClose, EINTR);
    {
        FileDescriptor owner(OpenSomething());
        EXPECT_TRUE(owner.Close());
    }
    EXPECT_EQ(failing.Count(), 1);
}

TEST(FileDescriptorTest, AnOwnerThatIsMovedFromOwnsNothing) {
    const CallWatch closing(Call::kClose);
    {
        FileDescriptor owner(OpenSomething());
        const int number = owner.Number();
        FileDescriptor second(std::move(owner));
        EXPECT_EQ(owner.Number(), -1);  // NOLINT(bugprone-use-after-move): what is tested
        FileDescriptor third(OpenSomething());
        const int other = third.Number();
        third = std::move(second);
        EXPECT_EQ(third.Number(), number);
        EXPECT_TRUE(IsOpen(number));
        EXPECT_TRUE(IsOpen(other)) << "until its new owner's end";
    }
    EXPECT_EQ(closing.Count(), 2);
}

TEST(FileDescriptorTest, AnOwnerOfNothingClosesNothing) {
    const CallWatch closing(Call::kClose);
    { const FileDescriptor owner(-1); }
    EXPECT_EQ(closing.Count(), 0);
}

}  // namespace
