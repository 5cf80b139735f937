#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/record_values.h"

namespace {

using Registration = CSIPTrunkBase::STRegistrationParam;

const char* const kRegistration =
    "slave_ip=10.0.0.2\n"
    "slave_port=5062\n"
    "registration_date=03/04/2023\n"
    "registration_time=13:14:15\n";
const char* const kNewStamp = "registration_date=03/07/2024\nregistration_time=09:05:31\n";
const char* const kNewRegistration =
    "slave_ip=10.0.0.3\n"
    "slave_port=5063\n"
    "registration_date=03/07/2024\n"
    "registration_time=09:05:31\n";

// A trunk for a slave that has never registered.
std::string NewBranch() { return Replaced(kBranch, kRegistration, ""); }

// `section` with `lines` after its entries.
std::string With(const std::string& section, const std::string& lines) {
    return Replaced(section, "}\n", lines + "}\n");
}

Registration Of(const std::string& userName) { return {userName, "other", "10.0.0.3", "5063"}; }

// User names that no section of the database in these tests has.
const char* const kUnknownUsers[] = {"unknown",      "Branch-user", "branch-user ",
                                     " branch-user", "branch-use",  "branch"};

class RegisterTest : public DeviceFixture {};

TEST_F(RegisterTest, AddressAndStampAreAddedAfterTheOtherKeysInOrder) {
    const FixedClock clock(kMoment, 0);
    WriteDatabase(std::string(kAgents) + kOffice + NewBranch());
    EXPECT_TRUE(config.SetRegisterParam(Of("branch-user"), false));
    EXPECT_EQ(DatabaseText(), std::string(kAgents) + kOffice + With(NewBranch(), kNewRegistration));
    EXPECT_EQ(NewLogText(),
              "INFO:SIP Trunk: Set branch-user@10.0.0.3:5063 slave registration params in "
              "siptrunkdb... \n");
}

TEST_F(RegisterTest, AnEmptyAddressIsStored) {
    const FixedClock clock(kMoment, 0);
    const std::string emptied =
        With(NewBranch(), std::string("slave_ip=\nslave_port=\n") + kNewStamp);
    WriteDatabase(NewBranch());
    EXPECT_TRUE(config.SetRegisterParam({"branch-user", "", "", ""}, false));
    EXPECT_EQ(DatabaseText(), emptied);

    WriteDatabase(NewBranch());
    EXPECT_TRUE(config.ChangeRegisterParam({"branch-user", "", "a", "b"}, {"", "", "", ""}));
    EXPECT_EQ(DatabaseText(), emptied);
}

TEST_F(RegisterTest, AnEarlierRegistrationIsReplacedWhereItStands) {
    const FixedClock clock(kMoment, 0);
    WriteDatabase(
        "section {\nregistration_time=1\nslave_port=2\nuser_name=u\nregistration_date=3\n"
        "slave_ip=4\n}\n");
    EXPECT_TRUE(config.SetRegisterParam(Of("u"), false));
    EXPECT_EQ(DatabaseText(),
              "section {\nregistration_time=09:05:31\nslave_port=5063\nuser_name=u\n"
              "registration_date=03/07/2024\nslave_ip=10.0.0.3\n}\n");
}

TEST_F(RegisterTest, ARefreshRenewsTheStampAndKeepsTheAddress) {
    const FixedClock clock(kMoment, 0);
    WriteDatabase(std::string(kAgents) + kBranch);
    EXPECT_TRUE(config.SetRegisterParam(Of("branch-user"), true));
    EXPECT_EQ(
        DatabaseText(),
        kAgents + Replaced(kBranch, "registration_date=03/04/2023\nregistration_time=13:14:15\n",
                           kNewStamp));
    EXPECT_EQ(NewLogText(),
              "INFO:SIP Trunk: Set branch-user@10.0.0.3:5063 slave registration params in "
              "siptrunkdb... \n");
}

TEST_F(RegisterTest, ARefreshWithoutAnAddressAddsTheStampOnlyAndTheSlaveIsNotListed) {
    const FixedClock clock(kMoment, 0);
    WriteDatabase(NewBranch());
    EXPECT_TRUE(config.SetRegisterParam(Of("branch-user"), true));
    EXPECT_EQ(DatabaseText(), With(NewBranch(), kNewStamp));
    std::vector<Registration> slaves;
    EXPECT_TRUE(config.InitRegisterSlaveList(slaves));
    EXPECT_EQ(slaves, std::vector<Registration>());
}

TEST_F(RegisterTest, TwoRegistrationsLeaveTheSecondAddressOnceAndTheNewerStamp) {
    WriteDatabase(NewBranch());
    {
        const FixedClock clock(kMoment, 0);
        EXPECT_TRUE(config.SetRegisterParam(Of("branch-user"), false));
    }
    const FixedClock clock(kLaterMoment, 0);
    EXPECT_TRUE(config.SetRegisterParam({"branch-user", "", "10.0.0.4", "5064"}, false));
    EXPECT_EQ(DatabaseText(), With(NewBranch(),
                                   "slave_ip=10.0.0.4\n"
                                   "slave_port=5064\n"
                                   "registration_date=01/01/2025\n"
                                   "registration_time=00:05:07\n"));
}

TEST_F(RegisterTest, ARegistrationFillsTheKeysThatAResetLeftEmpty) {
    const FixedClock clock(kMoment, 0);
    WriteDatabase(
        With(NewBranch(), "slave_ip=\nslave_port=\nregistration_date=\nregistration_time=\n"));
    EXPECT_TRUE(config.SetRegisterParam(Of("branch-user"), false));
    EXPECT_EQ(DatabaseText(), With(NewBranch(), kNewRegistration));
}

TEST_F(RegisterTest, OfTwoSectionsWithOneUserOnlyTheFirstWhateverItsTypeIsRegistered) {
    const FixedClock clock(kMoment, 0);
    const std::string master = "section {\ntrunk_type=1\nuser_name=u\n}\n";
    const std::string slave = "section {\ntrunk_type=0\nuser_name=u\n}\n";
    WriteDatabase(kAgents + master + slave);
    EXPECT_TRUE(config.SetRegisterParam(Of("u"), false));
    EXPECT_EQ(DatabaseText(), kAgents + With(master, kNewRegistration) + slave);
}

TEST_F(RegisterTest, AnUnknownUserChangesNothingAndSavesAllTheSame) {
    const std::string before = std::string(kAgents) + kOffice + kBranch;
    WriteDatabase(before);
    for (const char* user : kUnknownUsers) {
        SCOPED_TRACE(user);
        EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.SetRegisterParam(Of(user), false)); }));
        EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.SetRegisterParam(Of(user), true)); }));
        EXPECT_EQ(DatabaseText(), before);
        const std::string line = std::string("INFO:SIP Trunk: Set ") + user +
                                 "@10.0.0.3:5063 slave registration params in siptrunkdb... \n";
        EXPECT_EQ(NewLogText(), line + line);
    }
    EXPECT_TRUE(config.SetRegisterParam(Of(std::string("branch-user\0", 12)), false));
    EXPECT_EQ(DatabaseText(), before);
}

