#include "support/plain_entries.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "support/line_scanner.h"
#include "support/whole_file.h"

namespace {

// A copy without a byte behind it, so that a sanitizer sees each read that goes too far.
FileText TightCopy(const std::string& text) {
    FileText copy = MakeText(text.size());
    std::copy(text.begin(), text.end(), copy.bytes.get());
    return copy;
}

// What stands between the entries of two sections; the line feed before it is that of an entry.
const std::string kSeam = "\n}\nsection {\n";
const std::string_view kSeamLines = std::string_view(kSeam).substr(1);

// Where the first unusual line begins, a seam or not, and the ends of the sections before it.
struct Walked {
    std::size_t position;
    std::vector<std::uint16_t> ends;  // the sections' lengths

    bool operator==(const Walked& other) const {
        return position == other.position && ends == other.ends;
    }
};

std::ostream& operator<<(std::ostream& out, const Walked& walked) {
    return out << walked.position << " behind " << walked.ends.size() << " sections";
}

// Steps over the seams that the walk stops at. One that finds a NUL byte goes from line to line.
template <typename Skip>
Walked WalkWith(std::string_view text, std::size_t position, const Skip& skip) {
    SectionEnds ends;
    for (;;) {
        const std::size_t stop = skip(position, ends);
        if (stop == std::string_view::npos || text.substr(stop, kSeamLines.size()) != kSeamLines) {
            return {stop, {ends.lengths, ends.lengths + ends.count}};
        }
        ends.Add(stop + 2);
        position = stop + kSeamLines.size();
    }
}

Walked WalkByLine(std::string_view text, std::size_t position = 0, char separator = '=') {
    return WalkWith(text, position, [&](std::size_t begin, SectionEnds&) {
        return SkipPlainEntriesByLine(text, begin, separator);
    });
}

Walked Walk(std::string_view text, std::size_t position = 0, char separator = '=') {
    Walked walked = WalkWith(text, position, [&](std::size_t begin, SectionEnds& ends) {
        return SkipPlainLines(text, begin, separator, kSeam, ends);
    });
    if (walked.position != std::string_view::npos) {
        return walked;
    }
    EXPECT_NE(text.find('\0', position), std::string_view::npos);
    return WalkByLine(text, position, separator);
}

std::size_t Skip(std::string_view text, std::size_t position = 0, char separator = '=') {
    return Walk(text, position, separator).position;
}

// The first line that is not plainly an entry, found with plain means.
std::size_t FirstUnusualLine(const std::string& text) {
    for (LineScanner lines(text); lines.Next();) {
        const std::string line(lines.Line());
        const std::size_t keyEnd = std::min(line.find('='), line.size());
        const bool hasKey =
            keyEnd > 0 && std::all_of(line.data(), line.data() + keyEnd,
                                      [](char b) { return static_cast<signed char>(b) > ' '; });
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
                                "\x80=1",
                                "k\xff=1",
                                std::string("a=\0", 3),
                                std::string("a\0=1", 4),
                                std::string(1, '\0')};
    // Entries before the end, of so many lengths that the end stands at each place of a block.
    for (std::size_t length = 0; length < 200; ++length) {
        for (const std::string& end : ends) {
            for (const std::string& before :
                 {std::string(length, 'k') + "k=v\n", "k=" + std::string(length, 'v') + "\n",
                  "k=v\n!\x7f=\xff\n#a=b=c\n" + std::string(length, '}') + "k=\n"}) {
                const std::string text = before + end + (end.empty() ? "" : "\na=1\nb=2\n}\n");
                const FileText copy = TightCopy(text);
                ASSERT_EQ(Skip(copy.View()), before.size()) << text;
                ASSERT_EQ(SkipPlainEntriesByLine(copy.View(), 0, '='), before.size()) << text;
            }
        }
    }
}

TEST(PlainEntriesTest, TheWalkBeginsWhereItIsTold) {
    const std::string text = "section {\na=1\n}\nb=2\n";
    EXPECT_EQ(Skip(text), 0U);
    EXPECT_EQ(Skip(text, 10), 14U);
    EXPECT_EQ(Skip(text, 16), text.size());
    EXPECT_EQ(Skip(text, text.size()), text.size());
}

TEST(PlainEntriesTest, TheSeparatorIsTheCallers) { EXPECT_EQ(Skip("a:1\nb=2\n", 0, ':'), 4U); }

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
        const std::size_t found = Skip(copy.View());
        ASSERT_EQ(found, expected) << round << ": " << text;
        ASSERT_EQ(SkipPlainEntriesByLine(copy.View(), 0, '='), expected) << round << ": " << text;
    }
}

