#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "include/raiklaik.h"
#include "src/foundation/key_table.h"

// The trunks of a generated database, the same for everything that is measured.

using Record = CSIPTrunkBase::STParamsRecord;
using Entries = std::vector<std::pair<std::string, std::string>>;

/// The name of the trunk number `index`, from 0.
std::string TrunkName(int index);

/// The trunk to a master in the middle of the database, and the last one.
int MiddleTrunk(int trunks);
int LastTrunk(int trunks);

/// The keys and values of a trunk, in file order; trunks of even number are to a master.
Entries TrunkEntries(int index);

/// The keys and values that storing a trunk to a master sets.
Entries StoredEntries(const Record& record);

/// Fills what finding a trunk to a master gives. get(key) returns the key's text.
template <typename Get>
Record FoundRecord(const Get& get) {
    Record record;
    record.trunk_name = get(raiklaik::key::kTrunkName);
    record.trunk_type = get(raiklaik::key::kTrunkType);
    record.user_name = get(raiklaik::key::kUserName);
    record.password = get(raiklaik::key::kPassword);
    record.remote_ip = get(raiklaik::key::kMasterIp);
    record.remote_port = get(raiklaik::key::kMasterPort);
    record.registration_status = std::string_view(get(raiklaik::key::kRegistrationStatus)) == "1";
    record.registration_date = get(raiklaik::key::kRegistrationDate);
    record.registration_time = get(raiklaik::key::kRegistrationTime);
    return record;
}

/// Fills what a list of the trunks to a master gives of each.
template <typename Get>
void FillListedRecord(Record& record, const Get& get) {
    record.trunk_name = get(raiklaik::key::kTrunkName);
    record.user_name = get(raiklaik::key::kUserName);
    record.remote_ip = get(raiklaik::key::kMasterIp);
    record.remote_port = get(raiklaik::key::kMasterPort);
    record.registration_date = get(raiklaik::key::kRegistrationDate);
    record.registration_time = get(raiklaik::key::kRegistrationTime);
}
