#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/ending_memory.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/record_values.h"

namespace {

using Registration = CSIPTrunkBase::STRegistrationParam;
using Registrations = std::vector<Registration>;

const char* const kProgress = "INFO:SIP Trunk: Set registered slave's list...\n";

class RegisteredTest : public UntouchedDeviceFixture {
  protected:
    Registrations List() {
        Registrations slaves{{"own", "own", "own", "own"}};
        EXPECT_TRUE(config.InitRegisterSlaveList(slaves));
        EXPECT_EQ(NewLogText(), kProgress);
        return slaves;
    }
};

TEST_F(RegisteredTest, EachFieldComesFromItsOwnKey) {
    WriteDatabase(std::string(kAgents) + kOffice + kBranch);
    EXPECT_EQ(List(), (Registrations{{"branch-user", "branch-password", "10.0.0.2", "5062"}}));
}

TEST_F(RegisteredTest, AVectorThatHoldsRecordsIsEmptiedFirst) {
    WriteDatabase(kAgents);
    EXPECT_EQ(List(), Registrations());
    WriteDatabase("");
    EXPECT_EQ(List(), Registrations());
}

TEST_F(RegisteredTest, SectionsOfOneUserGiveARecordEachInFileOrder) {
    WriteDatabase(
        "section {\nuser_name=u\nslave_ip=2\n}\n"
        "section {\nuser_name=a\nslave_ip=3\n}\n"
        "section {\nuser_name=u\nslave_ip=1\n}\n");
    EXPECT_EQ(List(), (Registrations{{"u", "", "2", ""}, {"a", "", "3", ""}, {"u", "", "1", ""}}));
}

TEST_F(RegisteredTest, AnEmptyAddressIsListed) {
    WriteDatabase(Replaced(kBranch, "slave_ip=10.0.0.2", "slave_ip="));
    EXPECT_EQ(List(), (Registrations{{"branch-user", "branch-password", "", "5062"}}));
}

TEST_F(RegisteredTest, ASectionWithoutAnAddressIsNotListedWhateverElseItHolds) {
    WriteDatabase(Replaced(kBranch, "slave_ip=10.0.0.2\n", ""));
    EXPECT_EQ(List(), Registrations());
}

TEST_F(RegisteredTest, ASectionOfAnyTypeIsListed) {
    for (const char* type : {"trunk_type=1\n", "trunk_type=2\n", "trunk_type=\n", ""}) {
        SCOPED_TRACE(type);
        WriteDatabase(Replaced(kBranch, "trunk_type=0\n", type));
        EXPECT_EQ(List(), (Registrations{{"branch-user", "branch-password", "10.0.0.2", "5062"}}));
    }
}

TEST_F(RegisteredTest, MissingKeysGiveTheEmptyTextAndNotTheOneReadBefore) {
    WriteDatabase(std::string(kBranch) + Replaced(kBranch, "password=branch-password\n", "") +
                  "section {\nslave_ip=10.0.0.3\n}\n");
    EXPECT_EQ(List(), (Registrations{{"branch-user", "branch-password", "10.0.0.2", "5062"},
                                     {"branch-user", "", "10.0.0.2", "5062"},
                                     {"", "", "10.0.0.3", ""}}));
}

TEST_F(RegisteredTest, AFailureToOpenLeavesTheVectorEmpty) {
    WriteDatabase("section {\n");
    Registrations slaves{{"own", "own", "own", "own"}};
    EXPECT_FALSE(config.InitRegisterSlaveList(slaves));
    EXPECT_EQ(slaves, Registrations());
    EXPECT_EQ(NewLogText(),
              kProgress + ("ERROR: " + DatabasePath() + ":1: section is not closed \n"));
}

TEST_F(RegisteredTest, AFailureOfTheLockLeavesTheVectorAsItIs) {
    WriteDatabase(kBranch);
    Registrations slaves{{"own", "own", "own", "own"}};
    const FailingCall refused(Call::kSemop, EACCES);
    EXPECT_FALSE(config.InitRegisterSlaveList(slaves));
    EXPECT_EQ(slaves, (Registrations{{"own", "own", "own", "own"}}));
}

TEST_F(RegisteredTest, AfterAFailureTheVectorKeepsWhatWasAppendedBefore) {
    WriteDatabase(std::string(kBranch) + "section {\nuser_name=last\nslave_ip=\n}\n");
    CSIPTrunkConfig silent(nullptr);  // a line that is lost for want of memory is no failure
    const auto [before, all] = AppendUntilMemoryLasts(Registrations(), [&](Registrations& slaves) {
        return silent.InitRegisterSlaveList(slaves);
    });
    EXPECT_EQ(before.size(), 1U);
    EXPECT_EQ(all.size(), 2U);
}

class RegisteredAfterUpdatesTest : public DeviceFixture {};

TEST_F(RegisteredAfterUpdatesTest, ASlaveIsListedFromItsRegistrationUntilItUnregisters) {
    WriteDatabase("section {\nuser_name=u\npassword=p\n}\n");
    Registrations slaves;
    EXPECT_TRUE(config.SetRegisterParam({"u", "", "10.0.0.3", "5063"}, true));
    EXPECT_TRUE(config.InitRegisterSlaveList(slaves));
    EXPECT_EQ(slaves, Registrations());

    EXPECT_TRUE(config.SetRegisterParam({"u", "", "10.0.0.3", "5063"}, false));
    EXPECT_TRUE(config.InitRegisterSlaveList(slaves));
    EXPECT_EQ(slaves, (Registrations{{"u", "p", "10.0.0.3", "5063"}}));

    EXPECT_TRUE(config.SetUnregisterParam({"u", "", "", ""}));
    EXPECT_TRUE(config.InitRegisterSlaveList(slaves));
    EXPECT_EQ(slaves, Registrations());
}

}  // namespace
