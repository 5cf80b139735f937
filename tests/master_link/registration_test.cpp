#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"

namespace {

using Base = CSIPTrunkBase;

const char* const kStamp = "registration_date=01/02/2023\nregistration_time=10:11:12\n";
const char* const kNewStamp = "registration_date=03/07/2024\nregistration_time=09:05:31\n";
const char* const kLaterStamp = "registration_date=01/01/2025\nregistration_time=00:05:07\n";

// Names that no trunk to a master in the database of these tests has.
const char* const kUnknownNames[] = {"unknown", "Office", "office ", " office", "offic",
                                     "",        "branch", "odd",     "untyped"};
const char* const kOthers =
    "section {\ntrunk_name=odd\ntrunk_type=01\nregistration_date=x\nregistration_time=y\n}\n"
    "section {\ntrunk_name=untyped\nregistration_date=x\nregistration_time=y\n}\n"
    "section {\ntrunk_type=1\nregistration_date=x\nregistration_time=y\n}\n";

class ActiveStateTest : public DeviceFixture {};

TEST_F(ActiveStateTest, TheTrunkGetsTheStampOfNowAfterItsKeysTheDateFirst) {
    const FixedClock clock(kMoment, 0);
    const std::string plain = Replaced(kOffice, kStamp, "");
    WriteDatabase(kAgents + plain + kBranch);
    EXPECT_TRUE(config.SetTrunkToMasterActiveState("office"));
    EXPECT_EQ(DatabaseText(),
              kAgents + Replaced(plain, "}\n", std::string(kNewStamp) + "}\n") + kBranch);
    EXPECT_EQ(NewLogText(), "INFO:SIP Trunk: Set active state trunk to master : office\n");
}

TEST_F(ActiveStateTest, AnOldStampIsReplacedWhereItStands) {
    const FixedClock clock(kMoment, 0);
    WriteDatabase(
        "section {\nregistration_time=1\ntrunk_name=office\n registration_date =2\n"
        "trunk_type=1\n}\n");
    EXPECT_TRUE(config.SetTrunkToMasterActiveState("office"));
    EXPECT_EQ(DatabaseText(),
              "section {\nregistration_time=09:05:31\ntrunk_name=office\n"
              " registration_date =03/07/2024\ntrunk_type=1\n}\n");
}

TEST_F(ActiveStateTest, SettingActiveTwiceReplacesTheStampByTheNewerOne) {
    WriteDatabase(kOffice);
    {
        const FixedClock clock(kMoment, 0);
        EXPECT_TRUE(config.SetTrunkToMasterActiveState("office"));
        EXPECT_EQ(DatabaseText(), Replaced(kOffice, kStamp, kNewStamp));
    }
    const FixedClock clock(kLaterMoment, 0);
    EXPECT_TRUE(config.SetTrunkToMasterActiveState("office"));
    EXPECT_EQ(DatabaseText(), Replaced(kOffice, kStamp, kLaterStamp));
}

TEST_F(ActiveStateTest, OfTwoTrunksToAMasterWithOneNameOnlyTheFirstIsStamped) {
    const FixedClock clock(kMoment, 0);
    const std::string slave = Replaced(kOffice, "trunk_type=1", "trunk_type=0");
    WriteDatabase(slave + kOffice + kOffice);
    EXPECT_TRUE(config.SetTrunkToMasterActiveState("office"));
    EXPECT_EQ(DatabaseText(), slave + Replaced(kOffice, kStamp, kNewStamp) + kOffice);
}

TEST_F(ActiveStateTest, ANameThatNoTrunkToAMasterHasChangesNothingAndSavesAllTheSame) {
    const std::string before = std::string(kAgents) + kOffice + kBranch + kOthers;
    WriteDatabase(before);
    for (const char* name : kUnknownNames) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.SetTrunkToMasterActiveState(name)); }));
        EXPECT_EQ(DatabaseText(), before);
        EXPECT_EQ(NewLogText(),
                  std::string("INFO:SIP Trunk: Set active state trunk to master : ") + name + "\n");
    }
    EXPECT_TRUE(config.SetTrunkToMasterActiveState(std::string("office\0", 7)));
    EXPECT_EQ(DatabaseText(), before);
}

