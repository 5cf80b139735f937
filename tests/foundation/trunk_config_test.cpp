#include <cerrno>
#include <system_error>

#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"

namespace {

class TrunkConfigTest : public DeviceFixture {};

TEST_F(TrunkConfigTest, MakingAndUnmakingAnObjectTouchesNoFileAndNoLock) {
    const CallWatch opened(Call::kOpen);
    const CallWatch locked(Call::kSemop);
    {
        const CSIPTrunkConfig made(&logger);
        EXPECT_FALSE(IsLockHeldHere());
    }
    EXPECT_EQ(opened.Count(), 0);
    EXPECT_EQ(locked.Count(), 0);
    EXPECT_EQ(NewLogText(), "");
}

TEST_F(TrunkConfigTest, TheLoggerOutlivesTheObject) {
    { const CSIPTrunkConfig made(&logger); }
    logger.TRACE(3, "still here\n");
    EXPECT_EQ(NewLogText(), "still here\n");
}

TEST_F(TrunkConfigTest, ALockThatTheKernelRefusesLeavesTheConstructorAsAnException) {
    const FailingCall refused(Call::kSemget, ENOSPC);
    try {
        const CSIPTrunkConfig made(nullptr);
        FAIL() << "it was made";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code().value(), ENOSPC);
        EXPECT_NE(std::string(failure.what()).find("43:/bin/ls"), std::string::npos);
    }
}

TEST_F(TrunkConfigTest, TheLockStaysInTheSystemWhenItsObjectIsGone) {
    WriteDatabase(kAgents);
    bool wasRegistered = false;
    { CSIPTrunkConfig(nullptr).DeleteTrunk("none", false, wasRegistered); }
    EXPECT_FALSE(IsLockHeldHere());  // throws when the lock is gone
    EXPECT_FALSE(config.DeleteTrunk("none", false, wasRegistered));
    EXPECT_EQ(NewLogText(), "");
}

TEST_F(TrunkConfigTest, AnObjectCanBeDeletedThroughAClassThatWasDerivedFromIt) {
    class Derived : public CSIPTrunkConfig {
      public:
        explicit Derived(bool& isGone) : CSIPTrunkConfig(nullptr), m_isGone(isGone) {}
        ~Derived() override { m_isGone = true; }

      private:
        bool& m_isGone;
    };
    bool isGone = false;
    CSIPTrunkConfig* made = new Derived(isGone);
    delete made;
    EXPECT_TRUE(isGone);
}

TEST_F(TrunkConfigTest, NothingIsKeptBetweenTwoCalls) {
    CSIPTrunkConfig other(nullptr);
    WriteDatabase("section {\ntrunk_name=first\n}\n");
    CSIPTrunkBase::STParamsRecord record;
    EXPECT_TRUE(config.GetSIPTrunkParams("first", record));
    WriteDatabase("section {\ntrunk_name=second\n}\n");
    EXPECT_FALSE(config.GetSIPTrunkParams("first", record));
    EXPECT_TRUE(config.GetSIPTrunkParams("second", record));
    EXPECT_TRUE(other.SetRegisterParam({"", "", "10.0.0.1", "5061"}, false));
    EXPECT_TRUE(config.GetSIPTrunkParams("second", record));
    EXPECT_EQ(record.remote_ip, "10.0.0.1");
}

TEST(VersionTest, TheTextBeginsWithTheNumbers) {
    const std::string numbers =
        std::to_string(RAIKLAIK_VERSION_MAJOR) + "." + std::to_string(RAIKLAIK_VERSION_MINOR) + ".";
    EXPECT_EQ(std::string(RAIKLAIK_VERSION).substr(0, numbers.size()), numbers);
}

}  // namespace
