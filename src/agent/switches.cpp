#include "include/raiklaik.h"
#include "src/foundation/flags.h"
#include "src/foundation/key_table.h"
#include "src/foundation/trunk_database.h"

using namespace raiklaik;

namespace {

// Sets `enabled` when the switch is on, and never clears it. Returns whether the switch is there.
bool ReadSwitch(TrunkDatabase& sections, const char* key, bool& enabled) {
    if (!sections.Read(key)) {
        return false;
    }
    if (flag::BeginsWithOne(sections.Text())) {
        enabled = true;
    }
    return true;
}

}  // namespace

bool CSIPTrunkConfig::GetSIPTrunkAgentStates(CSIPTrunkBase::STAgentStates& states) {
    TraceProgress(m_logger, "INFO:SIP Trunk: Get agent states from siptrunkdb...\n");
    return ReadTrunks<LocalBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& sections) {
        if (!sections.NextSection()) {
            return true;
        }
        const bool hasMaster =
            ReadSwitch(sections, key::kMasterEnabled, states.siptrunk_master_enabled);
        const bool hasSlave =
            ReadSwitch(sections, key::kSlaveEnabled, states.siptrunk_slave_enabled);
        return hasMaster && hasSlave;
    });
}

bool CSIPTrunkConfig::SetSIPTrunkAgentStates(const CSIPTrunkBase::STAgentStates& states) {
    TraceProgress(m_logger, "INFO:SIP Trunk: Set agent states to siptrunkdb...\n");
    return ChangeOrCreateTrunks<LocalBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& sections) {
        // A first section with one switch is not repaired: a new one is put before it.
        if (!sections.NextSection() || !sections.Read(key::kMasterEnabled) ||
            !sections.Read(key::kSlaveEnabled)) {
            sections.InsertFirstSection();
            sections.AddEntry(key::kMasterEnabled, "");
            sections.AddEntry(key::kSlaveEnabled, "");
        }
        const bool slaveSet =
            sections.Set(key::kSlaveEnabled, flag::Text(states.siptrunk_slave_enabled));
        const bool masterSet =
            sections.Set(key::kMasterEnabled, flag::Text(states.siptrunk_master_enabled));
        if (!slaveSet || !masterSet) {
            return false;
        }
        sections.Save();
        return true;
    });
}
