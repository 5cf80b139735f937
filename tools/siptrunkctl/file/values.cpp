#include "tools/siptrunkctl/file/values.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <string_view>

namespace {

bool IsDigit(char byte) { return std::isdigit(static_cast<unsigned char>(byte)) != 0; }

// A letter of `pattern` is itself, except 9, which is any digit.
bool HasPattern(const std::string& text, std::string_view pattern) {
    return text.size() == pattern.size() &&
           std::equal(text.begin(), text.end(), pattern.begin(), [](char byte, char wanted) {
               return wanted == '9' ? IsDigit(byte) : byte == wanted;
           });
}

// Returns whether the two digits at a place of `text` are a number in these limits.
bool IsWithin(const std::string& text, std::size_t place, int least, int most) {
    const int number = (text[place] - '0') * 10 + text[place + 1] - '0';
    return number >= least && number <= most;
}

}  // namespace

const char* PortFault(const std::string& text) {
    const bool isNumber = !text.empty() && text.size() <= 5 &&
                          std::all_of(text.begin(), text.end(), IsDigit) && text.front() != '0';
    return isNumber && std::stoi(text) <= 65535 ? nullptr : "is not a port (1 to 65535)";
}

const char* AddressFault(const std::string& text) {
    if (text.find_first_of(" \t") != std::string::npos) {
        return "holds a blank";
    }
    const bool isNumeric =
        !text.empty() && text.find_first_not_of("0123456789.") == std::string::npos;
    struct in_addr address {};
    return isNumeric && inet_pton(AF_INET, text.c_str(), &address) != 1 ? "is not an IP address"
                                                                        : nullptr;
}

const char* DateFault(const std::string& text) {
    return HasPattern(text, "99/99/9999") && IsWithin(text, 0, 1, 12) && IsWithin(text, 3, 1, 31)
               ? nullptr
               : "is not a date MM/DD/YYYY";
}

const char* TimeFault(const std::string& text) {
    return HasPattern(text, "99:99:99") && IsWithin(text, 0, 0, 23) && IsWithin(text, 3, 0, 59) &&
                   IsWithin(text, 6, 0, 60)  // a leap second
               ? nullptr
               : "is not a time HH:MM:SS";
}
