#include "include/raiklaik.h"
#include "src/foundation/flags.h"
#include "src/foundation/key_table.h"
#include "src/foundation/trunk_database.h"

using namespace raiklaik;

namespace {

// A registration is in force when its date is there and not empty.
bool IsActive(TrunkDatabase& trunks) { return !trunks.Get(key::kRegistrationDate).empty(); }

}  // namespace

bool CSIPTrunkConfig::GetSIPTrunksState(std::list<CSIPTrunkBase::STTrunkState>& states,
                                        const std::string& trunkType) {
    return ReadTrunks<SmartBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        while (trunks.NextSection()) {
            if (trunkType != type::kEvery && !trunks.Is(key::kTrunkType, trunkType)) {
                continue;
            }
            CSIPTrunkBase::STTrunkState state;
            state.trunk_name = trunks.Get(key::kTrunkName);
            state.active = IsActive(trunks);
            if (!state.trunk_name.empty()) {
                states.push_back(std::move(state));
            }
        }
        return true;
    });
}

bool CSIPTrunkConfig::GetSIPTrunkState(const std::string& trunkName,
                                       CSIPTrunkBase::SIPTrunkActivity& activity) {
    return ReadTrunks<SmartBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        activity = CSIPTrunkBase::TRUNK_ACTIVE;
        if (!trunks.FindByName(trunkName)) {
            activity = CSIPTrunkBase::TRUNK_NOT_FOUND;
        } else if (!IsActive(trunks)) {
            activity = CSIPTrunkBase::TRUNK_INACTIVE;
        }
        return true;
    });
}

bool CSIPTrunkConfig::GetStateOfTrunkToMaster(const std::string& trunkName) {
    return ReadTrunks<SmartBuffer>(*m_semaphore, m_logger, [&](TrunkDatabase& trunks) {
        while (trunks.FindTrunkToMaster(trunkName)) {
            if (trunks.Read(key::kRegistrationStatus) && flag::IsExactlyOne(trunks.Text())) {
                return true;
            }
        }
        return false;
    });
}
