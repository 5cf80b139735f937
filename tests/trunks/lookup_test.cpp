#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/record_values.h"

namespace {

using Record = CSIPTrunkBase::STParamsRecord;

class LookupTest : public UntouchedDeviceFixture {};

Record WithFlags(bool symNat, bool registrationStatus) {
    Record record;
    record.sym_nat = symNat;
    record.registration_status = registrationStatus;
    return record;
}

TEST_F(LookupTest, ATrunkToAMasterComesWithTheMastersAddressAndItsRegistrationStatus) {
    WriteDatabase(std::string(kAgents) + kBranch + kOffice);
    Record record;
    EXPECT_TRUE(config.GetSIPTrunkParams("office", record));
    EXPECT_EQ(record, (Record{"office", "office-user", "office-password", "10.0.0.1", "5061",
                              "01/02/2023", "10:11:12", "1", false, true}));
    EXPECT_EQ(NewLogText(), "");
}

TEST_F(LookupTest, ATrunkForASlaveComesWithTheSlavesAddressAndSymNat) {
    WriteDatabase(std::string(kAgents) + kOffice + kBranch);
    Record record;
    EXPECT_TRUE(config.GetSIPTrunkParams("branch", record));
    EXPECT_EQ(record, (Record{"branch", "branch-user", "branch-password", "10.0.0.2", "5062",
                              "03/04/2023", "13:14:15", "0", true, false}));
    EXPECT_EQ(NewLogText(), "");
}

// A section that has the keys of both kinds, all but its type.
const char* const kBothKinds =
    "section {\n"
    "trunk_name=both\n"
    "user_name=both-user\n"
    "password=both-password\n"
    "master_ip=10.0.0.3\n"
    "master_port=5063\n"
    "registration_status=1\n"
    "registration_date=05/06/2023\n"
    "registration_time=16:17:18\n"
    "slave_ip=10.0.0.4\n"
    "slave_port=5064\n"
    "sym_nat=1\n"
    "}\n";

TEST_F(LookupTest, ATrunkOfAnyTypeButOneIsReadAsATrunkForASlave) {
    for (const char* type : {"0", "2", "", "01", " 1", "1 ", "10", "true"}) {
        SCOPED_TRACE(type);
        WriteDatabase(Replaced(kBothKinds, "}\n", std::string("trunk_type=") + type + "\n}\n"));
        Record record;
        EXPECT_TRUE(config.GetSIPTrunkParams("both", record));
        EXPECT_EQ(record, (Record{"both", "both-user", "both-password", "10.0.0.4", "5064",
                                  "05/06/2023", "16:17:18", type, true, false}));
    }
}

TEST_F(LookupTest, ATrunkWithoutATypeIsReadAsATrunkForASlave) {
    WriteDatabase(kBothKinds);
    Record record;
    EXPECT_TRUE(config.GetSIPTrunkParams("both", record));
    EXPECT_EQ(record, (Record{"both", "both-user", "both-password", "10.0.0.4", "5064",
                              "05/06/2023", "16:17:18", "", true, false}));
}

TEST_F(LookupTest, TheFlagOfTheOtherKindKeepsTheCallersValue) {
    WriteDatabase(std::string(kOffice) + kBranch);
    Record record = WithFlags(true, false);
    EXPECT_TRUE(config.GetSIPTrunkParams("office", record));
    EXPECT_TRUE(record.sym_nat);
    EXPECT_TRUE(record.registration_status);

    record = WithFlags(false, true);
    EXPECT_TRUE(config.GetSIPTrunkParams("branch", record));
    EXPECT_TRUE(record.sym_nat);
    EXPECT_TRUE(record.registration_status);
}

TEST_F(LookupTest, OfTwoTrunksWithOneNameTheFirstInFileOrderIsRead) {
    WriteDatabase(
        "section {\ntrunk_name=twin\nuser_name=first\n}\n"
        "section {\ntrunk_name=twin\nuser_name=second\n}\n");
    Record record;
    EXPECT_TRUE(config.GetSIPTrunkParams("twin", record));
    EXPECT_EQ(record.user_name, "first");
}

TEST_F(LookupTest, TheNameMayBeAFieldOfTheRecord) {
    WriteDatabase(std::string(kAgents) + kBranch + kOffice);
    Record record;
    record.trunk_type = "office";
    EXPECT_TRUE(config.GetSIPTrunkParams(record.trunk_type, record));
    EXPECT_EQ(record.user_name, "office-user");
    EXPECT_EQ(record.trunk_type, "1");
    EXPECT_TRUE(config.GetSIPTrunkParams(record.trunk_name, record));
    EXPECT_EQ(record.remote_ip, "10.0.0.1");
}

TEST_F(LookupTest, AnEmptyNameFindsOnlyATrunkWhoseNameIsThereAndEmpty) {
    WriteDatabase(std::string(kAgents) + "section {\nuser_name=nameless\n}\n" + kBranch);
    Record record;
    EXPECT_FALSE(config.GetSIPTrunkParams("", record));
    EXPECT_EQ(record, Record());

    WriteDatabase(std::string(kAgents) +
                  "section {\nuser_name=nameless\n}\n"
                  "section {\ntrunk_name=\nuser_name=empty\n}\n");
    EXPECT_TRUE(config.GetSIPTrunkParams("", record));
    EXPECT_EQ(record.user_name, "empty");
}

TEST_F(LookupTest, AnUnknownNameLeavesTheRecordAloneAndLogsNothing) {
    WriteDatabase(std::string(kAgents) + kOffice + kBranch);
    for (const char* name : {"Office", "OFFICE", "office ", " office", "offic", "office1", "",
                             "office-user", "unknown"}) {
        SCOPED_TRACE(name);
        const Record own{"a", "b", "c", "d", "e", "f", "g", "h", true, true};
        Record record = own;
        EXPECT_FALSE(config.GetSIPTrunkParams(name, record));
        EXPECT_EQ(record, own);
        EXPECT_EQ(NewLogText(), "");
    }
}

TEST_F(LookupTest, SymNatIsTrueWhenTheTextBeginsWithTheDigitOne) {
    const std::pair<const char*, bool> values[] = {{"1", true},     {"10", true}, {"1x", true},
                                                   {"0", false},    {"", false},  {" 1", false},
                                                   {"true", false}, {"01", false}};
    for (const auto& [text, isTrue] : values) {
        SCOPED_TRACE(text);
        WriteDatabase(std::string("section {\ntrunk_name=branch\nsym_nat=") + text + "\n}\n");
        Record record = WithFlags(!isTrue, false);
        EXPECT_TRUE(config.GetSIPTrunkParams("branch", record));
        EXPECT_EQ(record.sym_nat, isTrue);
    }
}

TEST_F(LookupTest, RegistrationStatusIsTrueWhenTheTextBeginsWithTheDigitOne) {
    const std::pair<const char*, bool> values[] = {{"1", true},     {"10", true}, {"1x", true},
                                                   {"0", false},    {"", false},  {" 1", false},
                                                   {"true", false}, {"2", false}};
    for (const auto& [text, isTrue] : values) {
        SCOPED_TRACE(text);
        WriteDatabase(
            std::string("section {\ntrunk_name=office\ntrunk_type=1\nregistration_status=") + text +
            "\n}\n");
        Record record = WithFlags(false, !isTrue);
        EXPECT_TRUE(config.GetSIPTrunkParams("office", record));
        EXPECT_EQ(record.registration_status, isTrue);
    }
}

TEST_F(LookupTest, MissingKeysReadAsTheEmptyTextAndAsFalse) {
    WriteDatabase(
        "section {\ntrunk_name=bare\n}\n"
        "section {\ntrunk_type=1\ntrunk_name=bare-master\n}\n");
    const Record own{"a", "b", "c", "d", "e", "f", "g", "h", true, true};
    Record record = own;
    EXPECT_TRUE(config.GetSIPTrunkParams("bare", record));
    EXPECT_EQ(record, (Record{"bare", "", "", "", "", "", "", "", false, true}));
    record = own;
    EXPECT_TRUE(config.GetSIPTrunkParams("bare-master", record));
    EXPECT_EQ(record, (Record{"bare-master", "", "", "", "", "", "", "1", true, false}));
}

TEST_F(LookupTest, AMissingPasswordIsEmptyBesideTheOtherFields) {
    WriteDatabase(Replaced(kOffice, "password=office-password\n", ""));
    Record record;
    EXPECT_TRUE(config.GetSIPTrunkParams("office", record));
    EXPECT_EQ(record, (Record{"office", "office-user", "", "10.0.0.1", "5061", "01/02/2023",
                              "10:11:12", "1", false, true}));
}

TEST_F(LookupTest, AtMost1023BytesOfAValueAreRead) {
    const std::string most(1023, 'n');
    WriteDatabase("section {\ntrunk_name=" + most + "n\nuser_name=" + most + "uuu\n}\n");
    Record record;
    EXPECT_FALSE(config.GetSIPTrunkParams(most + "n", record));
    EXPECT_TRUE(config.GetSIPTrunkParams(most, record));
    EXPECT_EQ(record.trunk_name, most);
    EXPECT_EQ(record.user_name, most);
}

TEST_F(LookupTest, ANameWithANulByteInItIsNoStoredName) {
    WriteDatabase(kOffice);
    Record record;
    EXPECT_FALSE(config.GetSIPTrunkParams(std::string("office\0", 7), record));
    EXPECT_FALSE(config.GetSIPTrunkParams(std::string("office\0x", 8), record));
    EXPECT_EQ(record, Record());
}

TEST_F(LookupTest, BytesOfAnyKindComeBackAsTheyAre) {
    WriteDatabase(
        "section {\ntrunk_name=B\xfcro \xe2\x82\xac\nuser_name= a = b # c "
        "\npassword=\t\xff\r\n}\n");
    Record record;
    EXPECT_TRUE(config.GetSIPTrunkParams("B\xfcro \xe2\x82\xac", record));
    EXPECT_EQ(record.user_name, " a = b # c ");
    EXPECT_EQ(record.password, "\t\xff\r");
}

}  // namespace
