#pragma once

#include <string_view>
#include <vector>

#include "support/whole_file.h"

// Replacing a file so that a power cut leaves the old file or the new one.
//
// What is kept, always:
// 1. Until the rename, the file is not touched; the rename makes the new text visible at once.
// 2. The new text is on the disk before the rename, and the rename before the function returns.
// 3. Only its owner may read the temporary file until it has the old file's owner, access list and
//    mode; these are the ones from right before the rename.
// 4. Every failure before the rename removes the temporary file.
// 5. A file that is not the loaded one is not replaced.

namespace support {

/// A text in pieces, one after the other.
using TextPieces = std::vector<std::string_view>;

/// Replaces the text of a regular file with `pieces`, durably:
///
///     /dir/NAME (old)                      before
///     /dir/NAME (old), /dir/.NAME.~XXXXX   while writing, syncing
///     /dir/NAME (new)                      after the rename; then the folder is synced
///
/// The file keeps its owner, group, mode and access list; a path that is a link keeps being one,
/// and the file it leads to is replaced. Other hard links keep the old text; other extended
/// attributes are not carried over. Temporary files that killed processes left are removed, so only
/// one process may save a file at a time.
/// @param path an existing file
/// @param loaded the file that the text was loaded from; after the rename, the new file
/// @param pieces the text; a piece may be empty
///
/// Throws std::runtime_error with the text "path: step: reason" (std::system_error where a call
/// failed; "was replaced meanwhile" where another file stands there). The file is then the old one,
/// except when the text says that the new file is in place: then only the sync of the folder, after
/// the rename, failed.
void ReplaceFile(const char* path, FileIdentity& loaded, const TextPieces& pieces);

}  // namespace support
