#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"

namespace {

class RemoveTest : public DeviceFixture {
  protected:
    // Deletes `trunkName` and tells whether it was registered; the flag is false before.
    bool WasRegistered(const std::string& trunkName, bool checkRegistration) {
        bool wasRegistered = false;
        EXPECT_TRUE(config.DeleteTrunk(trunkName, checkRegistration, wasRegistered));
        return wasRegistered;
    }

    // Calls for a trunk that is not there: nothing changes, and nothing is logged.
    void ExpectNotFound(const std::string& trunkName) {
        SCOPED_TRACE(trunkName);
        const std::string before = DatabaseText();
        for (const bool own : {false, true}) {
            bool wasRegistered = own;
            EXPECT_FALSE(
                Saves([&] { EXPECT_FALSE(config.DeleteTrunk(trunkName, true, wasRegistered)); }));
            EXPECT_EQ(wasRegistered, own);
            EXPECT_EQ(DatabaseText(), before);
            EXPECT_EQ(NewLogText(), "");
        }
    }
};

TEST_F(RemoveTest, ATrunkGoesWithAllItsKeysAndNothingElseDoes) {
    WriteDatabase(std::string(kAgents) + "\n# the office\n" + kOffice + "\n# the branch\n" +
                  kBranch);
    EXPECT_FALSE(WasRegistered("branch", true));
    EXPECT_EQ(DatabaseText(),
              std::string(kAgents) + "\n# the office\n" + kOffice + "\n# the branch\n");
    EXPECT_TRUE(WasRegistered("office", true));
    EXPECT_EQ(DatabaseText(), std::string(kAgents) + "\n# the office\n\n# the branch\n");
    EXPECT_EQ(NewLogText(), "");
}

TEST_F(RemoveTest, OfTwoTrunksWithOneNameEachCallRemovesTheFirst) {
    const std::string first = "section {\ntrunk_name=twin\nuser_name=a\nregistration_status=1\n}\n";
    const std::string second = "section {\ntrunk_name=twin\nuser_name=b\n}\n";
    WriteDatabase(kAgents + first + second);
    EXPECT_TRUE(WasRegistered("twin", true));
    EXPECT_EQ(DatabaseText(), kAgents + second);
    EXPECT_FALSE(WasRegistered("twin", true));
    EXPECT_EQ(DatabaseText(), kAgents);
    ExpectNotFound("twin");
}

TEST_F(RemoveTest, ANameThatDiffersInCaseOrByABlankRemovesNothing) {
    WriteDatabase(std::string(kAgents) + kOffice);
    for (const char* name : {"Office", "office ", " office", "offic", "office1", "", "1"}) {
        ExpectNotFound(name);
    }
    ExpectNotFound(std::string("office\0", 7));
}

TEST_F(RemoveTest, WithoutACheckTheFlagIsNeverWritten) {
    for (const bool own : {false, true}) {
        WriteDatabase(kOffice);
        bool wasRegistered = own;
        EXPECT_TRUE(config.DeleteTrunk("office", false, wasRegistered));
        EXPECT_EQ(wasRegistered, own);
    }
}

TEST_F(RemoveTest, TheFlagOfAnUnregisteredTrunkKeepsTheCallersValue) {
    for (const char* line :
         {"registration_status=0\n", "registration_status=\n", "registration_status= 1\n",
          "registration_status=true\n", "registration_status=01\n", ""}) {
        SCOPED_TRACE(line);
        for (const bool own : {false, true}) {
            WriteDatabase(std::string(kAgents) +
                          Replaced(kOffice, "registration_status=1\n", line));
            bool wasRegistered = own;
            EXPECT_TRUE(config.DeleteTrunk("office", true, wasRegistered));
            EXPECT_EQ(wasRegistered, own);
            EXPECT_EQ(DatabaseText(), kAgents);
        }
    }
}

TEST_F(RemoveTest, AStatusThatBeginsWithTheDigitOneCountsAsRegistered) {
    for (const char* status : {"1", "10", "1x", "1 "}) {
        SCOPED_TRACE(status);
        WriteDatabase(Replaced(kOffice, "registration_status=1",
                               std::string("registration_status=") + status));
        EXPECT_TRUE(WasRegistered("office", true));
        EXPECT_EQ(DatabaseText(), "");
    }
}

TEST_F(RemoveTest, ATrunkForASlaveIsJudgedByItsStatusTheSameWay) {
    WriteDatabase(Replaced(kBranch, "}\n", "registration_status=1\n}\n"));
    EXPECT_TRUE(WasRegistered("branch", true));
    EXPECT_EQ(DatabaseText(), "");
}

TEST_F(RemoveTest, AnEmptyNameRemovesTheFirstTrunkWhoseNameIsThereAndEmpty) {
    const std::string nameless = "section {\nuser_name=nameless\n}\n";
    WriteDatabase(kAgents + nameless);
    ExpectNotFound("");

    WriteDatabase(kAgents + nameless + "section {\ntrunk_name=\n}\n" + kOffice);
    EXPECT_FALSE(WasRegistered("", true));
    EXPECT_EQ(DatabaseText(), kAgents + nameless + kOffice);
}

TEST_F(RemoveTest, AFailedSaveKeepsTheTrunkAndTellsAllTheSameThatItWasRegistered) {
    WriteDatabase(std::string(kAgents) + kOffice);
    const FailingCall failing(Call::kRenameat, EROFS);
    bool wasRegistered = false;
    EXPECT_FALSE(config.DeleteTrunk("office", true, wasRegistered));
    EXPECT_TRUE(wasRegistered);
    EXPECT_EQ(DatabaseText(), std::string(kAgents) + kOffice);
    EXPECT_EQ(NewLogText(), "ERROR: " + DatabasePath() + ": rename: Read-only file system \n");
}

TEST_F(RemoveTest, ADatabaseWithoutSectionsHasNothingToRemove) {
    WriteDatabase("");
    ExpectNotFound("office");
    ExpectNotFound("");
}

}  // namespace
