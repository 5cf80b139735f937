#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "support/whole_file.h"

namespace support {

/// What a save has to know about a file. Not a struct stat, whose size depends on the macros of the
/// source file that includes it.
struct FileStatus {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t changed = 0;  ///< the last change of owner, mode, access list or text, in ns
    mode_t mode = 0;           ///< with the file's type; 0 for no file
    uid_t user = 0;
    gid_t group = 0;

    bool IsOf(const FileIdentity& file) const {
        return device == file.device && inode == file.inode;
    }
};

/// Looks at an entry of a folder, and not at what a link leads to. Returns false with errno set and
/// a status of zeros.
/// @param folder a descriptor, or AT_FDCWD for a `name` that is a path
bool LookAt(int folder, const char* name, FileStatus& status);
/// Looks at an open file. Returns false with errno set and a status of zeros.
bool LookAt(int file, FileStatus& status);

/// Follows the link at the end of a path, then the link at the end of that one's target, and so on;
/// links among the folders are left to the kernel. Root follows only links that root owns: another
/// owner could switch a link, and have root read or replace any file.
/// @return the path, with no link at its end
/// @param step what is being done, for a failure's text
/// @param status receives what stands at the end; mode 0 when nothing does
///
/// Throws std::system_error with the text "path: step: reason".
std::string FollowLinks(const char* path, const char* step, FileStatus& status);

}  // namespace support
