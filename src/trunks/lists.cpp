#include "include/raiklaik.h"
#include "src/foundation/flags.h"
#include "src/foundation/key_table.h"
#include "src/foundation/trunk_database.h"

using namespace raiklaik;

namespace {

// Reads a value into a field; false, with the field as it was, when the key is absent.
bool ReadInto(std::string& field, TrunkDatabase& sections, const char* key) {
    if (!sections.Read(key)) {
        return false;
    }
    field = sections.Text();
    return true;
}

}  // namespace

bool CSIPTrunkConfig::GetSIPTrunkParams(std::list<CSIPTrunkBase::STParamsRecord>& trunks,
                                        std::string trunkType, bool /*flag*/) {
    return ReadTrunks<SmartBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& sections) {
        const bool areToMaster = trunkType == type::kToMaster;
        while (sections.NextSection()) {
            if (!sections.Is(key::kTrunkType, trunkType)) {
                continue;
            }
            std::list<CSIPTrunkBase::STParamsRecord> item(1);
            CSIPTrunkBase::STParamsRecord& record = item.front();
            record.trunk_name = sections.Get(key::kTrunkName);
            record.user_name = sections.Get(key::kUserName);
            record.registration_date = sections.Get(key::kRegistrationDate);
            record.registration_time = sections.Get(key::kRegistrationTime);
            if (areToMaster) {
                record.remote_ip = sections.Get(key::kMasterIp);
                record.remote_port = sections.Get(key::kMasterPort);
            } else {
                record.remote_ip = sections.Get(key::kSlaveIp);
                record.remote_port = sections.Get(key::kSlavePort);
                record.sym_nat = flag::BeginsWithOne(sections.Get(key::kSymNat));
            }
            trunks.splice(trunks.end(), item);
        }
        return true;
    });
}

bool CSIPTrunkConfig::GetAllSIPTrunkParams(std::list<CSIPTrunkBase::STParamsRecord>& trunks) {
    return ReadTrunks<SmartBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& sections) {
        while (sections.NextSection()) {
            CSIPTrunkBase::STParamsRecord record;
            if (!ReadInto(record.trunk_name, sections, key::kTrunkName) ||
                !sections.Read(key::kTrunkType)) {
                continue;
            }
            if (sections.Text() == type::kToMaster) {
                if (!sections.Read(key::kRegistrationDate)) {
                    continue;
                }
                record.remote_ip = sections.Get(key::kMasterIp);
                record.remote_port = sections.Get(key::kMasterPort);
            } else {
                if (!ReadInto(record.remote_ip, sections, key::kSlaveIp)) {
                    continue;
                }
                record.remote_port = sections.Get(key::kSlavePort);
                record.sym_nat = flag::BeginsWithOne(sections.Get(key::kSymNat));
            }
            trunks.push_back(std::move(record));
        }
        return true;
    });
}
