#include "include/raiklaik.h"
#include "src/foundation/flags.h"
#include "src/foundation/key_table.h"
#include "src/foundation/stamp.h"
#include "src/foundation/trunk_database.h"

using namespace raiklaik;

bool CSIPTrunkConfig::SetTrunkToMasterActiveState(const std::string& trunkName) {
    TraceProgress(m_logger, "INFO:SIP Trunk: Set active state trunk to master : %s\n",
                  trunkName.c_str());
    return ChangeTrunks<SmartBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        if (trunks.FindTrunkToMaster(trunkName)) {
            Stamp now;
            GetLocalDateTime(now.time, now.date);
            WriteStamp(trunks, now);
        }
        trunks.Save();
        return true;
    });
}

bool CSIPTrunkConfig::SetTrunkToMasterInActiveState(const std::string& trunkName) {
    TraceProgress(m_logger, "INFO:SIP Trunk: Set Trunk To Master : %s  InActive State...\n",
                  trunkName.c_str());
    return ChangeTrunks<SmartBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        if (trunks.FindTrunkToMaster(trunkName)) {
            EraseStamp(trunks);
        }
        trunks.Save();
        return true;
    });
}

bool CSIPTrunkConfig::SetUnregisterStateToTrunks() {
    return ChangeTrunks<SmartBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        (void)trunks.NextSection();  // the agents' switches, never changed here
        while (trunks.NextSection()) {
            if (flag::BeginsWithOne(trunks.Get(key::kRegistrationStatus))) {
                trunks.Set(key::kRegistrationStatus, flag::Text(false));
            }
        }
        trunks.Save();
        return true;
    });
}
