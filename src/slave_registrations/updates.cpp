#include "include/raiklaik.h"
#include "src/foundation/key_table.h"
#include "src/foundation/stamp.h"
#include "src/foundation/trunk_database.h"

using namespace raiklaik;

namespace {

// An absent user name reads as "", so an empty name finds the first section without one.
bool FindByUserNameOrItsLack(TrunkDatabase& trunks, const std::string& userName) {
    while (trunks.NextSection()) {
        if (userName == trunks.Get(key::kUserName)) {
            return true;
        }
    }
    return false;
}

bool FindByUserName(TrunkDatabase& trunks, const std::string& userName) {
    while (trunks.NextSection()) {
        if (trunks.Is(key::kUserName, userName)) {
            return true;
        }
    }
    return false;
}

void WriteAddress(TrunkDatabase& trunks, const CSIPTrunkBase::STRegistrationParam& registration) {
    trunks.Set(key::kSlaveIp, registration.slave_ip);
    trunks.Set(key::kSlavePort, registration.slave_port);
}

}  // namespace

bool CSIPTrunkConfig::SetRegisterParam(const CSIPTrunkBase::STRegistrationParam& registration,
                                       const bool& refreshOnly) {
    TraceProgress(m_logger,
                  "INFO:SIP Trunk: Set %s@%s:%s slave registration params in siptrunkdb... \n",
                  registration.user_name.c_str(), registration.slave_ip.c_str(),
                  registration.slave_port.c_str());
    return ChangeTrunks<LocalBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        if (FindByUserNameOrItsLack(trunks, registration.user_name)) {
            if (!refreshOnly) {
                WriteAddress(trunks, registration);
            }
            Stamp now;
            GetLocalDateTime(now.time, now.date);
            WriteStamp(trunks, now);
        }
        trunks.Save();
        return true;
    });
}

bool CSIPTrunkConfig::ChangeRegisterParam(
    const CSIPTrunkBase::STRegistrationParam& oldRegistration,
    const CSIPTrunkBase::STRegistrationParam& newRegistration) {
    return ChangeTrunks<LocalBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        if (FindByUserNameOrItsLack(trunks, oldRegistration.user_name)) {
            WriteAddress(trunks, newRegistration);
            Stamp now;
            GetLocalDateTime(now.time, now.date);
            WriteStamp(trunks, now);
        }
        trunks.Save();
        return true;
    });
}

bool CSIPTrunkConfig::SetUnregisterParam(const CSIPTrunkBase::STRegistrationParam& registration) {
    TraceProgress(m_logger,
                  "INFO:SIP Trunk: Set %s@%s:%s slave unregister params in siptrunkdb... \n",
                  registration.user_name.c_str(), registration.slave_ip.c_str(),
                  registration.slave_port.c_str());
    return ChangeTrunks<LocalBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        if (FindByUserName(trunks, registration.user_name)) {
            for (const char* name : key::kSlaveRegistration) {
                trunks.Erase(name);
            }
        }
        trunks.Save();
        return true;
    });
}
