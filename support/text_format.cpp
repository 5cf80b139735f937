#include "support/text_format.h"

#include <cstdio>
#include <stdexcept>

namespace support {

std::string FormatText(const char* format, va_list arguments) {
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0) {
        throw std::runtime_error("format that cannot be carried out");
    }
    std::string text(static_cast<std::size_t>(length), '\0');
    // The terminating NUL goes where std::string keeps its own.
    (void)std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

}  // namespace support
