#pragma once

#include <string>

// The access list of a file: users and groups that may use it besides its owner and its group. Kept
// as the kernel hands it out, the extended attribute "system.posix_acl_access" (acl(5), xattr(7)).
// With a list, the group's bits of the mode are a limit for the list, and do not say what the group
// may do.

namespace support {

/// Reads the access list of an open file into `list`, which stays empty when the file has none.
/// Returns false with errno set when that cannot be told.
bool ReadAccessList(int file, std::string& list);

/// Gives an open file an access list; the empty text takes away any that it has, which may have
/// come from its folder. Returns false with errno set.
bool WriteAccessList(int file, const std::string& list);

}  // namespace support
