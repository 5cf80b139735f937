#include "include/raiklaik.h"
#include "src/foundation/access_frame.h"
#include "src/foundation/flags.h"
#include "src/foundation/key_table.h"
#include "src/foundation/trunk_database.h"

bool CSIPTrunkConfig::DeleteTrunk(const std::string& trunkName, bool checkRegistration,
                                  bool& wasRegistered) {
    return RunLocked<SmartBuffer>(*m_semaphore, m_logger, false, [&](ValueBuffer buffer) {
        TrunkDatabase trunks(OpenMode::kChange, buffer);
        if (!trunks.FindByName(trunkName)) {
            return false;
        }
        if (checkRegistration && trunks.Read(key::kRegistrationStatus) &&
            flag::BeginsWithOne(trunks.Text())) {
            wasRegistered = true;
        }
        trunks.DeleteSection();
        trunks.Save();
        return true;
    });
}
