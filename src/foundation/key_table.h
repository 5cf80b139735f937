#pragma once

#include <utility>

// Every key and reserved value of the two files. No other file of the library spells one.

namespace raiklaik {

namespace key {

constexpr const char* kMasterEnabled = "siptrunk_master_enabled";
constexpr const char* kSlaveEnabled = "siptrunk_slave_enabled";

constexpr const char* kTrunkName = "trunk_name";
constexpr const char* kTrunkType = "trunk_type";
constexpr const char* kUserName = "user_name";
constexpr const char* kPassword = "password";
constexpr const char* kMasterIp = "master_ip";
constexpr const char* kMasterPort = "master_port";
constexpr const char* kRegistrationStatus = "registration_status";
constexpr const char* kRegistrationDate = "registration_date";
constexpr const char* kRegistrationTime = "registration_time";
constexpr const char* kSlaveIp = "slave_ip";
constexpr const char* kSlavePort = "slave_port";
constexpr const char* kSymNat = "sym_nat";
constexpr const char* kChangedUserName = "changed_user_name";
constexpr const char* kChangedPassword = "changed_password";
constexpr const char* kChangedMasterIp = "changed_master_ip";
constexpr const char* kChangedMasterPort = "changed_master_port";

/// What a slave's registration writes into its trunk.
constexpr const char* kSlaveRegistration[] = {kSlaveIp, kSlavePort, kRegistrationDate,
                                              kRegistrationTime};

/// The live parameters of a trunk to a master, each with the key of its saved copy.
constexpr std::pair<const char*, const char*> kSavedCopy[] = {{kUserName, kChangedUserName},
                                                              {kPassword, kChangedPassword},
                                                              {kMasterIp, kChangedMasterIp},
                                                              {kMasterPort, kChangedMasterPort}};

/// In the system start file.
constexpr const char* kStartService = "START_SIPTRUNK";

}  // namespace key

namespace type {

constexpr const char* kToMaster = "1";
constexpr const char* kForSlave = "0";
constexpr const char* kEvery = "2";  // a filter only, never stored

}  // namespace type

namespace start {

constexpr const char* kYes = "true";
constexpr const char* kNo = "false";

}  // namespace start

namespace word {

constexpr const char* kEdit = "op_edit";

}  // namespace word

}  // namespace raiklaik
