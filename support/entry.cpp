#include "support/entry.h"

#include <stdexcept>
#include <string>

namespace support {

const char* KeyFault(std::string_view key, char separator, char commentMark) {
    if (key.empty()) {
        return "it is empty";
    }
    if (key.front() == commentMark) {
        return "it would be read as a comment";
    }
    if (IsBlank(key.front()) || IsBlank(key.back())) {
        return "it has a blank at an end";
    }
    for (const char byte : key) {
        if (byte == separator || byte == '\n') {
            return "it holds a separator or a line feed";
        }
    }
    return nullptr;
}

void CheckStorable(std::string_view path, std::string_view key, std::string_view value,
                   char separator, char commentMark) {
    const char* fault = KeyFault(key, separator, commentMark);
    if (fault == nullptr && value.find('\n') != std::string_view::npos) {
        fault = "its value holds a line feed";
    }
    if (fault != nullptr) {
        std::string text(path);
        text.append(": key \"").append(key).append("\": ").append(fault);
        throw std::invalid_argument(text);
    }
}

}  // namespace support