TEST_F(RegisterTest, AnEmptyDatabaseIsSaved) {
    WriteDatabase("");
    EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.SetRegisterParam(Of("u"), false)); }));
    EXPECT_EQ(DatabaseText(), "");
}

TEST_F(RegisterTest, AnEmptyUserSelectsTheFirstSectionWithoutAUserOrWithAnEmptyOne) {
    const FixedClock clock(kMoment, 0);
    const std::string without = "section {\ntrunk_name=without\n}\n";
    const std::string empty = "section {\nuser_name=\n}\n";
    WriteDatabase(kBranch + without + empty);
    EXPECT_TRUE(config.SetRegisterParam(Of(""), false));
    EXPECT_EQ(DatabaseText(), kBranch + With(without, kNewRegistration) + empty);

    WriteDatabase(kBranch + empty + without);
    EXPECT_TRUE(config.SetRegisterParam(Of(""), false));
    EXPECT_EQ(DatabaseText(), kBranch + With(empty, kNewRegistration) + without);
}

TEST_F(RegisterTest, AnAddressWithALineFeedIsRefusedAndNothingIsStored) {
    WriteDatabase(kBranch);
    const Registration forged{"branch-user", "", "10.0.0.3\ntrunk_type=1", "5063"};
    EXPECT_FALSE(Saves([&] { EXPECT_FALSE(config.SetRegisterParam(forged, false)); }));
    EXPECT_EQ(DatabaseText(), kBranch);
    EXPECT_EQ(NewLogText(),
              "INFO:SIP Trunk: Set branch-user@10.0.0.3\\x0atrunk_type=1:5063 slave registration "
              "params in siptrunkdb... \n"
              "ERROR: " +
                  DatabasePath() + ": key \"slave_ip\": its value holds a line feed \n");
    // A refresh has no use for the address.
    EXPECT_TRUE(config.SetRegisterParam(forged, true));
}

