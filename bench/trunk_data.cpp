#include "bench/trunk_data.h"

#include "src/foundation/flags.h"

using namespace raiklaik;

std::string TrunkName(int index) { return "trunk-" + std::to_string(index); }

int MiddleTrunk(int trunks) { return trunks / 4 * 2; }

int LastTrunk(int trunks) { return (trunks - 1) / 2 * 2; }

Entries TrunkEntries(int index) {
    const std::string number = std::to_string(index);
    const bool toMaster = index % 2 == 0;
    const std::string host =
        std::to_string(index / 250 % 250) + "." + std::to_string(index % 250 + 1);
    Entries entries = {{key::kTrunkName, TrunkName(index)},
                       {key::kTrunkType, toMaster ? type::kToMaster : type::kForSlave},
                       {key::kUserName, "user" + number},
                       {key::kPassword, "Secret-" + number}};
    if (toMaster) {
        entries.insert(entries.end(), {{key::kMasterIp, "10.0." + host},
                                       {key::kMasterPort, "5060"},
                                       {key::kRegistrationStatus, "1"},
                                       {key::kRegistrationDate, "03/07/2026"},
                                       {key::kRegistrationTime, "09:05:31"}});
    } else {
        entries.insert(entries.end(), {{key::kSymNat, "0"},
                                       {key::kSlaveIp, "10.1." + host},
                                       {key::kSlavePort, "5070"},
                                       {key::kRegistrationDate, "03/08/2026"},
                                       {key::kRegistrationTime, "10:15:42"}});
    }
    return entries;
}

Entries StoredEntries(const Record& record) {
    return {{key::kTrunkName, record.trunk_name},
            {key::kTrunkType, record.trunk_type},
            {key::kUserName, record.user_name},
            {key::kPassword, record.password},
            {key::kMasterIp, record.remote_ip},
            {key::kMasterPort, record.remote_port},
            {key::kRegistrationStatus, flag::Text(record.registration_status)}};
}