TEST(PlainEntriesTest, SeamsAreSkippedWhereverTheyStand) {
    const std::string seams[] = {std::string(kSeamLines),
                                 std::string(kSeamLines) + std::string(kSeamLines),
                                 "} \nsection {\n",
                                 "}\n\nsection {\n",
                                 "}\nsection{\n",
                                 "}\nsection {\r\n",
                                 "}\nsection {",
                                 "a=}\nsection {\n",
                                 "}}\nsection {\n",
                                 "}\n}\nsection {\n",
                                 "section {\n"};
    for (std::size_t length = 0; length < 150; ++length) {
        for (const std::string& seam : seams) {
            const std::string text = "k=" + std::string(length, 'v') + "\n" + seam + "a=1\n" +
                                     seam + "b=" + std::string(70, 'b') + "\n" + seam + "c=3\n}\n";
            const FileText copy = TightCopy(text);
            ASSERT_EQ(Walk(copy.View()), WalkByLine(text)) << text;
        }
    }
}

TEST(PlainEntriesTest, NoSeamIsSkippedThatIsLongerThanABlock) {
    for (std::size_t length = 50; length < 80; ++length) {
        const std::string seamLines = "}\n" + std::string(length, 's') + " {\n";
        const std::string text = "a=1\n" + seamLines + "b=" + std::string(200, 'b') + "\n";
        SectionEnds ends;
        const std::size_t stop = SkipPlainLines(text, 0, '=', "\n" + seamLines, ends);
        EXPECT_EQ(stop, ends.count == 0 ? 4 : text.size()) << length;
        EXPECT_LE(ends.count, seamLines.size() < 64 ? 1U : 0U) << length;
    }
}

TEST(PlainEntriesTest, RandomSectionsAreWalkedAsFromLineToLine) {
    std::mt19937 random(2);
    const std::string pieces[] = {
        std::string(kSeamLines), "}\n", "section {\n", "\n", "{ }\n", " a=1\n", "# b\n", "}=1\n"};
    std::size_t sections = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = "{\n";
        for (std::size_t count = random() % 40; count > 0; --count) {
            const std::size_t choice = random() % 60;
            if (choice < std::size(pieces)) {
                text += pieces[choice];
            } else if (choice < 20) {
                text += kSeamLines;
            } else {
                text += std::string(1 + random() % 20, 'k') + "=" +
                        std::string(random() % 30, 'v') + "\n";
            }
        }
        const FileText copy = TightCopy(text);
        const Walked expected = WalkByLine(text, 2);
        ASSERT_EQ(Walk(copy.View(), 2), expected) << round << ": " << text;
        sections += expected.ends.size();
    }
    EXPECT_GT(sections, 20000U);
}

TEST(PlainEntriesTest, TheEndsOfAsManySectionsAreKeptAsThereIsRoomFor) {
    SectionEnds ends;
    const std::size_t room = std::size(ends.lengths);
    for (std::size_t section = 1; section <= room + 1; ++section) {
        ends.Add(10 * section + 1);
    }
    EXPECT_EQ(ends.count, room);
    EXPECT_EQ(ends.lengths[0], 11U);
    EXPECT_EQ(ends.lengths[1], 10U);
    EXPECT_EQ(ends.lengths[room - 1], 10U);
}

TEST(PlainEntriesTest, NoEndIsKeptBehindASectionThatIsTooLong) {
    SectionEnds ends;
    ends.Add(10);
    ends.Add(10 + UINT16_MAX);
    ends.Add(10 + 2 * UINT16_MAX + 1);
    ends.Add(20 + 2 * UINT16_MAX + 1);
    EXPECT_EQ(ends.count, 2U);
    EXPECT_EQ(ends.lengths[1], UINT16_MAX);
}

std::string_view Find(std::string_view text, std::size_t begin, std::size_t end,
                      std::string_view key) {
    const std::string_view stretch = text.substr(begin, end - begin);
    const char* const textEnd = text.data() + text.size();
    const std::string_view found = FindPlainEntry(stretch, textEnd, key, '=');
    const std::string_view byLine = FindPlainEntryByLine(stretch, key, '=');
    EXPECT_EQ(found, byLine);
    EXPECT_EQ(found.data(), byLine.data());
    return found;
}

TEST(PlainEntriesTest, AnEntryIsFoundByItsWholeKeyInItsStretchAlone) {
    struct Case {
        std::string text;
        std::size_t begin, end;
        std::string key;
        const char* value;  // null when there is none
    };
    const std::string sections = "{\n}\n{\n}\n{\n}\n{\n}\n{\n}\n{\n}\n{\n}\n{\n}\n{\n}\n{\n}\n";
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
        {"{\na=1=2\n}\n" + sections, 0, 20, "a", "1=2"},
        {"{\nb=1\na=2\n}\n" + sections, 0, 20, "a", "2"},
        {"{\nb=a=1\n}\n" + sections, 0, 20, "a", nullptr},
    };
    for (const Case& c : cases) {
        const FileText copy = TightCopy(c.text);
        const std::string_view found = Find(copy.View(), c.begin, c.end, c.key);
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
                    const std::string_view found = Find(copy.View(), 0, copy.size, key);
                    ASSERT_NE(found.data(), nullptr) << copy.View();
                    ASSERT_EQ(found, value) << copy.View();
                    const std::string_view missed = Find(copy.View(), 0, begin.size(), key);
                    ASSERT_EQ(missed.data(), nullptr) << copy.View();
                }
            }
        }
    }
}

}  // namespace
