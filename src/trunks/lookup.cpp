#include "include/raiklaik.h"
#include "src/foundation/flags.h"
#include "src/foundation/key_table.h"
#include "src/foundation/trunk_database.h"

using namespace raiklaik;

bool CSIPTrunkConfig::GetSIPTrunkParams(const std::string& trunkName,
                                        CSIPTrunkBase::STParamsRecord& record) {
    return ReadTrunks<SmartBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        if (!trunks.FindByName(trunkName)) {
            return false;
        }
        record.trunk_name = trunks.Text();
        record.trunk_type = trunks.Get(key::kTrunkType);
        record.user_name = trunks.Get(key::kUserName);
        record.password = trunks.Get(key::kPassword);
        record.registration_time = trunks.Get(key::kRegistrationTime);
        record.registration_date = trunks.Get(key::kRegistrationDate);
        if (record.trunk_type != type::kToMaster) {
            record.remote_ip = trunks.Get(key::kSlaveIp);
            record.remote_port = trunks.Get(key::kSlavePort);
            record.sym_nat = flag::BeginsWithOne(trunks.Get(key::kSymNat));
        } else {
            record.remote_ip = trunks.Get(key::kMasterIp);
            record.remote_port = trunks.Get(key::kMasterPort);
            record.registration_status = flag::BeginsWithOne(trunks.Get(key::kRegistrationStatus));
        }
        return true;
    });
}
