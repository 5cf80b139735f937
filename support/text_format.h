#pragma once

#include <cstdarg>
#include <string>

namespace support {

/// Returns the text that printf would write for `format` and `arguments`, whole, however long.
/// Throws std::runtime_error for a format that cannot be carried out, std::bad_alloc without
/// memory.
__attribute__((format(printf, 1, 0))) std::string FormatText(const char* format, va_list arguments);

}  // namespace support
