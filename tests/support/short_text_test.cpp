#include "support/short_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(ShortTextTest, TextsAreTheSameWhenEachByteIs) {
    for (std::size_t length = 0; length < 40; ++length) {
        const std::string text = std::string(length, 'x');
        const std::string copy = text;
        EXPECT_TRUE(IsSameText(text, copy)) << length;
        EXPECT_FALSE(IsSameText(text, copy + "x")) << length;
        EXPECT_FALSE(IsSameText(copy + '\0', text)) << length;
        for (std::size_t place = 0; place < length; ++place) {
            std::string other = text;
            other[place] = '\0';
            EXPECT_FALSE(IsSameText(text, other)) << length << " at " << place;
        }
    }
}

TEST(ShortTextTest, NothingAndTheEmptyTextAreTheSame) {
    EXPECT_TRUE(IsSameText({}, ""));
    EXPECT_FALSE(IsSameText({}, "a"));
}

TEST(ShortTextTest, ATextOfAnyLengthIsCopiedWholeAndNothingElse) {
    for (std::size_t length = 0; length < 40; ++length) {
        // No byte stands behind the text, so that a sanitizer sees each wrong read.
        std::vector<char> text;
        for (std::size_t place = 0; place < length; ++place) {
            text.push_back(static_cast<char>('A' + place));
        }
        std::vector<char> target(length + 2, '.');
        CopyText({text.data(), length}, target.data() + 1);
        const std::string expected = "." + std::string(text.begin(), text.end()) + ".";
        EXPECT_EQ(std::string(target.begin(), target.end()), expected) << length;
    }
}

}  // namespace
