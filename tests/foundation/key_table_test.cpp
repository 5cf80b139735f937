#include "src/foundation/key_table.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(KeyTableTest, EveryKeyIsSpelledAsTheFileHasIt) {
    EXPECT_STREQ(key::kMasterEnabled, "siptrunk_master_enabled");
    EXPECT_STREQ(key::kSlaveEnabled, "siptrunk_slave_enabled");
    EXPECT_STREQ(key::kTrunkName, "trunk_name");
    EXPECT_STREQ(key::kTrunkType, "trunk_type");
    EXPECT_STREQ(key::kUserName, "user_name");
    EXPECT_STREQ(key::kPassword, "password");
    EXPECT_STREQ(key::kMasterIp, "master_ip");
    EXPECT_STREQ(key::kMasterPort, "master_port");
    EXPECT_STREQ(key::kRegistrationStatus, "registration_status");
    EXPECT_STREQ(key::kRegistrationDate, "registration_date");
    EXPECT_STREQ(key::kRegistrationTime, "registration_time");
    EXPECT_STREQ(key::kSlaveIp, "slave_ip");
    EXPECT_STREQ(key::kSlavePort, "slave_port");
    EXPECT_STREQ(key::kSymNat, "sym_nat");
    EXPECT_STREQ(key::kStartService, "START_SIPTRUNK");
}

TEST(KeyTableTest, ASlavesRegistrationIsAddressThenStamp) {
    const std::vector<std::string> keys(std::begin(key::kSlaveRegistration),
                                        std::end(key::kSlaveRegistration));
    EXPECT_EQ(keys, (std::vector<std::string>{"slave_ip", "slave_port", "registration_date",
                                              "registration_time"}));
}

TEST(KeyTableTest, ASavedCopyHasItsOwnKeyForEachLiveParameter) {
    const std::vector<std::pair<std::string, std::string>> pairs(std::begin(key::kSavedCopy),
                                                                 std::end(key::kSavedCopy));
    EXPECT_EQ(pairs, (std::vector<std::pair<std::string, std::string>>{
                         {"user_name", "changed_user_name"},
                         {"password", "changed_password"},
                         {"master_ip", "changed_master_ip"},
                         {"master_port", "changed_master_port"}}));
}

}  // namespace