TEST_F(ActiveStateTest, TheRegistrationStatusStaysAsItIs) {
    const FixedClock clock(kMoment, 0);
    const std::string off = Replaced(kOffice, "registration_status=1", "registration_status=0");
    WriteDatabase(off);
    EXPECT_TRUE(config.SetTrunkToMasterActiveState("office"));
    EXPECT_EQ(DatabaseText(), Replaced(off, kStamp, kNewStamp));
}

TEST_F(ActiveStateTest, ALongNameIsLoggedWhole) {
    const std::string name(5000, 'n');
    WriteDatabase("");
    EXPECT_TRUE(config.SetTrunkToMasterActiveState(name));
    EXPECT_EQ(NewLogText(), "INFO:SIP Trunk: Set active state trunk to master : " + name + "\n");
}

TEST_F(ActiveStateTest, ANameWithPercentSignsIsLoggedAsItIs) {
    WriteDatabase("");
    EXPECT_TRUE(config.SetTrunkToMasterActiveState("100%s%n"));
    EXPECT_EQ(NewLogText(), "INFO:SIP Trunk: Set active state trunk to master : 100%s%n\n");
}

class InactiveStateTest : public DeviceFixture {};

TEST_F(InactiveStateTest, TheTrunkLosesItsStampAndNothingElse) {
    WriteDatabase(std::string(kAgents) + kOffice + kBranch);
    EXPECT_TRUE(config.SetTrunkToMasterInActiveState("office"));
    EXPECT_EQ(DatabaseText(), kAgents + Replaced(kOffice, kStamp, "") + kBranch);
    EXPECT_EQ(NewLogText(), "INFO:SIP Trunk: Set Trunk To Master : office  InActive State...\n");
}

TEST_F(InactiveStateTest, TheTrunkReadsAsInactiveAndCanBeSetActiveAnew) {
    const FixedClock clock(kMoment, 0);
    WriteDatabase(kOffice);
    EXPECT_TRUE(config.SetTrunkToMasterInActiveState("office"));
    auto activity = Base::TRUNK_ACTIVE;
    EXPECT_TRUE(config.GetSIPTrunkState("office", activity));
    EXPECT_EQ(activity, Base::TRUNK_INACTIVE);
    std::list<Base::STTrunkState> states;
    EXPECT_TRUE(config.GetSIPTrunksState(states, "1"));
    ASSERT_EQ(states.size(), 1U);
    EXPECT_FALSE(states.front().active);

    EXPECT_TRUE(config.SetTrunkToMasterActiveState("office"));
    EXPECT_EQ(DatabaseText(), Replaced(kOffice, kStamp, kNewStamp));
}

TEST_F(InactiveStateTest, SettingInactiveTwiceLeavesTheKeysAbsent) {
    const std::string inactive = Replaced(kOffice, kStamp, "");
    WriteDatabase(kOffice);
    EXPECT_TRUE(config.SetTrunkToMasterInActiveState("office"));
    EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.SetTrunkToMasterInActiveState("office")); }));
    EXPECT_EQ(DatabaseText(), inactive);
}

TEST_F(InactiveStateTest, HalfAStampGoesToo) {
    WriteDatabase(Replaced(kOffice, "registration_date=01/02/2023\n", ""));
    EXPECT_TRUE(config.SetTrunkToMasterInActiveState("office"));
    EXPECT_EQ(DatabaseText(), Replaced(kOffice, kStamp, ""));

    WriteDatabase(Replaced(kOffice, "registration_time=10:11:12\n", ""));
    EXPECT_TRUE(config.SetTrunkToMasterInActiveState("office"));
    EXPECT_EQ(DatabaseText(), Replaced(kOffice, kStamp, ""));
}

