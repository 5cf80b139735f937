#pragma once

#include <string>

namespace support {

/// Returns a line that a terminal shows as it is: with every control character (U+0000 to U+001F,
/// U+007F to U+009F) and every mark that turns the direction of writing as \xNN for each of its
/// bytes. A line feed at the end stays. What is no valid UTF-8 stays too, but for the bytes 80 to
/// 9f, which are control characters to a terminal that takes each byte for a character.
std::string PrintableLine(std::string line);

}  // namespace support
