#include <optional>

#include "include/raiklaik.h"
#include "src/foundation/access_frame.h"
#include "src/foundation/key_table.h"
#include "src/foundation/trunk_database.h"

using namespace raiklaik;

namespace {

enum Clash : int { kNone = 0, kTrunkNameTaken = 1, kUserNameTaken = 2, kUnknown = 3 };

}  // namespace

int CSIPTrunkConfig::CheckTrunk(const std::string& currentName, const std::string& newName,
                                const std::string& userName, const std::string& operation) {
    // Here, not in the work, so that the file is released after the lock.
    const support::PostponedCancellation postponed;
    std::optional<TrunkDatabase> trunks;
    return RunLocked<SmartBuffer>(*m_semaphore, m_logger, kUnknown, [&](ValueBuffer buffer) {
        const bool isEdit = operation == word::kEdit;
        trunks.emplace(OpenMode::kReadOnly, buffer);
        while (trunks->NextSection()) {
            // An absent key reads as the empty text and is compared like one.
            (void)trunks->Read(key::kTrunkName);
            if (isEdit && trunks->Text() == currentName) {
                continue;
            }
            if (trunks->Text() == newName) {
                return kTrunkNameTaken;
            }
            if (trunks->Get(key::kUserName) == userName) {
                return kUserNameTaken;
            }
        }
        return kNone;
    });
}
