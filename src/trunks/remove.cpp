#include "include/raiklaik.h"
#include "src/foundation/flags.h"
#include "src/foundation/key_table.h"
#include "src/foundation/trunk_database.h"

using namespace raiklaik;

bool CSIPTrunkConfig::DeleteTrunk(const std::string& trunkName, bool checkRegistration,
                                  bool& wasRegistered) {
    return ChangeTrunks<SmartBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
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
