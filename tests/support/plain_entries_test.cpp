#include "support/plain_entries.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "support/line_scanner.h"
#include "support/whole_file.h"

namespace {

// A copy without a byte behind it, so that a sanitizer sees each read that goes too far.
FileText TightCopy(const std::string& text) {
    FileText copy = MakeText(text.size());
    std::copy(text.begin(), text.end(), copy.bytes.get());
    return copy;
}

// The first line that is not plainly an entry, found with plain means.
std::size_t FirstUnusualLine(const std::string& text) {
    for (LineScanner lines(text); lines.Next();) {
        const std::string line(lines.Line());
        const std::size_t keyEnd = std::min(line.find('='), line.size());
        const bool hasKey =
            keyEnd > 0 && std::all_of(line.data(), line.data() + keyEnd,
                                      [](char b) { return static_cast<unsigned char>(b) > ' '; });
        if (!hasKey || keyEnd == line.size() || line.find('\0') != std::string::npos) {
            return lines.Begin();
        }
    }
    return text.size();
}

TEST(PlainEntriesTest, TheWalkEndsAtTheFirstLineThatIsNotPlainlyAnEntry) {
    const std::string ends[] = {"",
                                "}",
                                "a",
                                "=1",
                                " a=1",
                                "a =1",
                                "\ta=1",
                                "\n",
                                "\r",
                                "a\tb=1",
                                "# c",
                                "section {",
                                std::string("a=\0", 3),
                                std::string("a\0=1", 4),
                                std::string(1, '\0')};
    // Entries before the end, of so many lengths that the end stands at each place of a block.
    for (std::size_t length = 0; length < 200; ++length) {
        for (const std::string& end : ends) {
            for (const std::string& before :
                 {std::string(length, 'k') + "k=v\n", "k=" + std::string(length, 'v') + "\n",
                  "k=v\n\xff=\xff\n#a=b=c\n" + std::string(length, '}') + "k=\n"}) {
                const std::string text = before + end + (end.empty() ? "" : "\na=1\nb=2\n}\n");
                const FileText copy = TightCopy(text);
                ASSERT_EQ(SkipPlainEntries(copy.View(), 0, '='), before.size()) << text;
            }
        }
    }
}

TEST(PlainEntriesTest, TheWalkBeginsWhereItIsTold) {
    const std::string text = "section {\na=1\n}\nb=2\n";
    EXPECT_EQ(SkipPlainEntries(text, 0, '='), 0U);
    EXPECT_EQ(SkipPlainEntries(text, 10, '='), 14U);
    EXPECT_EQ(SkipPlainEntries(text, 16, '='), text.size());
    EXPECT_EQ(SkipPlainEntries(text, text.size(), '='), text.size());
}

TEST(PlainEntriesTest, TheSeparatorIsTheCallers) {
    EXPECT_EQ(SkipPlainEntries("a:1\nb=2\n", 0, ':'), 4U);
}

TEST(PlainEntriesTest, RandomTextsAreWalkedAsWithPlainMeans) {
    std::mt19937 random(1);
    const std::string bytes = "aaaabbbk=====#}\n\n\n \t\xe4";
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (std::size_t entries = random() % 5; entries > 0; --entries) {
            text +=
                std::string(1 + random() % 30, 'k') + "=" + std::string(random() % 80, 'v') + "\n";
        }
        for (std::size_t count = random() % 40; count > 0; --count) {
            text += random() % 100 == 0 ? '\0' : bytes[random() % bytes.size()];
        }
        const FileText copy = TightCopy(text);
        const std::size_t expected = FirstUnusualLine(text);
        const std::size_t found = SkipPlainEntries(copy.View(), 0, '=');
        ASSERT_EQ(found, expected) << round << ": " << text;
    }
}

TEST(PlainEntriesTest, AnEntryIsFoundByItsWholeKeyInItsStretchAlone) {
    struct Case {
        std::string text;
        std::size_t begin, end;
        std::string key;
        const char* value;  // null when there is none
    };
    const std::string text = "{\nab=1\na=2\nb=\na=3\n}\n{\na=4\n}\n";
    const Case cases[] = {
        {text, 0, text.size(), "a", "2"},
        {text, 0, text.size(), "ab", "1"},
        {text, 0, text.size(), "b", ""},
        {text, 0, text.size(), "c", nullptr},
        {text, 0, 7, "a", nullptr},
        {text, 0, 11, "a", "2"},
        {text, 11, text.size(), "a", "3"},
        {text, 18, text.size(), "a", "4"},
        {text, 26, text.size(), "a", nullptr},
        {"a=1\n", 0, 4, "a", nullptr},
        {"\na=1", 0, 4, "a", "1"},
        {"\na=", 0, 3, "a", ""},
        {"\na", 0, 2, "a", nullptr},
        {"", 0, 0, "a", nullptr},
        {"{\na=1=2\n}\n{\n}\n{\n}\n{\n}\n", 0, 20, "a=1", nullptr},
        {"{\nb=1\na=2\n}\n{\n}\n{\n}\n", 0, 20, "b=1\na", nullptr},
    };
    for (const Case& c : cases) {
        const FileText copy = TightCopy(c.text);
        const std::string_view found = FindPlainEntry(copy.View(), c.begin, c.end, c.key, '=');
        EXPECT_EQ(found.data() != nullptr, c.value != nullptr) << c.text << c.key << c.begin;
        EXPECT_EQ(found, c.value == nullptr ? "" : c.value) << c.text << c.key << c.begin;
    }
}

TEST(PlainEntriesTest, AnEntryIsFoundAtEveryPlaceAndWithEveryLength) {
    for (std::size_t before = 0; before < 70; ++before) {
        for (const std::size_t keyLength : {1U, 2U, 15U, 16U, 17U, 40U}) {
            for (const std::size_t valueLength : {0U, 1U, 15U, 16U, 17U, 40U}) {
                const std::string key(keyLength, 'k');
                const std::string value(valueLength, 'v');
                const std::string begin =
                    "{\nx=" + std::string(before, 'x') + "\n" + key + "k=no\n";
                for (const std::string end : {"", "\n", "\n}\n"}) {
                    const FileText copy = TightCopy(begin + key + "=" + value + end);
                    const std::string_view found =
                        FindPlainEntry(copy.View(), 0, copy.size, key, '=');
                    ASSERT_NE(found.data(), nullptr) << copy.View();
                    ASSERT_EQ(found, value) << copy.View();
                    const std::string_view missed =
                        FindPlainEntry(copy.View(), 0, begin.size(), key, '=');
                    ASSERT_EQ(missed.data(), nullptr) << copy.View();
                }
            }
        }
    }
}

}  // namespace
