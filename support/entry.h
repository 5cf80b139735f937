#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

// One "key=value" line, as both kinds of files hold it. A blank is a space or a tab.

namespace support {

inline bool IsBlank(char byte) { return byte == ' ' || byte == '\t'; }

/// Returns `text` without the blanks before its first other byte.
inline std::string_view WithoutLeadingBlanks(std::string_view text) {
    std::size_t begin = 0;
    while (begin < text.size() && IsBlank(text[begin])) {
        ++begin;
    }
    return text.substr(begin);
}

/// Returns `text` without the blanks after its last other byte.
inline std::string_view WithoutTrailingBlanks(std::string_view text) {
    std::size_t end = text.size();
    while (end > 0 && IsBlank(text[end - 1])) {
        --end;
    }
    return text.substr(0, end);
}

/// Copies `value` into `buffer`, cut to `size` - 1 bytes, with a NUL after it. A `size` of 0
/// copies nothing. Returns the length of the copy.
inline unsigned int CopyValue(std::string_view value, char* buffer, unsigned int size) {
    if (size == 0) {
        return 0;
    }
    const auto length = static_cast<unsigned int>(std::min<std::size_t>(value.size(), size - 1));
    value.copy(buffer, length);
    buffer[length] = '\0';
    return length;
}

/// Returns why no file could give back an entry with this key: it is empty, holds a line feed or
/// the separator, begins with the comment mark, or has a blank at an end. Null when a file can.
const char* KeyFault(std::string_view key, char separator, char commentMark);

/// Checks that a file gives back the entry `key``separator``value` as it was given.
/// @param path the file's name, for the failure's text
///
/// Throws std::invalid_argument when the key has a fault, and when the value holds a line feed. The
/// text names the key and never the value, which may be a password.
void CheckStorable(std::string_view path, std::string_view key, std::string_view value,
                   char separator, char commentMark);

}  // namespace support
