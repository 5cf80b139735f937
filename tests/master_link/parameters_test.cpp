#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/record_values.h"

namespace {

using Fields = CSIPTrunkBase::STRegistrationFields;

const char* const kCopy =
    "changed_user_name=saved-user\n"
    "changed_password=saved-password\n"
    "changed_master_ip=10.0.0.9\n"
    "changed_master_port=5069\n";
const Fields kOwn{"a", "b", "c", "d", true};

std::string WithCopy() { return Replaced(kOffice, "}\n", std::string(kCopy) + "}\n"); }

class ParametersTest : public UntouchedDeviceFixture {
  protected:
    // Reads into a record that holds `own`.
    Fields Read(const std::string& trunkName, const Fields& own, bool current) {
        Fields fields = own;
        EXPECT_TRUE(config.GetTrunkToMasterParams(trunkName, fields, current));
        EXPECT_EQ(NewLogText(), "");
        return fields;
    }
};

TEST_F(ParametersTest, CurrentReadsTheLiveParametersWithTheRegistrationStatus) {
    WriteDatabase(std::string(kAgents) + kBranch + WithCopy());
    EXPECT_EQ(Read("office", {}, true),
              (Fields{"office-user", "office-password", "10.0.0.1", "5061", true}));
}

TEST_F(ParametersTest, NotCurrentReadsTheCopyAndKeepsTheCallersStatus) {
    WriteDatabase(std::string(kAgents) + kBranch + WithCopy());
    for (const bool own : {false, true}) {
        EXPECT_EQ(Read("office", {"", "", "", "", own}, false),
                  (Fields{"saved-user", "saved-password", "10.0.0.9", "5069", own}));
    }
}

TEST_F(ParametersTest, ACopyThatWasNeverTakenReadsAsEmptyTexts) {
    WriteDatabase(kOffice);
    EXPECT_EQ(Read("office", kOwn, false), (Fields{"", "", "", "", true}));
    EXPECT_EQ(Read("office", {}, false), Fields());
}

TEST_F(ParametersTest, MissingLiveParametersReadAsEmptyTextsAndAsFalse) {
    WriteDatabase("section {\ntrunk_type=1\ntrunk_name=bare\n}\n");
    EXPECT_EQ(Read("bare", kOwn, true), Fields());
}

TEST_F(ParametersTest, AStatusThatIsANumberOtherThanZeroIsTrue) {
    const std::pair<const char*, bool> values[] = {
        {"1", true},    {"2", true},     {"-1", true},  {"+1", true},
        {" 1", true},   {"\t 7", true},  {"007", true}, {"10", true},
        {"1x", true},   {"1 ", true},    {"0", false},  {"000", false},
        {"", false},    {"true", false}, {"-0", false}, {"x1", false},
        {"0x1", false}, {"- 1", false},  {" ", false},  {"99999999999999999999999999", true}};
    for (const auto& [text, isTrue] : values) {
        SCOPED_TRACE(text);
        WriteDatabase(
            Replaced(kOffice, "registration_status=1", std::string("registration_status=") + text));
        const Fields expected{"office-user", "office-password", "10.0.0.1", "5061", isTrue};
        EXPECT_EQ(Read("office", {"", "", "", "", !isTrue}, true), expected);
    }
}

TEST_F(ParametersTest, ANameThatNoTrunkToAMasterHasLeavesTheFieldsAndIsNoFailure) {
    WriteDatabase(std::string(kAgents) + kBranch + WithCopy() +
                  "section {\ntrunk_name=odd\ntrunk_type=01\nuser_name=x\n}\n"
                  "section {\ntrunk_name=untyped\nuser_name=x\n}\n"
                  "section {\ntrunk_type=1\nuser_name=x\n}\n");
    for (const char* name :
         {"unknown", "Office", "office ", " office", "offic", "", "branch", "odd", "untyped"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Read(name, kOwn, true), kOwn);
        EXPECT_EQ(Read(name, kOwn, false), kOwn);
    }
    EXPECT_EQ(Read(std::string("office\0", 7), kOwn, true), kOwn);
}

TEST_F(ParametersTest, OfTwoTrunksToAMasterWithOneNameTheFirstIsRead) {
    WriteDatabase(
        "section {\ntrunk_name=twin\ntrunk_type=0\nuser_name=s\nchanged_user_name=t\n}\n"
        "section {\ntrunk_name=twin\ntrunk_type=1\nuser_name=a\nchanged_user_name=b\n}\n"
        "section {\ntrunk_name=twin\ntrunk_type=1\nuser_name=c\nchanged_user_name=d\n}\n");
    EXPECT_EQ(Read("twin", {}, true).user_name, "a");
    EXPECT_EQ(Read("twin", {}, false).user_name, "b");
}

TEST_F(ParametersTest, NameAndFlagMayBeFieldsOfTheRecord) {
    WriteDatabase(Replaced(WithCopy(), "registration_status=1", "registration_status=0"));
    Fields fields{"office", "", "", "", true};
    EXPECT_TRUE(
        config.GetTrunkToMasterParams(fields.user_name, fields, fields.registration_status));
    EXPECT_EQ(fields, (Fields{"office-user", "office-password", "10.0.0.1", "5061", false}));

    fields.user_name = "office";
    EXPECT_TRUE(
        config.GetTrunkToMasterParams(fields.user_name, fields, fields.registration_status));
    EXPECT_EQ(fields, (Fields{"saved-user", "saved-password", "10.0.0.9", "5069", false}));
}

class SavedCopyTest : public DeviceFixture {};

TEST_F(SavedCopyTest, TheCopyIsAddedAfterTheOtherKeysInOrder) {
    WriteDatabase(std::string(kAgents) + kOffice + kBranch);
    EXPECT_TRUE(config.ChangeTrunkToMasterConfig("office"));
    EXPECT_EQ(DatabaseText(), kAgents +
                                  Replaced(kOffice, "}\n",
                                           "changed_user_name=office-user\n"
                                           "changed_password=office-password\n"
                                           "changed_master_ip=10.0.0.1\n"
                                           "changed_master_port=5061\n"
                                           "}\n") +
                                  kBranch);
    EXPECT_EQ(NewLogText(), "");
}

TEST_F(SavedCopyTest, AnEarlierCopyIsReplacedWhereItStands) {
    WriteDatabase(
        "section {\nchanged_master_port=1\nmaster_port=2\nmaster_ip=3\nchanged_password=4\n"
        "password=5\nuser_name=6\nchanged_user_name=7\ntrunk_type=1\ntrunk_name=office\n}\n");
    EXPECT_TRUE(config.ChangeTrunkToMasterConfig("office"));
    EXPECT_EQ(DatabaseText(),
              "section {\nchanged_master_port=2\nmaster_port=2\nmaster_ip=3\nchanged_password=5\n"
              "password=5\nuser_name=6\nchanged_user_name=6\ntrunk_type=1\ntrunk_name=office\n"
              "changed_master_ip=3\n}\n");
}

TEST_F(SavedCopyTest, AMissingPasswordIsCopiedAsTheEmptyText) {
    const std::string without = Replaced(kOffice, "password=office-password\n", "");
    WriteDatabase(without);
    EXPECT_TRUE(config.ChangeTrunkToMasterConfig("office"));
    EXPECT_EQ(DatabaseText(), Replaced(without, "}\n",
                                       "changed_user_name=office-user\n"
                                       "changed_password=\n"
                                       "changed_master_ip=10.0.0.1\n"
                                       "changed_master_port=5061\n"
                                       "}\n"));
}

TEST_F(SavedCopyTest, TakingItTwiceGivesTheSameCopy) {
    WriteDatabase(kOffice);
    EXPECT_TRUE(config.ChangeTrunkToMasterConfig("office"));
    const std::string once = DatabaseText();
    EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.ChangeTrunkToMasterConfig("office")); }));
    EXPECT_EQ(DatabaseText(), once);
}

