#include <list>

#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/ending_memory.h"
#include "tests/fixture/record_values.h"

namespace {

using Base = CSIPTrunkBase;
using States = std::list<Base::STTrunkState>;

const char* const kDateOfOffice = "registration_date=01/02/2023\n";

class TrunkStatesTest : public UntouchedDeviceFixture {
  protected:
    States List(const std::string& type) {
        States states;
        EXPECT_TRUE(config.GetSIPTrunksState(states, type));
        EXPECT_EQ(NewLogText(), "");
        return states;
    }
};

TEST_F(TrunkStatesTest, ADatabaseWithoutTrunksGivesNoItemsAndIsNoFailure) {
    for (const char* text : {"", kAgents}) {
        WriteDatabase(text);
        for (const char* type : {"0", "1", "2", ""}) {
            EXPECT_EQ(List(type), States());
        }
    }
}

TEST_F(TrunkStatesTest, TwoListsTrunksOfEveryKindAndThoseWithoutAType) {
    WriteDatabase(std::string(kAgents) + kOffice + "section {\ntrunk_name=untyped\n}\n" +
                  Replaced(kBranch, "registration_date=03/04/2023\n", "") +
                  "section {\ntrunk_name=odd\ntrunk_type=odd\nregistration_date=x\n}\n");
    EXPECT_EQ(List("2"),
              (States{{"office", true}, {"untyped", false}, {"branch", false}, {"odd", true}}));
}

TEST_F(TrunkStatesTest, OneListsTheTrunksToAMasterOnly) {
    WriteDatabase(std::string(kAgents) + kBranch + "section {\ntrunk_name=untyped\n}\n" + kOffice);
    EXPECT_EQ(List("1"), (States{{"office", true}}));
    EXPECT_EQ(List("0"), (States{{"branch", true}}));
}

TEST_F(TrunkStatesTest, TheTypeIsComparedWhole) {
    WriteDatabase(std::string(kOffice) +
                  "section {\ntrunk_name=a\ntrunk_type=2\n}\n"
                  "section {\ntrunk_name=b\ntrunk_type=slave\n}\n");
    for (const char* type : {"01", "1 ", " 1", "10", "Slave", "slav", " 2", "2 "}) {
        EXPECT_EQ(List(type), States()) << type;
    }
    EXPECT_EQ(List(std::string("1\0", 2)), States());
    EXPECT_EQ(List(std::string("2\0", 2)), States());
    EXPECT_EQ(List("slave"), (States{{"b", false}}));
}

TEST_F(TrunkStatesTest, AnEmptyTypeListsTheTrunksWhoseTypeIsThereAndEmpty) {
    WriteDatabase(std::string(kAgents) + kOffice + "section {\ntrunk_name=untyped\n}\n" +
                  "section {\ntrunk_name=empty\ntrunk_type=\n}\n");
    EXPECT_EQ(List(""), (States{{"empty", false}}));
}

TEST_F(TrunkStatesTest, ASectionWhoseNameIsEmptyOrMissingIsNeverListed) {
    WriteDatabase(std::string(kAgents) +
                  "section {\ntrunk_type=1\nregistration_date=x\n}\n"
                  "section {\ntrunk_name=\ntrunk_type=1\nregistration_date=x\n}\n" +
                  kOffice);
    EXPECT_EQ(List("1"), (States{{"office", true}}));
    EXPECT_EQ(List("2"), (States{{"office", true}}));
}

TEST_F(TrunkStatesTest, NewItemsFollowTheOnesThatTheListHolds) {
    WriteDatabase(std::string(kAgents) + kBranch + kOffice);
    States states{{"own", true}};
    EXPECT_TRUE(config.GetSIPTrunksState(states, "2"));
    EXPECT_TRUE(config.GetSIPTrunksState(states, "2"));
    EXPECT_EQ(states, (States{{"own", true},
                              {"branch", true},
                              {"office", true},
                              {"branch", true},
                              {"office", true}}));
}

TEST_F(TrunkStatesTest, TheTypeMayBeAFieldOfAnItem) {
    WriteDatabase(std::string(kOffice) + kBranch);
    States states{{"1", false}};
    EXPECT_TRUE(config.GetSIPTrunksState(states, states.front().trunk_name));
    EXPECT_EQ(states, (States{{"1", false}, {"office", true}}));
}

TEST_F(TrunkStatesTest, ATrunkWithAnEmptyOrMissingDateIsNotActive) {
    WriteDatabase(std::string(kOffice) + Replaced(kOffice, kDateOfOffice, "") + kOffice +
                  Replaced(kOffice, kDateOfOffice, "registration_date=\n"));
    EXPECT_EQ(List("1"),
              (States{{"office", true}, {"office", false}, {"office", true}, {"office", false}}));
}

TEST_F(TrunkStatesTest, TheRegistrationStatusPlaysNoPart) {
    WriteDatabase(Replaced(kOffice, "registration_status=1", "registration_status=0") +
                  Replaced(kOffice, kDateOfOffice, ""));
    EXPECT_EQ(List("1"), (States{{"office", true}, {"office", false}}));
}

TEST_F(TrunkStatesTest, AfterAFailureTheListKeepsWhatWasAppendedBefore) {
    WriteDatabase(std::string(kOffice) + kBranch);
    const auto [before, all] = AppendUntilMemoryLasts(
        States(), [&](States& states) { return config.GetSIPTrunksState(states, "2"); });
    EXPECT_EQ(before.size(), 1U);
    EXPECT_EQ(all, (States{{"office", true}, {"branch", true}}));
}

class TrunkStateTest : public UntouchedDeviceFixture {
  protected:
    // The activity of `trunkName`, which is found whatever the caller's variable held.
    Base::SIPTrunkActivity Activity(const std::string& trunkName) {
        auto activity = Base::TRUNK_NOT_FOUND;
        EXPECT_TRUE(config.GetSIPTrunkState(trunkName, activity));
        auto same = Base::TRUNK_ACTIVE;
        EXPECT_TRUE(config.GetSIPTrunkState(trunkName, same));
        EXPECT_EQ(same, activity);
        EXPECT_EQ(NewLogText(), "");
        return activity;
    }
};

TEST_F(TrunkStateTest, ATrunkOfAnyKindWithADateIsActive) {
    WriteDatabase(std::string(kAgents) + kOffice + kBranch);
    EXPECT_EQ(Activity("office"), Base::TRUNK_ACTIVE);
    EXPECT_EQ(Activity("branch"), Base::TRUNK_ACTIVE);
}

TEST_F(TrunkStateTest, ATrunkWithAnEmptyOrMissingDateIsInactive) {
    WriteDatabase(Replaced(kOffice, kDateOfOffice, ""));
    EXPECT_EQ(Activity("office"), Base::TRUNK_INACTIVE);
    WriteDatabase(Replaced(kOffice, kDateOfOffice, "registration_date=\n"));
    EXPECT_EQ(Activity("office"), Base::TRUNK_INACTIVE);
}

TEST_F(TrunkStateTest, AnUnknownNameIsNotFoundAndNoFailure) {
    WriteDatabase(std::string(kAgents) + kOffice);
    for (const char* name : {"unknown", "Office", "office ", " office", "offic", ""}) {
        EXPECT_EQ(Activity(name), Base::TRUNK_NOT_FOUND) << name;
    }
    EXPECT_EQ(Activity(std::string("office\0", 7)), Base::TRUNK_NOT_FOUND);
    for (const char* text : {"", kAgents}) {
        WriteDatabase(text);
        EXPECT_EQ(Activity("office"), Base::TRUNK_NOT_FOUND);
    }
}

TEST_F(TrunkStateTest, OfTwoTrunksWithOneNameTheFirstDecides) {
    const std::string inactive = Replaced(kOffice, kDateOfOffice, "");
    WriteDatabase(kOffice + inactive);
    EXPECT_EQ(Activity("office"), Base::TRUNK_ACTIVE);
    WriteDatabase(inactive + kOffice);
    EXPECT_EQ(Activity("office"), Base::TRUNK_INACTIVE);
}

TEST_F(TrunkStateTest, AnEmptyNameFindsATrunkWhoseNameIsThereAndEmpty) {
    WriteDatabase(std::string(kAgents) + "section {\ntrunk_name=\nregistration_date=x\n}\n");
    EXPECT_EQ(Activity(""), Base::TRUNK_ACTIVE);
}

TEST_F(TrunkStateTest, AFailureToOpenLeavesTheCallersValue) {
    WriteDatabase("section {\n");
    auto activity = Base::TRUNK_INACTIVE;
    EXPECT_FALSE(config.GetSIPTrunkState("office", activity));
    EXPECT_EQ(activity, Base::TRUNK_INACTIVE);
    EXPECT_EQ(NewLogText(), "ERROR: " + DatabasePath() + ":1: section is not closed \n");
}

class StateOfTrunkToMasterTest : public UntouchedDeviceFixture {};

TEST_F(StateOfTrunkToMasterTest, OnlyAStatusOfExactlyOneIsRegistered) {
    const std::pair<const char*, bool> lines[] = {
        {"registration_status=1\n", true},   {"registration_status=0\n", false},
        {"registration_status=\n", false},   {"registration_status=10\n", false},
        {"registration_status=01\n", false}, {"registration_status=1 \n", false},
        {"registration_status= 1\n", false}, {"registration_status=true\n", false},
        {"registration_status=1x\n", false}, {"", false}};
    for (const auto& [line, isRegistered] : lines) {
        SCOPED_TRACE(line);
        WriteDatabase(kAgents + Replaced(kOffice, "registration_status=1\n", line));
        EXPECT_EQ(config.GetStateOfTrunkToMaster("office"), isRegistered);
        EXPECT_EQ(NewLogText(), "");
    }
}

TEST_F(StateOfTrunkToMasterTest, ATrunkOfAnotherTypeIsNeverRegistered) {
    for (const char* line : {"trunk_type=0\n", "trunk_type=2\n", "trunk_type=\n", "trunk_type=01\n",
                             "trunk_type= 1\n", "trunk_type=10\n", ""}) {
        SCOPED_TRACE(line);
        WriteDatabase(Replaced(kOffice, "trunk_type=1\n", line));
        EXPECT_FALSE(config.GetStateOfTrunkToMaster("office"));
    }
}

TEST_F(StateOfTrunkToMasterTest, AnUnknownNameIsNotRegisteredAndNoFailure) {
    WriteDatabase(std::string(kAgents) + Replaced(kOffice, "trunk_name=office\n", "") + kOffice);
    for (const char* name : {"unknown", "Office", "office ", " office", "offic", ""}) {
        EXPECT_FALSE(config.GetStateOfTrunkToMaster(name)) << name;
    }
    EXPECT_FALSE(config.GetStateOfTrunkToMaster(std::string("office\0", 7)));
    for (const char* text : {"", kAgents}) {
        WriteDatabase(text);
        EXPECT_FALSE(config.GetStateOfTrunkToMaster("office"));
    }
    EXPECT_EQ(NewLogText(), "");
}

TEST_F(StateOfTrunkToMasterTest, AnyTrunkToAMasterOfTheNameWithStatusOneGivesTrue) {
    const std::string absent = Replaced(kOffice, "registration_status=1\n", "");
    const std::string zero = Replaced(kOffice, "registration_status=1", "registration_status=0");
    const std::string slave = Replaced(kOffice, "trunk_type=1", "trunk_type=0");
    WriteDatabase(slave + absent + zero + kOffice);
    EXPECT_TRUE(config.GetStateOfTrunkToMaster("office"));
    WriteDatabase(slave + absent + zero);
    EXPECT_FALSE(config.GetStateOfTrunkToMaster("office"));
    WriteDatabase(kOffice + zero);
    EXPECT_TRUE(config.GetStateOfTrunkToMaster("office"));
}

}  // namespace
