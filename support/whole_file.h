#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "support/file_descriptor.h"

namespace support {

/// Which file a text was loaded from, so that a save can tell whether it would replace another one.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    FileDescriptor file{-1};  ///< kept open, since a removed file's inode is soon another file's
};

/// How many line feeds follow a loaded text, so that a search for a line's end needs no other
/// limit.
constexpr std::size_t kLineFeedsAfterText = 64;

/// A text of fixed size on the heap, and line feeds after it.
struct FileText {
    std::unique_ptr<char[]> bytes;  ///< `size` bytes, then `kLineFeedsAfterText` line feeds
    std::size_t size = 0;           ///< in bytes, without the line feeds
    FileIdentity identity{};        ///< of the file that it was loaded from, if it was

    std::string_view View() const { return {bytes.get(), size}; }
};

/// Returns a text of `size` bytes, which are not yet set. Throws std::bad_alloc without memory.
FileText MakeText(std::size_t size);

/// Reads a regular file whole. Links are followed; a folder, FIFO or device is refused and never
/// waited for.
/// @param path the file
/// @param createIfMissing true makes a missing file, empty, with mode 0600 whatever the umask;
/// folders are never made
///
/// Throws std::system_error with the text "path: step: reason".
FileText ReadWholeFile(const char* path, bool createIfMissing);

/// Throws std::system_error unless `mode` (st_mode) is that of a regular file.
void CheckRegular(const char* path, mode_t mode);

}  // namespace support
