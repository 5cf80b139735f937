#include "include/raiklaik.h"
#include "src/foundation/flags.h"
#include "src/foundation/key_table.h"
#include "src/foundation/trunk_database.h"

using namespace raiklaik;

bool CSIPTrunkConfig::GetTrunkToMasterParams(const std::string& trunkName,
                                             CSIPTrunkBase::STRegistrationFields& fields,
                                             const bool& current) {
    return ReadTrunks<LocalBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        if (!trunks.FindTrunkToMaster(trunkName)) {
            return true;
        }
        if (current) {
            fields.registration_status =
                flag::IsNonZeroNumber(std::string(trunks.Get(key::kRegistrationStatus)));
            fields.user_name = trunks.Get(key::kUserName);
            fields.password = trunks.Get(key::kPassword);
            fields.master_ip = trunks.Get(key::kMasterIp);
            fields.master_port = trunks.Get(key::kMasterPort);
        } else {
            fields.user_name = trunks.Get(key::kChangedUserName);
            fields.password = trunks.Get(key::kChangedPassword);
            fields.master_ip = trunks.Get(key::kChangedMasterIp);
            fields.master_port = trunks.Get(key::kChangedMasterPort);
        }
        return true;
    });
}

bool CSIPTrunkConfig::ChangeTrunkToMasterConfig(const std::string& trunkName) {
    return ChangeTrunks<SmartBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        if (trunks.FindTrunkToMaster(trunkName)) {
            for (const auto& [live, saved] : key::kSavedCopy) {
                trunks.Copy(live, saved);
            }
        }
        trunks.Save();
        return true;
    });
}
