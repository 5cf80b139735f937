#include "support/text_format.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <stdexcept>
#include <string>

namespace {

__attribute__((format(printf, 1, 2))) std::string Format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    try {
        std::string text = support::FormatText(format, arguments);
        va_end(arguments);
        return text;
    } catch (...) {
        va_end(arguments);
        throw;
    }
}

TEST(TextFormatTest, FormatsAndArgumentsMakeTheTextThatPrintfWrites) {
    EXPECT_EQ(Format("100%%"), "100%");
    EXPECT_EQ(Format("%s@%s:%d", "user", "host", 5060), "user@host:5060");
    EXPECT_EQ(Format("%03hu|%-4c|%#lx", static_cast<unsigned short>(7), 'c', 255UL),
              "007|c   |0xff");
}

TEST(TextFormatTest, AnEmptyFormatMakesTheEmptyText) { EXPECT_EQ(Format("%s", ""), ""); }

TEST(TextFormatTest, TheTextIsWholeHoweverLongItIs) {
    for (const std::size_t length : {15U, 16U, 1023U, 1024U, 4096U, 1000000U}) {
        const std::string text(length, 'x');
        EXPECT_EQ(Format("%s!", text.c_str()), text + "!") << length;
    }
}

TEST(TextFormatTest, ANulInTheTextIsKept) {
    EXPECT_EQ(Format("a%cb", '\0'), std::string("a\0b", 3));
}

TEST(TextFormatTest, AFormatThatCannotBeCarriedOutIsAFailure) {
    // No character set has this character, and so no bytes for it.
    const auto noCharacter = static_cast<std::wint_t>(0x7fffffff);
    EXPECT_THROW((void)Format("before %lc", noCharacter), std::runtime_error);
}

}  // namespace
