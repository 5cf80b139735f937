#include "support/durable_file.h"

#include <cerrno>

#include "support/target_file.h"
#include "support/temporary_file.h"

namespace support {

namespace {

constexpr int kMostChanges = 8;

// Returns false, with the old file in place, when somebody changed its owner, mode, access list
// or text in between.
bool TryToReplace(TargetFile& target, FileIdentity& loaded, const TextPieces& pieces) {
    TemporaryFile temporary(target);
    temporary.Write(pieces);
    temporary.TakeOwnerAndMode();
    temporary.SyncAndClose();
    if (target.HasChanged()) {
        return false;
    }
    temporary.RenameToTarget();
    loaded = temporary.Identity();
    return true;
}

}  // namespace

void ReplaceFile(const char* path, FileIdentity& loaded, const TextPieces& pieces) {
    TargetFile target(path, loaded);
    for (int changes = 0; !TryToReplace(target, loaded, pieces); ++changes) {
        if (changes == kMostChanges) {
            target.Fail("keep owner and mode (they change again and again)", EBUSY);
        }
    }
    target.SyncFolder();
    SweepLeftovers(target);
}

}  // namespace support