TEST_F(SavedCopyTest, ALaterStoreLeavesTheCopyAsItWasTaken) {
    WriteDatabase(kOffice);
    EXPECT_TRUE(config.ChangeTrunkToMasterConfig("office"));
    CSIPTrunkBase::STParamsRecord record{
        "office", "new-user", "new-password", "10.0.0.5", "5065", "", "", "1", false, false};
    EXPECT_TRUE(config.SetSIPTrunkParams("office", record, false));
    Fields live;
    Fields copy;
    EXPECT_TRUE(config.GetTrunkToMasterParams("office", live, true));
    EXPECT_TRUE(config.GetTrunkToMasterParams("office", copy, false));
    EXPECT_EQ(live, (Fields{"new-user", "new-password", "10.0.0.5", "5065", false}));
    EXPECT_EQ(copy, (Fields{"office-user", "office-password", "10.0.0.1", "5061", false}));
}

TEST_F(SavedCopyTest, OfTwoTrunksToAMasterWithOneNameOnlyTheFirstIsCopied) {
    const std::string slave = "section {\ntrunk_name=twin\ntrunk_type=0\nuser_name=s\n}\n";
    const std::string twin = "section {\ntrunk_name=twin\ntrunk_type=1\nuser_name=a\n}\n";
    WriteDatabase(slave + twin + twin);
    EXPECT_TRUE(config.ChangeTrunkToMasterConfig("twin"));
    EXPECT_EQ(DatabaseText(), slave +
                                  Replaced(twin, "}\n",
                                           "changed_user_name=a\nchanged_password=\n"
                                           "changed_master_ip=\nchanged_master_port=\n}\n") +
                                  twin);
}

TEST_F(SavedCopyTest, ANameThatNoTrunkToAMasterHasChangesNothingAndSavesAllTheSame) {
    const std::string before = std::string(kAgents) + kOffice + kBranch +
                               "section {\ntrunk_name=odd\ntrunk_type=01\n}\n"
                               "section {\ntrunk_name=untyped\n}\nsection {\ntrunk_type=1\n}\n";
    WriteDatabase(before);
    for (const char* name :
         {"unknown", "Office", "office ", " office", "offic", "", "branch", "odd", "untyped"}) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.ChangeTrunkToMasterConfig(name)); }));
        EXPECT_EQ(DatabaseText(), before);
        EXPECT_EQ(NewLogText(), "");
    }
}

}  // namespace
