#pragma once

#include <sys/uio.h>

#include <climits>
#include <cstddef>
#include <string_view>
#include <vector>

#include "support/file_descriptor.h"
#include "support/target_file.h"

namespace support {

/// A file beside the target, ".NAME.~XXXXX", removed unless it has become the target.
///
/// It is born with mode 0600, so only its owner can read it until it has the target's owner, access
/// list and mode. What it cannot do is thrown as a std::system_error with the text
/// "path: step: reason".
class TemporaryFile {
  public:
    explicit TemporaryFile(const TargetFile& target);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void Write(const std::vector<std::string_view>& pieces);
    void TakeOwnerAndMode();
    void SyncAndClose();
    void RenameToTarget();

    /// Which file it is, once it has the target's owner and mode.
    FileIdentity Identity() const { return {m_made.device, m_made.inode, FileDescriptor(-1)}; }

  private:
    FileDescriptor Create();
    void WriteParts(struct iovec* parts, std::size_t count);

    const TargetFile& m_target;
    char m_name[NAME_MAX + 1] = "";
    FileDescriptor m_file;
    FileStatus m_made;
    bool m_renamed = false;
};

/// Removes the temporary files for this target that killed processes have left. The save is done by
/// then: a file that cannot be removed stays for the next one.
void SweepLeftovers(TargetFile& target);

}  // namespace support