TEST_F(RegisterTest, AnAddressIsStoredUpToItsFirstNul) {
    const FixedClock clock(kMoment, 0);
    WriteDatabase(NewBranch());
    EXPECT_TRUE(config.SetRegisterParam(
        {"branch-user", "", std::string("10.0.0.3\0x", 10), std::string("5063\0y", 6)}, false));
    EXPECT_EQ(DatabaseText(), With(NewBranch(), kNewRegistration));
}

class ChangeRegistrationTest : public DeviceFixture {};

TEST_F(ChangeRegistrationTest, TheNewAddressIsStoredWithTheStampOfNowAndNothingIsLogged) {
    const FixedClock clock(kMoment, 0);
    WriteDatabase(std::string(kAgents) + kOffice + kBranch);
    EXPECT_TRUE(config.ChangeRegisterParam({"branch-user", "p", "10.0.0.2", "5062"},
                                           {"branch-user", "q", "10.0.0.3", "5063"}));
    EXPECT_EQ(DatabaseText(),
              std::string(kAgents) + kOffice + Replaced(kBranch, kRegistration, kNewRegistration));
    EXPECT_EQ(NewLogText(), "");
}

TEST_F(ChangeRegistrationTest, ASlaveThatHasNotRegisteredGetsAddressAndStampInOrder) {
    const FixedClock clock(kMoment, 0);
    WriteDatabase(NewBranch());
    EXPECT_TRUE(config.ChangeRegisterParam({"branch-user", "", "", ""}, Of("branch-user")));
    EXPECT_EQ(DatabaseText(), With(NewBranch(), kNewRegistration));
}

TEST_F(ChangeRegistrationTest, TheOldUserSelectsTheSectionAndTheNewOneIsNotStored) {
    const FixedClock clock(kMoment, 0);
    WriteDatabase(std::string(kOffice) + NewBranch());
    EXPECT_TRUE(config.ChangeRegisterParam({"branch-user", "", "", ""}, Of("office-user")));
    const std::string after = kOffice + With(NewBranch(), kNewRegistration);
    EXPECT_EQ(DatabaseText(), after);

    EXPECT_TRUE(config.ChangeRegisterParam(Of("new-user"), {"branch-user", "", "x", "y"}));
    EXPECT_EQ(DatabaseText(), after);
}

TEST_F(ChangeRegistrationTest, OfTwoSectionsWithOneUserOnlyTheFirstWhateverItsTypeIsChanged) {
    const FixedClock clock(kMoment, 0);
    const std::string master = "section {\ntrunk_type=1\nuser_name=u\n}\n";
    const std::string slave = "section {\ntrunk_type=0\nuser_name=u\n}\n";
    WriteDatabase(master + slave);
    EXPECT_TRUE(config.ChangeRegisterParam({"u", "", "", ""}, Of("")));
    EXPECT_EQ(DatabaseText(), With(master, kNewRegistration) + slave);
}

TEST_F(ChangeRegistrationTest, AnUnknownUserChangesNothingAndSavesAllTheSame) {
    const std::string before = std::string(kAgents) + kOffice + kBranch;
    WriteDatabase(before);
    for (const char* user : kUnknownUsers) {
        SCOPED_TRACE(user);
        EXPECT_TRUE(
            Saves([&] { EXPECT_TRUE(config.ChangeRegisterParam(Of(user), Of("branch-user"))); }));
        EXPECT_EQ(DatabaseText(), before);
    }
    EXPECT_EQ(NewLogText(), "");
    WriteDatabase("");
    EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.ChangeRegisterParam(Of("u"), Of("u"))); }));
    EXPECT_EQ(DatabaseText(), "");
}

