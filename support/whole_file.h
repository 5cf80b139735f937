#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <memory>
#include <string_view>

/// A text of fixed size on the heap.
struct FileText {
    std::unique_ptr<char[]> bytes;  ///< null when the text is empty
    std::size_t size = 0;           ///< in bytes

    std::string_view View() const { return {bytes.get(), size}; }
};

/// Returns a text of `size` bytes, not yet set. Throws std::bad_alloc without memory.
FileText MakeText(std::size_t size);

/// Reads a regular file whole. Links are followed; a folder, FIFO or device is refused and never
/// waited for.
/// path             the file
/// createIfMissing  true makes a missing file, empty, with mode 0600 whatever the umask; folders
///                  are never made
/// Throws std::system_error with the text "path: step: reason".
FileText ReadWholeFile(const char* path, bool createIfMissing);

/// Throws std::system_error unless `status` tells of a regular file.
void CheckRegular(const char* path, const struct stat& status);
