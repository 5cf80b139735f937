#include <list>

#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/ending_memory.h"
#include "tests/fixture/record_values.h"

namespace {

using Record = CSIPTrunkBase::STParamsRecord;
using Records = std::list<Record>;

Record Named(const char* name) {
    Record record;
    record.trunk_name = name;
    return record;
}

std::vector<std::string> NamesOf(const Records& trunks) {
    std::vector<std::string> names;
    for (const Record& record : trunks) {
        names.push_back(record.trunk_name);
    }
    return names;
}

using Names = std::vector<std::string>;

// A trunk to a master with the keys of a trunk for a slave too, and the other way round.
const char* const kMasterOfBothKinds =
    "section {\n"
    "trunk_name=a\nuser_name=a-user\npassword=a-password\n"
    "master_ip=10.0.1.1\nmaster_port=5011\nregistration_status=1\n"
    "slave_ip=10.0.1.2\nslave_port=5012\nsym_nat=1\n"
    "registration_date=01/01/2021\nregistration_time=01:01:01\n"
    "trunk_type=1\n"
    "}\n";
const char* const kSlaveOfBothKinds =
    "section {\n"
    "trunk_name=b\nuser_name=b-user\npassword=b-password\n"
    "master_ip=10.0.2.1\nmaster_port=5021\nregistration_status=1\n"
    "slave_ip=10.0.2.2\nslave_port=5022\nsym_nat=1\n"
    "registration_date=02/02/2022\nregistration_time=02:02:02\n"
    "trunk_type=0\n"
    "}\n";

class ListByTypeTest : public UntouchedDeviceFixture {
  protected:
    Records List(const char* type) {
        Records trunks;
        EXPECT_TRUE(config.GetSIPTrunkParams(trunks, type, false));
        EXPECT_EQ(NewLogText(), "");
        return trunks;
    }
};

TEST_F(ListByTypeTest, TrunksToAMasterComeWithTheMastersAddressAndWithoutPasswordTypeAndFlags) {
    WriteDatabase(std::string(kAgents) + kMasterOfBothKinds + kSlaveOfBothKinds);
    EXPECT_EQ(List("1"), (Records{{"a", "a-user", "", "10.0.1.1", "5011", "01/01/2021", "01:01:01",
                                   "", false, false}}));
}

TEST_F(ListByTypeTest, TrunksForASlaveComeWithTheSlavesAddressAndSymNat) {
    WriteDatabase(std::string(kAgents) + kMasterOfBothKinds + kSlaveOfBothKinds);
    EXPECT_EQ(List("0"), (Records{{"b", "b-user", "", "10.0.2.2", "5022", "02/02/2022", "02:02:02",
                                   "", true, false}}));
}

TEST_F(ListByTypeTest, TheFlagHasNoEffect) {
    WriteDatabase(std::string(kAgents) + kMasterOfBothKinds + kSlaveOfBothKinds);
    for (const char* type : {"0", "1", "2"}) {
        Records trunks;
        EXPECT_TRUE(config.GetSIPTrunkParams(trunks, type, true));
        EXPECT_EQ(trunks, List(type));
    }
}

TEST_F(ListByTypeTest, ATrunkOfAnotherTypeIsListedByItLikeOneForASlave) {
    for (const char* type : {"2", "01", " 1", "1 ", "10", "master"}) {
        SCOPED_TRACE(type);
        WriteDatabase(
            Replaced(kSlaveOfBothKinds, "trunk_type=0", std::string("trunk_type=") + type));
        EXPECT_EQ(List(type), (Records{{"b", "b-user", "", "10.0.2.2", "5022", "02/02/2022",
                                        "02:02:02", "", true, false}}));
        EXPECT_EQ(List("1"), Records());
        EXPECT_EQ(List("0"), Records());
    }
}

TEST_F(ListByTypeTest, NewItemsFollowTheOnesThatTheListHolds) {
    WriteDatabase(
        "section {\ntrunk_name=x\ntrunk_type=1\n}\nsection {\ntrunk_name=y\ntrunk_type=1\n}\n");
    Records trunks{Named("own")};
    EXPECT_TRUE(config.GetSIPTrunkParams(trunks, "1", false));
    EXPECT_TRUE(config.GetSIPTrunkParams(trunks, "1", true));
    EXPECT_EQ(NamesOf(trunks), (Names{"own", "x", "y", "x", "y"}));
}

TEST_F(ListByTypeTest, AnEmptyTypeListsTheSectionsWhoseTypeIsThereAndEmpty) {
    WriteDatabase(std::string(kAgents) + kOffice + "section {\ntrunk_name=untyped\n}\n" +
                  "section {\ntrunk_name=empty\ntrunk_type=\n}\n" + kBranch);
    EXPECT_EQ(NamesOf(List("")), (Names{"empty"}));
}

TEST_F(ListByTypeTest, ASectionWithoutANameIsListedToo) {
    WriteDatabase("section {\ntrunk_type=1\nuser_name=nameless\n}\n");
    EXPECT_EQ(List("1"), (Records{{"", "nameless", "", "", "", "", "", "", false, false}}));
}

TEST_F(ListByTypeTest, ATrunkToAMasterThatNeverRegisteredIsListed) {
    WriteDatabase("section {\ntrunk_name=new\ntrunk_type=1\nmaster_ip=10.0.0.8\n}\n");
    EXPECT_EQ(NamesOf(List("1")), (Names{"new"}));
}

TEST_F(ListByTypeTest, AMissingKeyGivesTheEmptyTextAndNotTheOneReadBefore) {
    WriteDatabase(std::string(kBranch) + "section {\ntrunk_type=0\n}\n" + kOffice +
                  "section {\ntrunk_type=1\n}\n");
    EXPECT_EQ(List("0").back(), Record());
    EXPECT_EQ(List("1").back(), Record());
}

TEST_F(ListByTypeTest, SymNatIsTrueWhenTheTextBeginsWithTheDigitOne) {
    WriteDatabase(
        "section {\ntrunk_type=0\nsym_nat=1\n}\nsection {\ntrunk_type=0\nsym_nat=10\n}\n"
        "section {\ntrunk_type=0\nsym_nat=1x\n}\nsection {\ntrunk_type=0\nsym_nat=0\n}\n"
        "section {\ntrunk_type=0\nsym_nat=true\n}\nsection {\ntrunk_type=0\nsym_nat= 1\n}\n"
        "section {\ntrunk_type=0\nsym_nat=\n}\nsection {\ntrunk_type=0\n}\n");
    std::vector<bool> symNat;
    for (const Record& record : List("0")) {
        symNat.push_back(record.sym_nat);
    }
    EXPECT_EQ(symNat, (std::vector<bool>{true, true, true, false, false, false, false, false}));
}

TEST_F(ListByTypeTest, TheItemsComeInFileOrderAndNotByName) {
    WriteDatabase(
        "section {\ntrunk_name=m\ntrunk_type=0\n}\nsection {\ntrunk_name=z\ntrunk_type=0\n}\n"
        "section {\ntrunk_name=a\ntrunk_type=0\n}\nsection {\ntrunk_name=m\ntrunk_type=0\n}\n");
    EXPECT_EQ(NamesOf(List("0")), (Names{"m", "z", "a", "m"}));
}

TEST_F(ListByTypeTest, TheTypeIsComparedWhole) {
    WriteDatabase("section {\ntrunk_type=slave\n}\n");
    for (const char* type : {"Slave", "slave ", " slave", "slav", "slaves", ""}) {
        EXPECT_EQ(List(type), Records()) << type;
    }
    Records trunks;
    EXPECT_TRUE(config.GetSIPTrunkParams(trunks, std::string("slave\0", 6), false));
    EXPECT_EQ(trunks, Records());
}

TEST_F(ListByTypeTest, ADatabaseWithoutSectionsGivesNoItemsAndIsNoFailure) {
    for (const char* text : {"", "# nothing\n\n"}) {
        WriteDatabase(text);
        EXPECT_EQ(List("1"), Records());
        EXPECT_EQ(List(""), Records());
    }
}

TEST_F(ListByTypeTest, AfterAFailureTheListKeepsWhatWasAppendedBefore) {
    WriteDatabase(std::string("section {\ntrunk_name=first\ntrunk_type=0\n}\n") +
                  "section {\ntrunk_name=second\ntrunk_type=0\nuser_name=" + std::string(500, 'u') +
                  "\n}\n");
    const auto [before, all] = AppendUntilMemoryLasts(Records{Named("own")}, [&](Records& trunks) {
        return config.GetSIPTrunkParams(trunks, "0", false);
    });
    EXPECT_EQ(NamesOf(before), (Names{"own", "first"}));
    EXPECT_EQ(NamesOf(all), (Names{"own", "first", "second"}));
}

class ListAllTest : public UntouchedDeviceFixture {
  protected:
    Records List() {
        Records trunks;
        EXPECT_TRUE(config.GetAllSIPTrunkParams(trunks));
        EXPECT_EQ(NewLogText(), "");
        return trunks;
    }
};

TEST_F(ListAllTest, EachTrunkComesWithNameAddressAndPortAndForASlaveSymNat) {
    WriteDatabase(std::string(kAgents) + kMasterOfBothKinds + kSlaveOfBothKinds);
    EXPECT_EQ(List(), (Records{{"a", "", "", "10.0.1.1", "5011", "", "", "", false, false},
                               {"b", "", "", "10.0.2.2", "5022", "", "", "", true, false}}));
}

TEST_F(ListAllTest, NewItemsFollowTheOnesThatTheListHolds) {
    WriteDatabase(std::string(kAgents) + kBranch + kOffice);
    Records trunks{Named("own")};
    EXPECT_TRUE(config.GetAllSIPTrunkParams(trunks));
    EXPECT_TRUE(config.GetAllSIPTrunkParams(trunks));
    EXPECT_EQ(NamesOf(trunks), (Names{"own", "branch", "office", "branch", "office"}));
}

TEST_F(ListAllTest, ASectionWithoutANameOrATypeIsNotListed) {
    WriteDatabase(
        Replaced(kOffice, "trunk_name=office\n", "") + Replaced(kOffice, "trunk_type=1\n", "") +
        Replaced(kBranch, "trunk_name=branch\n", "") + Replaced(kBranch, "trunk_type=0\n", ""));
    EXPECT_EQ(List(), Records());
}

TEST_F(ListAllTest, AnEmptyNameOrTypeIsThereAllTheSame) {
    WriteDatabase(Replaced(kOffice, "trunk_name=office", "trunk_name=") +
                  Replaced(kBranch, "trunk_type=0", "trunk_type="));
    EXPECT_EQ(List(), (Records{{"", "", "", "10.0.0.1", "5061", "", "", "", false, false},
                               {"branch", "", "", "10.0.0.2", "5062", "", "", "", true, false}}));
}

TEST_F(ListAllTest, ATrunkToAMasterIsListedWhenItHasARegistrationDateEvenAnEmptyOne) {
    const char* const kDate = "registration_date=01/02/2023\n";
    WriteDatabase(Replaced(kOffice, kDate, ""));
    EXPECT_EQ(List(), Records());
    WriteDatabase(Replaced(kOffice, kDate, "slave_ip=10.0.0.7\n"));
    EXPECT_EQ(List(), Records());
    WriteDatabase(Replaced(kOffice, kDate, "registration_date=\n"));
    EXPECT_EQ(List(), (Records{{"office", "", "", "10.0.0.1", "5061", "", "", "", false, false}}));
}

TEST_F(ListAllTest, ATrunkToAMasterIsListedWhateverItsRegistrationStatus) {
    WriteDatabase(Replaced(kOffice, "registration_status=1", "registration_status=0"));
    EXPECT_EQ(NamesOf(List()), (Names{"office"}));
}

TEST_F(ListAllTest, ATrunkForASlaveIsListedWhenItHasASlaveIpEvenAnEmptyOne) {
    WriteDatabase(Replaced(kBranch, "slave_ip=10.0.0.2\n", ""));
    EXPECT_EQ(List(), Records());
    WriteDatabase(Replaced(kBranch, "slave_ip=10.0.0.2\n", "slave_ip=\n"));
    EXPECT_EQ(List(), (Records{{"branch", "", "", "", "5062", "", "", "", true, false}}));
}

TEST_F(ListAllTest, OnlyATypeOfExactlyOneIsATrunkToAMaster) {
    for (const char* type : {"0", "2", "", "01", " 1", "1 ", "10"}) {
        SCOPED_TRACE(type);
        WriteDatabase(
            Replaced(kMasterOfBothKinds, "trunk_type=1", std::string("trunk_type=") + type));
        EXPECT_EQ(List(), (Records{{"a", "", "", "10.0.1.2", "5012", "", "", "", true, false}}));
    }
}

TEST_F(ListAllTest, SymNatIsTrueWhenTheTextBeginsWithTheDigitOne) {
    const std::pair<const char*, bool> values[] = {
        {"sym_nat=1\n", true},     {"sym_nat=10\n", true},
        {"sym_nat=1x\n", true},    {"sym_nat=0\n", false},
        {"sym_nat= 1\n", false},   {"sym_nat=\n", false},
        {"sym_nat=true\n", false}, {"", false}};
    for (const auto& [line, isTrue] : values) {
        SCOPED_TRACE(line);
        WriteDatabase(Replaced(kBranch, "sym_nat=1\n", line));
        EXPECT_EQ(List(),
                  (Records{{"branch", "", "", "10.0.0.2", "5062", "", "", "", isTrue, false}}));
    }
}

TEST_F(ListAllTest, AMissingAddressOrPortGivesTheEmptyText) {
    WriteDatabase(
        "section {\ntrunk_name=a\ntrunk_type=1\nregistration_date=x\n}\n"
        "section {\ntrunk_name=b\ntrunk_type=0\nslave_ip=10.0.0.6\n}\n");
    EXPECT_EQ(List(), (Records{{"a", "", "", "", "", "", "", "", false, false},
                               {"b", "", "", "10.0.0.6", "", "", "", "", false, false}}));
}

TEST_F(ListAllTest, TheItemsComeInFileOrderAndNotByName) {
    WriteDatabase(
        "section {\ntrunk_name=m\ntrunk_type=1\nregistration_date=x\n}\n"
        "section {\ntrunk_name=z\ntrunk_type=0\nslave_ip=y\n}\n"
        "section {\ntrunk_name=a\ntrunk_type=1\nregistration_date=x\n}\n");
    EXPECT_EQ(NamesOf(List()), (Names{"m", "z", "a"}));
}

TEST_F(ListAllTest, ADatabaseWithoutSectionsGivesNoItemsAndIsNoFailure) {
    for (const char* text : {"", "# nothing\n\n"}) {
        WriteDatabase(text);
        EXPECT_EQ(List(), Records());
    }
}

TEST_F(ListAllTest, AfterAFailureTheListKeepsWhatWasAppendedBefore) {
    WriteDatabase(std::string(kOffice) + kBranch);
    const auto [before, all] = AppendUntilMemoryLasts(Records{Named("own")}, [&](Records& trunks) {
        return config.GetAllSIPTrunkParams(trunks);
    });
    EXPECT_EQ(NamesOf(before), (Names{"own", "office"}));
    EXPECT_EQ(NamesOf(all), (Names{"own", "office", "branch"}));
}

// What the lists say of trunks as the other operations store them.
class ListsAfterOperationsTest : public DeviceFixture {};

TEST_F(ListsAfterOperationsTest,
       ATrunkForASlaveIsInTheListOfAllOnceStoredWithItsRegistrationReset) {
    Record record{"branch", "branch-user", "branch-password", "", "", "", "", "0", true, false};
    ASSERT_TRUE(config.SetSIPTrunkParams("", record, false));
    Records trunks;
    EXPECT_TRUE(config.GetAllSIPTrunkParams(trunks));
    EXPECT_EQ(trunks, Records());

    ASSERT_TRUE(config.SetSIPTrunkParams("branch", record, true));
    EXPECT_TRUE(config.GetAllSIPTrunkParams(trunks));
    EXPECT_EQ(trunks, (Records{{"branch", "", "", "", "", "", "", "", true, false}}));
}

TEST_F(ListsAfterOperationsTest, ATrunkToAMasterIsInTheListOfAllWhileItIsActive) {
    WriteDatabase("section {\ntrunk_name=office\ntrunk_type=1\nmaster_ip=10.0.0.1\n}\n");
    Records trunks;
    ASSERT_TRUE(config.SetTrunkToMasterActiveState("office"));
    EXPECT_TRUE(config.GetAllSIPTrunkParams(trunks));
    EXPECT_EQ(NamesOf(trunks), (Names{"office"}));

    trunks.clear();
    ASSERT_TRUE(config.SetTrunkToMasterInActiveState("office"));
    EXPECT_TRUE(config.GetAllSIPTrunkParams(trunks));
    EXPECT_EQ(NamesOf(trunks), Names());
}

}  // namespace
