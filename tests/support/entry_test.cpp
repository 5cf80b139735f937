#include "support/entry.h"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <string>

#include "tests/fixture/failure_text.h"

namespace {

TEST(EntryTest, BlanksAreSpacesAndTabs) {
    for (int code = 0; code < 256; ++code) {
        EXPECT_EQ(support::IsBlank(static_cast<char>(code)), code == ' ' || code == '\t') << code;
    }
}

TEST(EntryTest, BlanksAreTakenFromOneEndOnly) {
    struct Case {
        std::string_view text, withoutLeading, withoutTrailing;
    };
    const Case cases[] = {
        {"", "", ""},
        {" ", "", ""},
        {" \t \t", "", ""},
        {"a", "a", "a"},
        {" \ta b\t ", "a b\t ", " \ta b"},
        {"\ra\n", "\ra\n", "\ra\n"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(support::WithoutLeadingBlanks(c.text), c.withoutLeading) << '"' << c.text << '"';
        EXPECT_EQ(support::WithoutTrailingBlanks(c.text), c.withoutTrailing)
            << '"' << c.text << '"';
    }
}

TEST(EntryTest, AValueIsCopiedAsFarAsItFitsWithANulAfterIt) {
    struct Case {
        unsigned int size;
        std::string expected;  // the four bytes of the buffer afterwards
    };
    const Case cases[] = {
        {0, "...."},
        {1, {'\0', '.', '.', '.'}},
        {3, {'a', 'b', '\0', '.'}},
        {4, {'a', 'b', 'c', '\0'}},
    };
    for (const Case& c : cases) {
        std::string buffer = "....";
        support::CopyValue("abc", buffer.data(), c.size);
        EXPECT_EQ(buffer, c.expected) << c.size;
    }
}

TEST(EntryTest, AnEmptyValueIsCopiedAsTheEmptyText) {
    std::array<char, 3> buffer = {'x', 'y', 'z'};
    support::CopyValue({}, buffer.data(), buffer.size());
    EXPECT_EQ(buffer, (std::array<char, 3>{'\0', 'y', 'z'}));
}

TEST(EntryTest, WhatAFileGivesBackIsStorable) {
    struct Case {
        std::string_view key, value;
    };
    const Case cases[] = {
        {"k", ""},    {"k", " padded "}, {"k", "#"},         {"k", "a=b"},
        {"k", "}\r"}, {"a b\tc", "v"},   {"section {", "v"}, {"}", "v"},
        {"k#", "v"},  {"k\r", "v"},      {"\x01", "\x7f"},   {"\xff", "\xff"},
    };
    for (const Case& c : cases) {
        EXPECT_NO_THROW(support::CheckStorable("file", c.key, c.value, '=', '#'))
            << c.key << '=' << c.value;
    }
}

TEST(EntryTest, WhatAFileCannotGiveBackIsRefused) {
    struct Case {
        std::string_view key, value;
        std::string text;
    };
    const Case cases[] = {
        {"", "v", "dir/file: key \"\": it is empty"},
        {"#k", "v", "dir/file: key \"#k\": it would be read as a comment"},
        {"#", "v", "dir/file: key \"#\": it would be read as a comment"},
        {" k", "v", "dir/file: key \" k\": it has a blank at an end"},
        {"\tk", "v", "dir/file: key \"\tk\": it has a blank at an end"},
        {"k ", "v", "dir/file: key \"k \": it has a blank at an end"},
        {"k\t", "v", "dir/file: key \"k\t\": it has a blank at an end"},
        {" ", "v", "dir/file: key \" \": it has a blank at an end"},
        {"a=b", "v", "dir/file: key \"a=b\": it holds a separator or a line feed"},
        {"=", "v", "dir/file: key \"=\": it holds a separator or a line feed"},
        {"a\nb", "v", "dir/file: key \"a\nb\": it holds a separator or a line feed"},
        {"k", "\n", "dir/file: key \"k\": its value holds a line feed"},
        {"k", "secret\nx", "dir/file: key \"k\": its value holds a line feed"},
    };
    for (const Case& c : cases) {
        const auto check = [&] { support::CheckStorable("dir/file", c.key, c.value, '=', '#'); };
        EXPECT_EQ(FailureOf(check), c.text);
        EXPECT_THROW(check(), std::invalid_argument) << c.text;
    }
}

TEST(EntryTest, SeparatorAndCommentMarkAreTheCallers) {
    EXPECT_NO_THROW(support::CheckStorable("file", "#a=b", "v", ':', ';'));
    EXPECT_THROW(support::CheckStorable("file", "a:b", "v", ':', ';'), std::invalid_argument);
    EXPECT_THROW(support::CheckStorable("file", ";a", "v", ':', ';'), std::invalid_argument);
}

}  // namespace
