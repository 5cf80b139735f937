#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace support {

/// A character of a text in UTF-8.
struct Character {
    std::size_t length;   ///< in bytes
    std::uint32_t point;  ///< in Unicode; a byte that begins no character stands for itself

    /// Whether it is a byte that is not UTF-8.
    bool IsStrange() const { return length == 1 && point > 0x7f; }
};

/// Returns the first character of a text that is not empty.
Character FirstCharacter(std::string_view text);

/// Returns whether a character is a control character or changes the direction of writing.
bool IsHarmful(std::uint32_t point);

/// Appends each of the bytes as \xNN.
void AppendEscaped(std::string& text, std::string_view bytes);

/// Returns a line that a terminal shows as it is: with every control character (U+0000 to U+001F,
/// U+007F to U+009F) and every mark that changes the direction of writing as \xNN for each of its
/// bytes. A line feed at the end stays. What is not valid UTF-8 stays too, except the bytes 80 to
/// 9f, which are control characters to a terminal that takes each byte for a character.
std::string PrintableLine(std::string line);

}  // namespace support
