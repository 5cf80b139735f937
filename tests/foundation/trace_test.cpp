#include "src/foundation/trace.h"

#include <pthread.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <string>

#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"

using namespace raiklaik;

namespace {

class TraceTest : public DeviceFixture {};

TEST_F(TraceTest, AProgressLineIsFormattedAndWritten) {
    TraceProgress(&logger, "INFO: %s has %d%%\n", "it", 5);
    TraceProgress(&logger, "INFO: plain\n");
    EXPECT_EQ(NewLogText(), "INFO: it has 5%\nINFO: plain\n");
}

TEST_F(TraceTest, AnErrorLineHoldsTheCauseAsItIs) {
    TraceError(&logger, "100%s of it");
    EXPECT_EQ(NewLogText(), "ERROR: 100%s of it \n");
}

TEST_F(TraceTest, ALongLineIsNotCut) {
    const std::string cause(10000, 'x');
    TraceProgress(&logger, "INFO: %s\n", cause.c_str());
    TraceError(&logger, cause.c_str());
    EXPECT_EQ(NewLogText(), "INFO: " + cause + "\nERROR: " + cause + " \n");
}

TEST_F(TraceTest, AControlCharacterForgesNoLine) {
    TraceProgress(&logger, "INFO: %s\n", "a\nERROR: b");
    TraceError(&logger, "a\r\nb");
    EXPECT_EQ(NewLogText(), "INFO: a\\x0aERROR: b\nERROR: a\\x0d\\x0ab \n");
}

TEST_F(TraceTest, WithoutALoggerNothingHappens) {
    TraceProgress(nullptr, "INFO: %s\n", "x");
    TraceError(nullptr, "x");
    EXPECT_EQ(NewLogText(), "");
}

TEST_F(TraceTest, ALineForWhichThereIsNoMemoryIsLost) {
    const std::string cause(10000, 'x');
    {
        const FailingCall failing(Call::kNew, ENOMEM, 1, FailingCall::kAlways);
        TraceProgress(&logger, "INFO: %s\n", cause.c_str());
        TraceError(&logger, cause.c_str());
        EXPECT_GE(failing.Count(), 2);
    }
    TraceError(&logger, "next");
    // Of the lost line the time alone is left, where it needs no memory.
    const bool isTimeKept = std::string().capacity() >= std::strlen("12:34:56.789  ");
    EXPECT_EQ(NewLogText(), isTimeKept ? "\nERROR: next \n" : "ERROR: next \n");
}

// Traces in a thread that is canceled when it comes to write the line.
void TraceCanceled(std::function<void()> trace) {
    const auto run = [](void* argument) -> void* {
        const CallWatch canceling(Call::kWrite, [](int /*number*/) {
            pthread_cancel(pthread_self());
            return 0;
        });
        (*static_cast<std::function<void()>*>(argument))();
        pthread_testcancel();  // a line is written whole first
        return nullptr;
    };
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, run, &trace), 0);
    void* end = nullptr;
    ASSERT_EQ(pthread_join(thread, &end), 0);
    EXPECT_EQ(end, PTHREAD_CANCELED);
}

TEST_F(TraceTest, AThreadThatIsCanceledWhileItWritesHoldsUpNobody) {
    TraceCanceled([this] { TraceProgress(&logger, "INFO: first\n"); });
    TraceCanceled([this] { TraceError(&logger, "second"); });
    TraceError(&logger, "third");
    EXPECT_EQ(NewLogText(), "INFO: first\nERROR: second \nERROR: third \n");
}

}  // namespace
