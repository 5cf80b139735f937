#include <cstdio>

#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/record_values.h"

namespace {

using Record = CSIPTrunkBase::STParamsRecord;

const Record kMaster{"lab",      "lab-user", "lab-password", "10.0.3.1", "5031", "09/09/2009",
                     "19:19:19", "1",        true,           true};
const Record kSlave{"shop", "shop-user",  "shop-password", "10.0.4.1",
                    "5041", "08/08/2008", "18:18:18",      "0",
                    true,   true};

const char* const kMasterSection =
    "section {\n"
    "trunk_name=lab\n"
    "trunk_type=1\n"
    "user_name=lab-user\n"
    "password=lab-password\n"
    "master_ip=10.0.3.1\n"
    "master_port=5031\n"
    "registration_status=1\n"
    "}\n";
const char* const kSlaveSection =
    "section {\n"
    "trunk_name=shop\n"
    "trunk_type=0\n"
    "user_name=shop-user\n"
    "password=shop-password\n"
    "sym_nat=1\n"
    "}\n";

class StoreTest : public DeviceFixture {
  protected:
    // Stores `record`, which is only read.
    bool Store(const std::string& trunkName, const Record& record, bool resetRegistration) {
        Record given = record;
        const bool result = config.SetSIPTrunkParams(trunkName, given, resetRegistration);
        EXPECT_EQ(given, record);
        return result;
    }
};

TEST_F(StoreTest, ANewTrunkToAMasterGoesToTheEndWithItsKeysInOrder) {
    const std::string before = std::string(kAgents) + kOffice + "# the end\n";
    WriteDatabase(before);
    EXPECT_TRUE(Store("", kMaster, false));
    EXPECT_EQ(DatabaseText(), before + kMasterSection);
    EXPECT_EQ(NewLogText(), "");
}

TEST_F(StoreTest, ANewTrunkForASlaveGoesToTheEndWithItsKeysInOrder) {
    const std::string before = std::string(kAgents) + kBranch;
    WriteDatabase(before);
    EXPECT_TRUE(Store("", kSlave, false));
    EXPECT_EQ(DatabaseText(), before + kSlaveSection);
}

TEST_F(StoreTest, ANewTrunkForASlaveWithResetGetsEmptyRegistrationKeysBeforeSymNat) {
    WriteDatabase("");
    EXPECT_TRUE(Store("", kSlave, true));
    EXPECT_EQ(DatabaseText(),
              "section {\n"
              "trunk_name=shop\n"
              "trunk_type=0\n"
              "user_name=shop-user\n"
              "password=shop-password\n"
              "slave_ip=\n"
              "slave_port=\n"
              "registration_date=\n"
              "registration_time=\n"
              "sym_nat=1\n"
              "}\n");
}

TEST_F(StoreTest, FlagsThatAreOffAreStoredAsZero) {
    WriteDatabase("");
    Record master = kMaster;
    master.registration_status = false;
    Record slave = kSlave;
    slave.sym_nat = false;
    EXPECT_TRUE(Store("", master, false));
    EXPECT_TRUE(Store("", slave, false));
    EXPECT_EQ(DatabaseText(),
              Replaced(kMasterSection, "registration_status=1", "registration_status=0") +
                  Replaced(kSlaveSection, "sym_nat=1", "sym_nat=0"));
}

TEST_F(StoreTest, AnEmptyNameAddsATrunkEachTime) {
    WriteDatabase(kMasterSection);
    EXPECT_TRUE(Store("", kMaster, false));
    EXPECT_TRUE(Store("", kMaster, false));
    EXPECT_EQ(DatabaseText(), std::string(kMasterSection) + kMasterSection + kMasterSection);
}

TEST_F(StoreTest, AnEmptyNameAddsATrunkEvenWhenOneWithAnEmptyNameIsThere) {
    const std::string before = "section {\ntrunk_name=\n}\n";
    WriteDatabase(before);
    EXPECT_TRUE(Store("", kMaster, false));
    EXPECT_EQ(DatabaseText(), before + kMasterSection);
}

TEST_F(StoreTest, AnEmptyNameAddsATrunkToAnEmptyDatabaseAndToAMissingOne) {
    WriteDatabase("");
    EXPECT_TRUE(Store("", kMaster, false));
    EXPECT_EQ(DatabaseText(), kMasterSection);

    std::remove(DatabasePath().c_str());
    EXPECT_TRUE(Store("", kSlave, false));
    EXPECT_EQ(DatabaseText(), kSlaveSection);
}

TEST_F(StoreTest, AnUnknownNameInAMissingDatabaseLeavesAnEmptyOneAndIsNotDone) {
    EXPECT_FALSE(Store("lab", kMaster, false));
    EXPECT_EQ(DatabaseText(), "");
    EXPECT_EQ(NewLogText(), "");
}

TEST_F(StoreTest, AnUnknownNameChangesNothingAndLogsNothing) {
    const std::string before = std::string(kAgents) + kOffice + kBranch;
    WriteDatabase(before);
    for (const char* name : {"unknown", "Office", "office ", " office", "offic"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(Saves([&] { EXPECT_FALSE(Store(name, kMaster, true)); }));
        EXPECT_EQ(DatabaseText(), before);
        EXPECT_EQ(NewLogText(), "");
    }
    EXPECT_FALSE(Store(std::string("office\0", 7), kMaster, true));
    EXPECT_EQ(DatabaseText(), before);
}

TEST_F(StoreTest, ANameThatBeginsWithNulIsNotEmptyAndAddsNothing) {
    const std::string before = std::string("section {\ntrunk_name=\n}\n") + kOffice;
    WriteDatabase(before);
    for (const std::string& name : {std::string(1, '\0'), std::string("\0office", 7)}) {
        EXPECT_FALSE(Saves([&] { EXPECT_FALSE(Store(name, kMaster, false)); }));
        EXPECT_EQ(DatabaseText(), before);
    }
}

TEST_F(StoreTest, FieldsOfATrunkToAMasterThatAreEmptyAreStored) {
    WriteDatabase(kMasterSection);
    Record record;
    record.trunk_type = "1";
    EXPECT_TRUE(Store("lab", record, false));
    EXPECT_EQ(DatabaseText(),
              "section {\ntrunk_name=\ntrunk_type=1\nuser_name=\npassword=\nmaster_ip=\n"
              "master_port=\nregistration_status=0\n}\n");
}

TEST_F(StoreTest, ARegistrationStatusThatATrunkForASlaveHasStaysAsItIs) {
    for (const char* status : {"0", "1", ""}) {
        const std::string kept = std::string("registration_status=") + status + "\n}\n";
        const std::string before = Replaced(kSlaveSection, "}\n", kept);
        WriteDatabase(before);
        Record record = kSlave;
        for (const bool own : {false, true}) {
            record.registration_status = own;
            EXPECT_TRUE(Store("shop", record, own));
            EXPECT_NE(DatabaseText().find(kept.substr(0, kept.size() - 2)), std::string::npos);
        }
    }
}

TEST_F(StoreTest, TheNameMayBeAFieldOfTheRecord) {
    WriteDatabase(kMasterSection + std::string(kOffice));
    Record record = kMaster;
    record.password = "new";
    EXPECT_TRUE(config.SetSIPTrunkParams(record.trunk_name, record, false));
    EXPECT_EQ(DatabaseText(), Replaced(kMasterSection, "lab-password", "new") + kOffice);
    record.trunk_name = "branch";
    record.user_name = "office";
    EXPECT_TRUE(config.SetSIPTrunkParams(record.user_name, record, false));
    EXPECT_NE(DatabaseText().find("trunk_name=branch\n"), std::string::npos);
}

TEST_F(StoreTest, ATrunkToAMasterIsRewrittenInPlaceAndKeepsItsOtherKeys) {
    WriteDatabase(std::string(kAgents) +
                  "section {\n"
                  "  # the way to the lab\n"
                  "  registration_status=0\n"
                  "  master_port=1\n"
                  "  master_ip=2\n"
                  "  changed_password=3\n"
                  "  password=4\n"
                  "  registration_date=5\n"
                  "  user_name=6\n"
                  "  trunk_type=0\n"
                  "  sym_nat=0\n"
                  "  trunk_name=old\n"
                  "}\n" +
                  kBranch);
    EXPECT_TRUE(Store("old", kMaster, false));
    EXPECT_EQ(DatabaseText(), std::string(kAgents) +
                                  "section {\n"
                                  "  # the way to the lab\n"
                                  "  registration_status=1\n"
                                  "  master_port=5031\n"
                                  "  master_ip=10.0.3.1\n"
                                  "  changed_password=3\n"
                                  "  password=lab-password\n"
                                  "  registration_date=5\n"
                                  "  user_name=lab-user\n"
                                  "  trunk_type=1\n"
                                  "  sym_nat=0\n"
                                  "  trunk_name=lab\n"
                                  "}\n" +
                                  kBranch);
}

TEST_F(StoreTest, MissingKeysAreAddedAfterTheOthersInOrder) {
    WriteDatabase("section {\nown=kept\ntrunk_name=old\n}\n");
    EXPECT_TRUE(Store("old", kMaster, false));
    EXPECT_EQ(DatabaseText(),
              "section {\n"
              "own=kept\n"
              "trunk_name=lab\n"
              "trunk_type=1\n"
              "user_name=lab-user\n"
              "password=lab-password\n"
              "master_ip=10.0.3.1\n"
              "master_port=5031\n"
              "registration_status=1\n"
              "}\n");
}

TEST_F(StoreTest, OfTwoTrunksWithOneNameOnlyTheFirstIsRewritten) {
    WriteDatabase(std::string(kAgents) + kSlaveSection + kSlaveSection);
    Record record = kSlave;
    record.password = "changed";
    EXPECT_TRUE(Store("shop", record, false));
    EXPECT_EQ(DatabaseText(),
              kAgents + Replaced(kSlaveSection, "shop-password", "changed") + kSlaveSection);
}

TEST_F(StoreTest, ASectionWithoutANameIsNeverFound) {
    const std::string before = std::string(kAgents) + "section {\nuser_name=lab\n}\n";
    WriteDatabase(before);
    EXPECT_FALSE(Store("lab", kMaster, false));
    EXPECT_EQ(DatabaseText(), before);
}

TEST_F(StoreTest, ARenamedTrunkIsFoundByItsNewNameOnly) {
    WriteDatabase("section {\ntrunk_name=old\n}\n");
    EXPECT_TRUE(Store("old", kMaster, false));
    EXPECT_FALSE(Store("old", kMaster, false));
    EXPECT_TRUE(Store("lab", kMaster, false));
}

TEST_F(StoreTest, AnyTypeButOneIsStoredAsATrunkForASlave) {
    for (const char* type : {"01", " 1", "", "2", "10", "1 "}) {
        SCOPED_TRACE(type);
        WriteDatabase("");
        Record record = kSlave;
        record.trunk_type = type;
        EXPECT_TRUE(Store("", record, false));
        EXPECT_EQ(DatabaseText(),
                  Replaced(kSlaveSection, "trunk_type=0", std::string("trunk_type=") + type));
    }
}

TEST_F(StoreTest, WithoutResetATrunkForASlaveKeepsItsRegistration) {
    WriteDatabase(std::string(kAgents) + kBranch);
    EXPECT_TRUE(Store("branch", kSlave, false));
    EXPECT_EQ(DatabaseText(), std::string(kAgents) +
                                  "section {\n"
                                  "trunk_name=shop\n"
                                  "trunk_type=0\n"
                                  "user_name=shop-user\n"
                                  "password=shop-password\n"
                                  "slave_ip=10.0.0.2\n"
                                  "slave_port=5062\n"
                                  "registration_date=03/04/2023\n"
                                  "registration_time=13:14:15\n"
                                  "sym_nat=1\n"
                                  "}\n");
}

TEST_F(StoreTest, WithResetATrunkForASlaveKeepsTheKeysOfItsRegistrationEmpty) {
    WriteDatabase(std::string(kBranch) + kOffice);
    Record record = kSlave;
    record.sym_nat = false;
    EXPECT_TRUE(Store("branch", record, true));
    EXPECT_EQ(DatabaseText(), std::string("section {\n"
                                          "trunk_name=shop\n"
                                          "trunk_type=0\n"
                                          "user_name=shop-user\n"
                                          "password=shop-password\n"
                                          "slave_ip=\n"
                                          "slave_port=\n"
                                          "registration_date=\n"
                                          "registration_time=\n"
                                          "sym_nat=0\n"
                                          "}\n") +
                                  kOffice);
    Record read;
    EXPECT_TRUE(config.GetSIPTrunkParams("shop", read));
    EXPECT_EQ(read,
              (Record{"shop", "shop-user", "shop-password", "", "", "", "", "0", false, false}));
}

TEST_F(StoreTest, ResetHasNoEffectOnATrunkToAMaster) {
    const std::string kept =
        "slave_ip=10.0.0.7\n"
        "slave_port=5067\n"
        "registration_date=01/02/2023\n"
        "registration_time=10:11:12\n"
        "sym_nat=1\n"
        "changed_user_name=saved\n"
        "}\n";
    WriteDatabase(Replaced(kMasterSection, "}\n", kept));
    Record record = kMaster;
    record.sym_nat = false;
    record.password = "new";
    EXPECT_TRUE(Store("lab", record, true));
    EXPECT_EQ(DatabaseText(),
              Replaced(Replaced(kMasterSection, "lab-password", "new"), "}\n", kept));
}

TEST_F(StoreTest, AChangeOfKindKeepsTheKeysOfTheOldKindAndBackAgainReadsThem) {
    WriteDatabase(kMasterSection);
    Record asSlave = kMaster;
    asSlave.trunk_type = "0";
    EXPECT_TRUE(Store("lab", asSlave, false));
    const std::string changed =
        Replaced(Replaced(kMasterSection, "trunk_type=1", "trunk_type=0"), "}\n", "sym_nat=1\n}\n");
    EXPECT_EQ(DatabaseText(), changed);

    Record asMaster = kMaster;
    asMaster.remote_ip = "10.0.3.2";
    EXPECT_TRUE(Store("lab", asMaster, false));
    EXPECT_EQ(DatabaseText(),
              Replaced(Replaced(changed, "trunk_type=0", "trunk_type=1"), "10.0.3.1", "10.0.3.2"));
}

TEST_F(StoreTest, AFieldIsStoredUpToItsFirstNul) {
    WriteDatabase("");
    Record record = kSlave;
    record.user_name = std::string("shop-user\0more", 14);
    EXPECT_TRUE(config.SetSIPTrunkParams("", record, false));
    EXPECT_EQ(DatabaseText(), kSlaveSection);
}

TEST_F(StoreTest, ATypeIsJudgedWholeAndStoredUpToItsFirstNul) {
    WriteDatabase("");
    Record record = kMaster;
    record.trunk_type = std::string("1\0", 2);
    EXPECT_TRUE(config.SetSIPTrunkParams("", record, false));
    EXPECT_EQ(DatabaseText(),
              "section {\n"
              "trunk_name=lab\n"
              "trunk_type=1\n"
              "user_name=lab-user\n"
              "password=lab-password\n"
              "sym_nat=1\n"
              "}\n");
}

TEST_F(StoreTest, ALongFieldIsStoredWhole) {
    WriteDatabase("");
    Record record = kSlave;
    record.password = std::string(5000, 'p');
    EXPECT_TRUE(config.SetSIPTrunkParams("", record, false));
    EXPECT_EQ(DatabaseText(), Replaced(kSlaveSection, "shop-password", record.password));
}

TEST_F(StoreTest, AFieldWithALineFeedIsRefusedAndNothingIsStored) {
    const std::string before = std::string(kAgents) + kOffice;
    WriteDatabase(before);
    const std::pair<std::string Record::*, const char*> fields[] = {
        {&Record::trunk_name, "trunk_name"}, {&Record::trunk_type, "trunk_type"},
        {&Record::user_name, "user_name"},   {&Record::password, "password"},
        {&Record::remote_ip, "master_ip"},   {&Record::remote_port, "master_port"}};
    for (const auto& [field, key] : fields) {
        SCOPED_TRACE(key);
        Record record = kMaster;
        record.*field = "1\nsection {";
        EXPECT_FALSE(Saves([&] { EXPECT_FALSE(Store("office", record, false)); }));
        EXPECT_EQ(DatabaseText(), before);
        EXPECT_EQ(NewLogText(), "ERROR: " + DatabasePath() + ": key \"" + key +
                                    "\": its value holds a line feed \n");
    }
}

TEST_F(StoreTest, ARewriteThatChangesNothingIsSavedAllTheSame) {
    WriteDatabase(kMasterSection);
    EXPECT_TRUE(Saves([&] { EXPECT_TRUE(Store("lab", kMaster, false)); }));
    EXPECT_EQ(DatabaseText(), kMasterSection);
}

TEST_F(StoreTest, AFailedSaveOfANewTrunkIsReported) {
    WriteDatabase(kAgents);
    const FailingCall full(Call::kWritev, ENOSPC);
    EXPECT_FALSE(Store("", kMaster, false));
    EXPECT_EQ(DatabaseText(), kAgents);
    EXPECT_EQ(NewLogText(), "ERROR: " + DatabasePath() + ": write: No space left on device \n");
}

}  // namespace
