#include "support/printable_text.h"

#include <algorithm>
#include <iterator>

namespace support {

namespace {

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

// Control characters, and what changes the direction of writing.
constexpr Range kHarmful[] = {{0x00, 0x1f},     {0x7f, 0x9f},     {0x061c, 0x061c},
                              {0x200e, 0x200f}, {0x202a, 0x202e}, {0x2066, 0x2069}};

std::uint32_t Byte(std::string_view text, std::size_t place) {
    return static_cast<unsigned char>(text[place]);
}

bool IsPlain(char byte) { return byte >= 0x20 && byte <= 0x7e; }

}  // namespace

Character FirstCharacter(std::string_view text) {
    constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const std::uint32_t lead = Byte(text, 0);
    const Character alone{1, lead};
    const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
    if (lead < 0xc2 || lead > 0xf4 || text.size() < length) {
        return alone;
    }
    std::uint32_t point = lead & (0x7fU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((Byte(text, i) & 0xc0U) != 0x80) {
            return alone;
        }
        point = point << 6U | (Byte(text, i) & 0x3fU);
    }
    const bool isSurrogate = point >= 0xd800 && point <= 0xdfff;
    return point < kSmallest[length] || isSurrogate || point > 0x10ffff ? alone
                                                                        : Character{length, point};
}

bool IsHarmful(std::uint32_t point) {
    return std::any_of(std::begin(kHarmful), std::end(kHarmful), [point](const Range& range) {
        return point >= range.first && point <= range.last;
    });
}

void AppendEscaped(std::string& text, std::string_view bytes) {
    static const char* const kDigits = "0123456789abcdef";
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        text.append("\\x").append(1, kDigits[Byte(bytes, i) >> 4U]);
        text.append(1, kDigits[Byte(bytes, i) & 0xfU]);
    }
}

std::string PrintableLine(std::string line) {
    std::string_view rest = line;
    const bool isEnded = !rest.empty() && rest.back() == '\n';
    rest.remove_suffix(isEnded ? 1 : 0);
    if (std::all_of(rest.begin(), rest.end(), IsPlain)) {
        return line;
    }
    std::string printable;
    while (!rest.empty()) {
        const Character character = FirstCharacter(rest);
        if (IsHarmful(character.point)) {
            AppendEscaped(printable, rest.substr(0, character.length));
        } else {
            printable.append(rest.substr(0, character.length));
        }
        rest.remove_prefix(character.length);
    }
    printable.append(isEnded ? 1 : 0, '\n');
    return printable;
}

}  // namespace support
