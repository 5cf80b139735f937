#include "support/line_scanner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct Line {
    std::string text;
    std::size_t begin, end;

    bool operator==(const Line& other) const {
        return text == other.text && begin == other.begin && end == other.end;
    }
};

std::vector<Line> LinesOf(support::LineScanner lines) {
    std::vector<Line> all;
    while (lines.Next()) {
        all.push_back({std::string(lines.Line()), lines.Begin(), lines.End()});
    }
    EXPECT_FALSE(lines.Next()) << "there was a line after the last one";
    return all;
}

TEST(LineScannerTest, EveryTextSplitsIntoItsLines) {
    struct Case {
        std::string text;
        std::vector<Line> lines;
    };
    const Case cases[] = {
        {"", {}},
        {"\n", {{"", 0, 1}}},
        {"a", {{"a", 0, 1}}},
        {"a\n", {{"a", 0, 2}}},
        {"a\nb", {{"a", 0, 2}, {"b", 2, 3}}},
        {"\n\nab\n", {{"", 0, 1}, {"", 1, 2}, {"ab", 2, 5}}},
        {"a\r\n\r", {{"a\r", 0, 3}, {"\r", 3, 4}}},
        {{'\0', '\n', '\0'}, {{std::string(1, '\0'), 0, 2}, {std::string(1, '\0'), 2, 3}}},
    };
    for (const Case& c : cases) {
        EXPECT_TRUE(LinesOf(support::LineScanner(c.text)) == c.lines) << '"' << c.text << '"';
    }
}

TEST(LineScannerTest, TheWalkBeginsWhereItIsTold) {
    const std::string text = "ab\ncd\nef";
    EXPECT_TRUE(LinesOf(support::LineScanner(text, 3)) ==
                (std::vector<Line>{{"cd", 3, 6}, {"ef", 6, 8}}));
    EXPECT_TRUE(LinesOf(support::LineScanner(text, 6)) == (std::vector<Line>{{"ef", 6, 8}}));
    EXPECT_TRUE(LinesOf(support::LineScanner(text, 8)).empty());
}

TEST(LineScannerTest, BeforeTheFirstLineTheCurrentOneIsEmpty) {
    const support::LineScanner lines("ab\ncd", 3);
    EXPECT_EQ(lines.Line(), "");
    EXPECT_EQ(lines.Begin(), 3U);
    EXPECT_EQ(lines.End(), 3U);
}

}  // namespace
