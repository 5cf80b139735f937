#include "include/raiklaik.h"
#include "src/foundation/flags.h"
#include "src/foundation/key_table.h"
#include "src/foundation/trunk_database.h"

using namespace raiklaik;

namespace {

// Writes the definition into the current section. New keys get this order in the file.
void WriteDefinition(TrunkDatabase& trunks, const CSIPTrunkBase::STParamsRecord& record,
                     bool resetRegistration) {
    trunks.Set(key::kTrunkName, record.trunk_name);
    trunks.Set(key::kTrunkType, record.trunk_type);
    trunks.Set(key::kUserName, record.user_name);
    trunks.Set(key::kPassword, record.password);
    if (record.trunk_type == type::kToMaster) {
        trunks.Set(key::kMasterIp, record.remote_ip);
        trunks.Set(key::kMasterPort, record.remote_port);
        trunks.Set(key::kRegistrationStatus, flag::Text(record.registration_status));
        return;
    }
    if (resetRegistration) {
        for (const char* name : key::kSlaveRegistration) {
            trunks.Set(name, "");
        }
    }
    trunks.Set(key::kSymNat, flag::Text(record.sym_nat));
}

}  // namespace

bool CSIPTrunkConfig::SetSIPTrunkParams(const std::string& trunkName,
                                        CSIPTrunkBase::STParamsRecord& record,
                                        bool resetRegistration) {
    return ChangeOrCreateTrunks<SmartBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        if (trunkName.empty()) {
            trunks.AppendSection();
        } else if (!trunks.FindByName(trunkName)) {
            return false;
        }
        WriteDefinition(trunks, record, resetRegistration);
        trunks.Save();
        return true;
    });
}
