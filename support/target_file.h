#pragma once

#include <string>

#include "support/file_descriptor.h"
#include "support/file_status.h"
#include "support/whole_file.h"

namespace support {

/// The file that a save replaces, seen from its folder.
class TargetFile {
  public:
    /// Follows the links at the path's end, checks that they lead to the file that was loaded, and
    /// opens its folder.
    /// @param loaded the file; opened again when it is no longer open
    ///
    /// Throws, as all members that ask the system do, std::runtime_error with the text
    /// "path: step: reason".
    TargetFile(const char* path, FileIdentity& loaded);

    [[noreturn]] void Fail(const char* step) const { Fail(step, errno); }
    [[noreturn]] void Fail(const char* step, int error) const;

    int Folder() const { return m_folder.Number(); }
    const char* Name() const { return m_name.c_str(); }
    /// The file as it was at the last look.
    const FileStatus& Old() const { return m_old; }
    std::string OldAccessList() const;

    /// Looks at the file once more. Returns whether its owner, mode, access list or text may have
    /// changed since the last look; throws when another file stands there.
    bool HasChanged();

    void SyncFolder() const;
    /// Hands the folder's descriptor over, when nothing else is left to do in it.
    int ReleaseFolder() { return m_folder.Release(); }

  private:
    FileDescriptor OpenFolder(const char* folder) const;
    void OpenOld();
    void CheckLoaded(const FileStatus& status) const;

    const char* m_path;  // as the caller gave it, for messages
    FileIdentity& m_loaded;
    FileStatus m_old;
    std::string m_name;
    FileDescriptor m_folder{-1};
};

}  // namespace support
