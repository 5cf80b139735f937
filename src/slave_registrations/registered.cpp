#include "include/raiklaik.h"
#include "src/foundation/access_frame.h"
#include "src/foundation/key_table.h"
#include "src/foundation/trunk_database.h"

using namespace raiklaik;

bool CSIPTrunkConfig::InitRegisterSlaveList(
    std::vector<CSIPTrunkBase::STRegistrationParam>& slaves) {
    TraceProgress(m_logger, "INFO:SIP Trunk: Set registered slave's list...\n");
    return RunLocked<LocalBuffer>(*m_semaphore, m_logger, false, [&](ValueBuffer buffer) {
        slaves.clear();
        TrunkDatabase trunks(OpenMode::kReadOnly, buffer);
        while (trunks.NextSection()) {
            if (!trunks.Read(key::kSlaveIp)) {
                continue;
            }
            CSIPTrunkBase::STRegistrationParam slave;
            slave.slave_ip = trunks.Text();
            slave.user_name = trunks.Get(key::kUserName);
            slave.password = trunks.Get(key::kPassword);
            slave.slave_port = trunks.Get(key::kSlavePort);
            slaves.push_back(std::move(slave));
        }
        return true;
    });
}
