#include "support/printable_text.h"

#include <gtest/gtest.h>

namespace {

using support::PrintableLine;

// The character's bytes in UTF-8.
std::string Utf8(unsigned int point) {
    const auto byte = [](unsigned int value) { return static_cast<char>(value); };
    const char last = byte(0x80U | (point & 0x3fU));
    if (point < 0x80) {
        return {byte(point)};
    }
    if (point < 0x800) {
        return {byte(0xc0U | point >> 6U), last};
    }
    const char middle = byte(0x80U | (point >> 6U & 0x3fU));
    if (point < 0x10000) {
        return {byte(0xe0U | point >> 12U), middle, last};
    }
    return {byte(0xf0U | point >> 18U), byte(0x80U | (point >> 12U & 0x3fU)), middle, last};
}

std::string Escaped(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) {
        char code[8];
        (void)snprintf(code, sizeof(code), "\\x%02x", static_cast<unsigned char>(byte));
        text += code;
    }
    return text;
}

bool IsIn(unsigned int point, unsigned int first, unsigned int last) {
    return point >= first && point <= last;
}

TEST(PrintableTextTest, EveryCharacterStaysButControlsAndMarksThatTurnTheDirection) {
    for (unsigned int point = 0; point <= 0x10ffff; ++point) {
        if (IsIn(point, 0xd800, 0xdfff)) {
            continue;  // half of a pair in UTF-16, no character
        }
        const bool isHarmful = IsIn(point, 0, 0x1f) || IsIn(point, 0x7f, 0x9f) || point == 0x61c ||
                               IsIn(point, 0x200e, 0x200f) || IsIn(point, 0x202a, 0x202e) ||
                               IsIn(point, 0x2066, 0x2069);
        const std::string character = Utf8(point);
        const std::string shown = isHarmful ? Escaped(character) : character;
        ASSERT_EQ(PrintableLine("a" + character + "b"), "a" + shown + "b") << point;
    }
}

TEST(PrintableTextTest, OfWhatIsNoUtf8TheControlsOf8BitTerminalsAreEscaped) {
    const struct {
        std::string line, shown;
    } cases[] = {
        {"Z\xc3\xbcrich \xe4\xb8\xad \xf0\x9f\x98\x80",
         "Z\xc3\xbcrich \xe4\xb8\xad \xf0\x9f\x98\x80"},
        {"Z\xfcrich\xff\xa0", "Z\xfcrich\xff\xa0"},     // ISO 8859-1
        {"\x80 \x9b[2J \x9f", "\\x80 \\x9b[2J \\x9f"},  // controls of it
        {"\xc2", "\xc2"},                               // cut after one byte
        {"\xe2\x80", "\xe2\\x80"},                      // and after two
        {"\xf0\x9f\x98", "\xf0\\x9f\\x98"},             // and after three
        {"\xc0\x9b", "\xc0\\x9b"},                      // ESC in more bytes than it needs
        {"\xe0\x82\x9b \xf0\x80\x82\x9b", "\xe0\\x82\\x9b \xf0\\x80\\x82\\x9b"},  // U+009B so
        {"\xed\xa0\x80", "\xed\xa0\\x80"},                                        // half of a pair
        {"\xf4\x90\x80\x80", "\xf4\\x90\\x80\\x80"},                              // beyond Unicode
        {"\xf5\x80\x80\x80", "\xf5\\x80\\x80\\x80"},
        {"\xe2\x80x", "\xe2\\x80x"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(PrintableLine(c.line), c.shown);
        EXPECT_EQ(PrintableLine(c.line + "\n"), c.shown + "\n");
    }
}

TEST(FirstCharacterTest, ItsLengthAndPointAreToldAndAByteThatIsNoUtf8IsStrange) {
    const struct {
        std::string_view text;
        std::size_t length;
        std::uint32_t point;
        bool isStrange;
    } cases[] = {
        {"ab", 1, 'a', false},
        {"\x7f", 1, 0x7f, false},
        {"\xc3\xbc", 2, 0xfc, false},
        {"\xfc", 1, 0xfc, true},
        {"\xed\x9f\xbf", 3, 0xd7ff, false},
        {"\xee\x80\x80", 3, 0xe000, false},
        {"\xed\xa0\x80", 1, 0xed, true},
        {"\xed\xbf\xbf", 1, 0xed, true},  // halves of a pair
        {std::string_view("\xc3\xbc", 1), 1, 0xc3, true},
        {std::string_view("\xe2\x80\x8e", 2), 1, 0xe2, true},  // the text ends before
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.point);
        const support::Character first = support::FirstCharacter(c.text);
        EXPECT_EQ(first.length, c.length);
        EXPECT_EQ(first.point, c.point);
        EXPECT_EQ(first.IsStrange(), c.isStrange);
    }
}

TEST(PrintableTextTest, ALineFeedStaysAtTheEndAlone) {
    EXPECT_EQ(PrintableLine(""), "");
    EXPECT_EQ(PrintableLine("\n"), "\n");
    EXPECT_EQ(PrintableLine("\n\n"), "\\x0a\n");
    EXPECT_EQ(PrintableLine("a\nb"), "a\\x0ab");
    EXPECT_EQ(PrintableLine(std::string("a\0b\n", 4)), "a\\x00b\n");
}

}  // namespace