TEST_F(ChangeRegistrationTest, AnEmptyUserSelectsTheFirstSectionWithoutAUser) {
    const FixedClock clock(kMoment, 0);
    const std::string without = "section {\ntrunk_name=without\n}\n";
    WriteDatabase(kBranch + without);
    EXPECT_TRUE(config.ChangeRegisterParam({}, Of("branch-user")));
    EXPECT_EQ(DatabaseText(), kBranch + With(without, kNewRegistration));
}

class UnregisterTest : public DeviceFixture {};

TEST_F(UnregisterTest, TheRegistrationGoesWhateverItsAddressAndNothingElseDoes) {
    WriteDatabase(std::string(kAgents) + kOffice + kBranch);
    EXPECT_TRUE(config.SetUnregisterParam({"branch-user", "other", "10.9.9.9", "5999"}));
    EXPECT_EQ(DatabaseText(), std::string(kAgents) + kOffice + NewBranch());
    EXPECT_EQ(NewLogText(),
              "INFO:SIP Trunk: Set branch-user@10.9.9.9:5999 slave unregister params in "
              "siptrunkdb... \n");
}

TEST_F(UnregisterTest, ASectionWithoutARegistrationStaysAsItIs) {
    WriteDatabase(NewBranch());
    EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.SetUnregisterParam(Of("branch-user"))); }));
    EXPECT_EQ(DatabaseText(), NewBranch());
}

TEST_F(UnregisterTest, PartsOfARegistrationGoToo) {
    for (const char* part : {"slave_ip=10.0.0.2\n", "slave_port=5062\n",
                             "registration_date=03/04/2023\n", "registration_time=13:14:15\n"}) {
        SCOPED_TRACE(part);
        WriteDatabase(Replaced(kBranch, part, ""));
        EXPECT_TRUE(config.SetUnregisterParam(Of("branch-user")));
        EXPECT_EQ(DatabaseText(), NewBranch());
        WriteDatabase(With(NewBranch(), part));
        EXPECT_TRUE(config.SetUnregisterParam(Of("branch-user")));
        EXPECT_EQ(DatabaseText(), NewBranch());
    }
}

TEST_F(UnregisterTest, OfTwoSectionsWithOneUserOnlyTheFirstWhateverItsTypeIsUnregistered) {
    const std::string master =
        "section {\ntrunk_type=1\nuser_name=branch-user\nslave_ip=x\nregistration_date=y\n}\n";
    WriteDatabase(master + kBranch);
    EXPECT_TRUE(config.SetUnregisterParam(Of("branch-user")));
    EXPECT_EQ(DatabaseText(),
              std::string("section {\ntrunk_type=1\nuser_name=branch-user\n}\n") + kBranch);
}

TEST_F(UnregisterTest, AnUnknownUserChangesNothingAndSavesAllTheSame) {
    const std::string before = std::string(kAgents) + kOffice + kBranch;
    WriteDatabase(before);
    for (const char* user : kUnknownUsers) {
        SCOPED_TRACE(user);
        EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.SetUnregisterParam(Of(user))); }));
        EXPECT_EQ(DatabaseText(), before);
        EXPECT_EQ(NewLogText(), std::string("INFO:SIP Trunk: Set ") + user +
                                    "@10.0.0.3:5063 slave unregister params in siptrunkdb... \n");
    }
    EXPECT_TRUE(config.SetUnregisterParam(Of(std::string("branch-user\0", 12))));
    EXPECT_EQ(DatabaseText(), before);
    WriteDatabase("");
    EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.SetUnregisterParam(Of("u"))); }));
    EXPECT_EQ(DatabaseText(), "");
}

TEST_F(UnregisterTest, AnEmptyUserPassesSectionsWithoutAUserAndSelectsAnEmptyOne) {
    const std::string without = "section {\nslave_ip=x\nregistration_date=y\n}\n";
    WriteDatabase(without);
    EXPECT_TRUE(config.SetUnregisterParam(Of("")));
    EXPECT_EQ(DatabaseText(), without);

    WriteDatabase(without + "section {\nuser_name=\nslave_ip=x\nslave_port=z\n}\n");
    EXPECT_TRUE(config.SetUnregisterParam(Of("")));
    EXPECT_EQ(DatabaseText(), without + "section {\nuser_name=\n}\n");
}

}  // namespace