TEST_F(InactiveStateTest, OfTwoTrunksToAMasterWithOneNameOnlyTheFirstIsCleared) {
    const std::string slave = Replaced(kOffice, "trunk_type=1", "trunk_type=0");
    WriteDatabase(slave + kOffice + kOffice);
    EXPECT_TRUE(config.SetTrunkToMasterInActiveState("office"));
    EXPECT_EQ(DatabaseText(), slave + Replaced(kOffice, kStamp, "") + kOffice);
}

TEST_F(InactiveStateTest, ANameThatNoTrunkToAMasterHasChangesNothingAndSavesAllTheSame) {
    const std::string before = std::string(kAgents) + kOffice + kBranch + kOthers;
    WriteDatabase(before);
    for (const char* name : kUnknownNames) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.SetTrunkToMasterInActiveState(name)); }));
        EXPECT_EQ(DatabaseText(), before);
        EXPECT_EQ(NewLogText(), std::string("INFO:SIP Trunk: Set Trunk To Master : ") + name +
                                    "  InActive State...\n");
    }
    EXPECT_TRUE(config.SetTrunkToMasterInActiveState(std::string("office\0", 7)));
    EXPECT_EQ(DatabaseText(), before);
}

class UnregisterAllTest : public DeviceFixture {};

TEST_F(UnregisterAllTest, EachTrunkWithAStatusThatBeginsWithOneGetsZeroAndTheFirstSectionNot) {
    const std::string slave = Replaced(kBranch, "}\n", "registration_status=10\n}\n");
    const std::string first = Replaced(kAgents, "}\n", "registration_status=1\n}\n");
    WriteDatabase(first + kOffice + slave + "section {\nregistration_status=1x\n}\n");
    EXPECT_TRUE(config.SetUnregisterStateToTrunks());
    EXPECT_EQ(DatabaseText(),
              first + Replaced(kOffice, "registration_status=1", "registration_status=0") +
                  Replaced(slave, "registration_status=10", "registration_status=0") +
                  "section {\nregistration_status=0\n}\n");
    EXPECT_EQ(NewLogText(), "");
}

TEST_F(UnregisterAllTest, OtherValuesAreLeftUntouchedAndSavedAllTheSame) {
    std::string text = kAgents;
    for (const char* status : {"0", "", "true", " 1", "01", "2", "-1"}) {
        text += std::string("section {\nregistration_status=") + status + "\n}\n";
    }
    text += "section {\ntrunk_name=without\n}\n";
    WriteDatabase(text);
    EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.SetUnregisterStateToTrunks()); }));
    EXPECT_EQ(DatabaseText(), text);
}

TEST_F(UnregisterAllTest, ASectionWithoutAStatusIsNotTakenForTheOneBefore) {
    const std::string without = "section {\ntrunk_name=without\n}\n";
    WriteDatabase(kAgents + std::string(kOffice) + without);
    EXPECT_TRUE(config.SetUnregisterStateToTrunks());
    EXPECT_EQ(
        DatabaseText(),
        kAgents + Replaced(kOffice, "registration_status=1", "registration_status=0") + without);
}

TEST_F(UnregisterAllTest, TheFirstSectionIsSteppedOverEvenWhenItIsATrunk) {
    WriteDatabase(std::string(kOffice) + kOffice);
    EXPECT_TRUE(config.SetUnregisterStateToTrunks());
    EXPECT_EQ(DatabaseText(),
              kOffice + Replaced(kOffice, "registration_status=1", "registration_status=0"));
}

TEST_F(UnregisterAllTest, AnEmptyDatabaseAndASingleSectionAreSavedUnchanged) {
    for (const char* text : {"", "# nothing\n", kOffice}) {
        SCOPED_TRACE(text);
        WriteDatabase(text);
        EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.SetUnregisterStateToTrunks()); }));
        EXPECT_EQ(DatabaseText(), text);
    }
}

}  // namespace
