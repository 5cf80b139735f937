#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/ending_memory.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/record_values.h"

namespace {

using Base = CSIPTrunkBase;
using Users = std::vector<Base::STAccessibleUser>;
using Slaves = std::vector<Base::STAccessibleSlave>;

const char* const kStamp = "registration_date=01/02/2023\nregistration_time=10:11:12\n";

class MasterAccountsTest : public UntouchedDeviceFixture {
  protected:
    Users List() {
        Users users;
        EXPECT_TRUE(config.GetMasterAccesibleUsersList(users));
        EXPECT_EQ(NewLogText(), "");
        return users;
    }
};

TEST_F(MasterAccountsTest, EachTrunkForASlaveGivesNameUserAndPasswordInFileOrder) {
    WriteDatabase(std::string(kAgents) + kOffice + kBranch +
                  "section {\nuser_name=b\npassword=c\ntrunk_name=a\ntrunk_type=0\n}\n");
    EXPECT_EQ(List(), (Users{{"branch", "branch-user", "branch-password"}, {"a", "b", "c"}}));
}

TEST_F(MasterAccountsTest, OnlyATypeOfExactlyZeroIsListed) {
    for (const char* line : {"trunk_type=1\n", "trunk_type=2\n", "trunk_type=00\n",
                             "trunk_type= 0\n", "trunk_type=0 \n", "trunk_type=\n", ""}) {
        SCOPED_TRACE(line);
        WriteDatabase(Replaced(kBranch, "trunk_type=0\n", line));
        EXPECT_EQ(List(), Users());
    }
}

TEST_F(MasterAccountsTest, TheRegistrationStatusPlaysNoPart) {
    for (const char* status : {"0", "1"}) {
        WriteDatabase(
            Replaced(kBranch, "}\n", std::string("registration_status=") + status + "\n}\n"));
        EXPECT_EQ(List(), (Users{{"branch", "branch-user", "branch-password"}}));
    }
}

TEST_F(MasterAccountsTest, NewItemsFollowTheOnesThatTheVectorHolds) {
    WriteDatabase(kBranch);
    Users users{{"x", "y", "z"}};
    EXPECT_TRUE(config.GetMasterAccesibleUsersList(users));
    EXPECT_TRUE(config.GetMasterAccesibleUsersList(users));
    EXPECT_EQ(users, (Users{{"x", "y", "z"},
                            {"branch", "branch-user", "branch-password"},
                            {"branch", "branch-user", "branch-password"}}));
}

TEST_F(MasterAccountsTest, MissingKeysGiveTheEmptyTextAndNotTheOneReadBefore) {
    WriteDatabase(std::string(kBranch) + "section {\ntrunk_type=0\n}\n");
    EXPECT_EQ(List(), (Users{{"branch", "branch-user", "branch-password"}, {"", "", ""}}));
}

TEST_F(MasterAccountsTest, ADatabaseWithoutTrunksLeavesTheVectorAsItIs) {
    for (const char* text : {"", kAgents}) {
        WriteDatabase(text);
        Users users{{"x", "y", "z"}};
        EXPECT_TRUE(config.GetMasterAccesibleUsersList(users));
        EXPECT_EQ(users, (Users{{"x", "y", "z"}}));
    }
}

TEST_F(MasterAccountsTest, AfterAFailureTheVectorKeepsWhatWasAppendedBefore) {
    WriteDatabase(std::string(kBranch) + Replaced(kBranch, "=branch\n", "=second\n"));
    const auto [before, all] = AppendUntilMemoryLasts(
        Users(), [&](Users& users) { return config.GetMasterAccesibleUsersList(users); });
    EXPECT_EQ(before.size(), 1U);
    EXPECT_EQ(all.size(), 2U);
}

class SlaveAccountsTest : public DeviceFixture {
  protected:
    // What is listed for a database; checks that `after` is saved.
    Slaves List(const std::string& before, const std::string& after) {
        Slaves slaves;
        WriteDatabase(before);
        EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.GetSlaveAccesibleUsersList(slaves)); }));
        EXPECT_EQ(DatabaseText(), after);
        EXPECT_EQ(NewLogText(), "");
        return slaves;
    }
};

TEST_F(SlaveAccountsTest, EachRegisteredTrunkToAMasterIsListedAndLosesItsStamp) {
    const std::string other =
        "section {\nmaster_port=e\nmaster_ip=d\npassword=c\nuser_name=b\ntrunk_name=a\n"
        "registration_time=f\nregistration_status=1\ntrunk_type=1\nregistration_date=g\n}\n";
    EXPECT_EQ(
        List(std::string(kAgents) + kOffice + kBranch + other,
             kAgents + Replaced(kOffice, kStamp, "") + kBranch +
                 "section {\nmaster_port=e\nmaster_ip=d\npassword=c\nuser_name=b\n"
                 "trunk_name=a\nregistration_status=1\ntrunk_type=1\n}\n"),
        (Slaves{{"office", "office-user", "office-password", "10.0.0.1", "5061", false, 0, false},
                {"a", "b", "c", "d", "e", false, 0, false}}));
}

