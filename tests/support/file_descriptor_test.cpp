#include "support/file_descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "tests/fixture/child_process.h"
#include "tests/fixture/failing_calls.h"

namespace {

int OpenSomething() { return open("/dev/null", O_RDONLY | O_CLOEXEC); }
bool IsOpen(int number) { return fcntl(number, F_GETFD) != -1; }

TEST(FileDescriptorTest, ADescriptorIsClosedWithItsOwner) {
    int number = -1;
    {
        const support::FileDescriptor owner(OpenSomething());
        number = owner.Number();
        EXPECT_TRUE(IsOpen(number));
    }
    EXPECT_FALSE(IsOpen(number));
}

TEST(FileDescriptorTest, WhatWasClosedIsNotClosedAgain) {
    const CallWatch closing(Call::kClose);
    {
        support::FileDescriptor owner(OpenSomething());
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
        support::FileDescriptor owner(OpenSomething());
        EXPECT_FALSE(owner.Close());
        EXPECT_EQ(errno, EIO);
    }
    EXPECT_EQ(failing.Count(), 1);
}

TEST(FileDescriptorTest, ACloseThatASignalInterruptsHasClosed) {
    const FailingCall failing(Call::kClose, EINTR);
    {
        support::FileDescriptor owner(OpenSomething());
        EXPECT_TRUE(owner.Close());
    }
    EXPECT_EQ(failing.Count(), 1);
}

TEST(FileDescriptorTest, AnOwnerThatIsMovedFromOwnsNothing) {
    const CallWatch closing(Call::kClose);
    {
        support::FileDescriptor owner(OpenSomething());
        const int number = owner.Number();
        support::FileDescriptor second(std::move(owner));
        EXPECT_EQ(owner.Number(), -1);  // NOLINT(bugprone-use-after-move): what is tested
        support::FileDescriptor third(OpenSomething());
        const int other = third.Number();
        third = std::move(second);
        EXPECT_EQ(third.Number(), number);
        EXPECT_TRUE(IsOpen(number));
        EXPECT_TRUE(IsOpen(other)) << "until its new owner's end";
    }
    EXPECT_EQ(closing.Count(), 2);
}

TEST(FileDescriptorTest, WhatIsGivenUpIsNotClosed) {
    int number = -1;
    {
        support::FileDescriptor owner(OpenSomething());
        number = owner.Release();
        EXPECT_EQ(owner.Number(), -1);
    }
    EXPECT_TRUE(IsOpen(number));
    EXPECT_EQ(close(number), 0);
}

const std::vector<std::vector<int>> kClosed = {{0}, {1}, {2}, {0, 1}, {0, 2}, {1, 2}, {0, 1, 2}};

TEST(FileDescriptorTest, AClosedStreamIsOccupiedByNothingThatCouldBeReadOrWritten) {
    for (const std::vector<int>& closed : kClosed) {
        ExpectSuccess(RunWithoutStreams(closed, [&] {
            EXPECT_TRUE(support::OccupyStandardStreams());
            EXPECT_TRUE(support::OccupyStandardStreams());
            for (const int stream : closed) {
                char byte = 0;
                EXPECT_EQ(fcntl(stream, F_GETFD), FD_CLOEXEC);
                EXPECT_EQ(write(stream, "x", 1), -1);
                EXPECT_EQ(read(stream, &byte, 1), -1);
                EXPECT_EQ(errno, EBADF);
            }
            const int first = OpenSomething();
            EXPECT_GT(first, 2);
            EXPECT_TRUE(support::OccupyStandardStreams());
            EXPECT_EQ(close(first), 0);
            EXPECT_EQ(OpenSomething(), first) << "nothing else is left open";
        }));
    }
}

TEST(FileDescriptorTest, OpenStreamsAreLeftAsTheyAre) {
    const CallWatch looking(Call::kPoll);
    const CallWatch opening(Call::kOpen);
    EXPECT_TRUE(support::OccupyStandardStreams());
    EXPECT_EQ(looking.Count(), 1);
    EXPECT_EQ(opening.Count(), 0);
}

TEST(FileDescriptorTest, StreamsThatCannotBeOccupiedAreTold) {
    ExpectSuccess(RunWithoutStreams({1}, [] {
        const FailingCall failing(Call::kOpen, EMFILE);
        EXPECT_FALSE(support::OccupyStandardStreams());
        EXPECT_EQ(errno, EMFILE);
    }));
    ExpectSuccess(RunWithoutStreams({1}, [] {
        const FailingCall looking(Call::kPoll, ENOMEM);
        const FailingCall interrupted(Call::kOpen, EINTR, 1, 2);
        EXPECT_TRUE(support::OccupyStandardStreams());
        EXPECT_TRUE(IsOpen(1));
    }));
}

TEST(FileDescriptorTest, AnOwnerOfNothingClosesNothing) {
    const CallWatch closing(Call::kClose);
    { const support::FileDescriptor owner(-1); }
    EXPECT_EQ(closing.Count(), 0);
}

}  // namespace
