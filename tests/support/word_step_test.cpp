#include "support/word_step.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// A text and a word's size of bytes after it, and nothing more that may be read.
class TightText {
  public:
    explicit TightText(const std::string& text) : m_bytes(text.begin(), text.end()) {
        m_bytes.resize(text.size() + sizeof(support::Word), '\n');
    }
    const char* At(std::size_t place) const { return m_bytes.data() + place; }

  private:
    std::vector<char> m_bytes;
};

TEST(WordStepTest, TheFirstByteAtOrBelowALimitIsFoundWhereverItStands) {
    for (const char limit : {'\0', '\n', ' ', '#', '=', '}', '~'}) {
        const support::ByteLimit byteLimit(limit);
        for (int code = 0; code < 256; ++code) {
            const char byte = static_cast<char>(code);
            const bool isFound = code <= limit;
            for (std::size_t place = 0; place < 20; ++place) {
                // Bytes that end the search follow; those before are above every limit.
                std::string text =
                    std::string(place, '\x7f') + byte + '\xff' + std::string(3, '\0');
                const TightText tight(text);
                ASSERT_EQ(byteLimit.First(tight.At(0)) - tight.At(0), place + (isFound ? 0 : 2))
                    << code << " at " << place << ", limit " << static_cast<int>(limit);
            }
        }
    }
}

TEST(WordStepTest, TheSearchBeginsWhereItIsTold) {
    const TightText text("a=b=c=");
    const support::ByteLimit limit('=');
    for (std::size_t place = 0; place < 6; ++place) {
        EXPECT_EQ(limit.First(text.At(place)) - text.At(0), place / 2 * 2 + 1);
    }
}

TEST(WordStepTest, ALineEndsAtALineFeedOrANulAndAtNoOtherControlByte) {
    for (int code = 0; code < 256; ++code) {
        for (std::size_t place = 0; place < 20; ++place) {
            const std::string text = std::string(place, 'v') + static_cast<char>(code) + "\t\x01v";
            const TightText tight(text);
            const bool ends = code == 0 || code == '\n';
            ASSERT_EQ(support::LineEnd(tight.At(0)) - tight.At(0), ends ? place : text.size())
                << code;
        }
    }
}

TEST(WordStepTest, TextsAreTheSameWhenEachByteIs) {
    for (std::size_t length = 0; length < 40; ++length) {
        // No byte follows the text, so that a sanitizer sees each wrong read.
        const std::vector<char> bytes(length, 'x');
        const std::string_view text(bytes.data(), length);
        const std::string copy(length, 'x');
        EXPECT_TRUE(support::IsSame(text, copy)) << length;
        EXPECT_FALSE(support::IsSame(text, copy + "x")) << length;
        EXPECT_FALSE(support::IsSame(copy + '\0', text)) << length;
        for (std::size_t place = 0; place < length; ++place) {
            std::string other = copy;
            other[place] = '\0';
            EXPECT_FALSE(support::IsSame(text, other)) << length << " at " << place;
            EXPECT_FALSE(support::IsSame(other, text)) << length << " at " << place;
        }
    }
}

TEST(WordStepTest, NothingAndTheEmptyTextAreTheSame) {
    EXPECT_TRUE(support::IsSame({}, ""));
    EXPECT_FALSE(support::IsSame({}, "a"));
}

}  // namespace