TEST_F(SlaveAccountsTest, OnlyATypeOfExactlyOneIsListedAndTheOthersKeepTheirStamp) {
    for (const char* line : {"trunk_type=0\n", "trunk_type=2\n", "trunk_type=01\n",
                             "trunk_type= 1\n", "trunk_type=1 \n", "trunk_type=\n", ""}) {
        SCOPED_TRACE(line);
        const std::string other = Replaced(kOffice, "trunk_type=1\n", line);
        EXPECT_EQ(List(other, other), Slaves());
    }
}

TEST_F(SlaveAccountsTest, OnlyAStatusOfExactlyOneIsListedAndTheOthersKeepTheirStamp) {
    for (const char* line :
         {"registration_status=0\n", "registration_status=10\n", "registration_status=01\n",
          "registration_status= 1\n", "registration_status=\n", "registration_status=true\n"}) {
        SCOPED_TRACE(line);
        const std::string other = Replaced(kOffice, "registration_status=1\n", line);
        EXPECT_EQ(List(other, other), Slaves());
    }
}

TEST_F(SlaveAccountsTest, AMissingStatusIsNotTakenForTheTypeReadBefore) {
    const std::string without = Replaced(kOffice, "registration_status=1\n", "");
    EXPECT_EQ(List(without, without), Slaves());
}

TEST_F(SlaveAccountsTest, NewItemsFollowTheOnesThatTheVectorHolds) {
    WriteDatabase(kOffice);
    const Base::STAccessibleSlave own{"v", "w", "x", "y", "z", true, 7, true};
    const Base::STAccessibleSlave office{
        "office", "office-user", "office-password", "10.0.0.1", "5061", false, 0, false};
    Slaves slaves{own};
    EXPECT_TRUE(config.GetSlaveAccesibleUsersList(slaves));
    EXPECT_TRUE(config.GetSlaveAccesibleUsersList(slaves));
    EXPECT_EQ(slaves, (Slaves{own, office, office}));
}

TEST_F(SlaveAccountsTest, ASecondCallListsTheSameTrunksWhichAreInactive) {
    const std::string inactive = Replaced(kOffice, kStamp, "");
    const Slaves first = List(kOffice, inactive);
    auto activity = Base::TRUNK_ACTIVE;
    EXPECT_TRUE(config.GetSIPTrunkState("office", activity));
    EXPECT_EQ(activity, Base::TRUNK_INACTIVE);
    EXPECT_EQ(List(inactive, inactive), first);
    EXPECT_EQ(first.size(), 1U);
}

TEST_F(SlaveAccountsTest, HalfAStampGoesToo) {
    const std::string inactive = Replaced(kOffice, kStamp, "");
    EXPECT_EQ(List(Replaced(kOffice, "registration_date=01/02/2023\n", ""), inactive).size(), 1U);
    EXPECT_EQ(List(Replaced(kOffice, "registration_time=10:11:12\n", ""), inactive).size(), 1U);
}

TEST_F(SlaveAccountsTest, MissingKeysGiveTheEmptyTextAndNotTheOneReadBefore) {
    const std::string bare = "section {\ntrunk_type=1\nregistration_status=1\n}\n";
    EXPECT_EQ(List(kOffice + bare, Replaced(kOffice, kStamp, "") + bare).back(),
              Base::STAccessibleSlave());
}

TEST_F(SlaveAccountsTest, ADatabaseWithoutSuchATrunkIsSavedUnchanged) {
    for (const char* text : {"", "# nothing\n", kAgents, kBranch}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(List(text, text), Slaves());
    }
}

TEST_F(SlaveAccountsTest, AFailedSaveKeepsTheStampsOnTheDiskAndTheRecordsInTheVector) {
    WriteDatabase(kOffice);
    const FailingCall failing(Call::kRenameat, EROFS);
    Slaves slaves;
    EXPECT_FALSE(config.GetSlaveAccesibleUsersList(slaves));
    EXPECT_EQ(slaves.size(), 1U);
    EXPECT_EQ(DatabaseText(), kOffice);
    EXPECT_EQ(NewLogText(), "ERROR: " + DatabasePath() + ": rename: Read-only file system \n");
}

TEST_F(SlaveAccountsTest, TheFieldsThatAreTheCallersOwnAreCopiedWithTheRecord) {
    const Base::STAccessibleSlave record{"a", "b", "c", "d", "e", true, -5, true};
    const Base::STAccessibleSlave copy = record;
    EXPECT_EQ(copy.aux_value, -5);
    EXPECT_TRUE(copy.aux_flag);
    Base::STAccessibleSlave assigned;
    assigned = record;
    EXPECT_EQ(assigned, record);
}

}  // namespace
