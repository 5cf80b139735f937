#include "include/raiklaik.h"
#include "src/foundation/flags.h"
#include "src/foundation/key_table.h"
#include "src/foundation/stamp.h"
#include "src/foundation/trunk_database.h"

using namespace raiklaik;

bool CSIPTrunkConfig::GetMasterAccesibleUsersList(
    std::vector<CSIPTrunkBase::STAccessibleUser>& accessibleUsers) {
    return ReadTrunks<LocalBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        while (trunks.NextSection()) {
            if (!trunks.Is(key::kTrunkType, type::kForSlave)) {
                continue;
            }
            CSIPTrunkBase::STAccessibleUser user;
            user.trunk_name = trunks.Get(key::kTrunkName);
            user.user_name = trunks.Get(key::kUserName);
            user.password = trunks.Get(key::kPassword);
            accessibleUsers.push_back(std::move(user));
        }
        return true;
    });
}

bool CSIPTrunkConfig::GetSlaveAccesibleUsersList(
    std::vector<CSIPTrunkBase::STAccessibleSlave>& accessibleSlaves) {
    return ChangeTrunks<LocalBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        while (trunks.NextSection()) {
            if (!trunks.Is(key::kTrunkType, type::kToMaster) ||
                !flag::IsExactlyOne(trunks.Get(key::kRegistrationStatus))) {
                continue;
            }
            CSIPTrunkBase::STAccessibleSlave slave;  // registration_status stays false on purpose
            slave.trunk_name = trunks.Get(key::kTrunkName);
            slave.user_name = trunks.Get(key::kUserName);
            slave.password = trunks.Get(key::kPassword);
            slave.master_ip = trunks.Get(key::kMasterIp);
            slave.master_port = trunks.Get(key::kMasterPort);
            accessibleSlaves.push_back(std::move(slave));
            EraseStamp(trunks);
            trunks.RestartSection();
        }
        trunks.Save();
        return true;
    });
}
