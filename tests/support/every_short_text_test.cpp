#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "support/section_text.h"
#include "support/whole_file.h"
#include "tests/fixture/plain_parser.h"
#include "tests/fixture/temp_folder.h"
#include "tests/support/section_file.h"

// Every text of a few bytes is taken or refused as a plain parser does, and gives the same sections
// and entries.

namespace {

constexpr char kBytes[] = {'s', '{', '}', '=', '#', '\n', ' ', 'a', '\0'};
const char* const kKeyword = "s";
const char* const kKeys[] = {"a", "s", "}", "{", "aa", "a a", "as", "", "#", "#a", " a", "a "};

// RAIKLAIK_TEXT_LENGTH is for a longer search; each byte more takes nine times as long.
std::size_t LongestText() {
    const char* const chosen = std::getenv("RAIKLAIK_TEXT_LENGTH");
    return chosen == nullptr ? 5 : std::strtoul(chosen, nullptr, 10);
}

// Goes to the next text of the same length; false after the last one.
bool Next(std::string& text) {
    for (char& byte : text) {
        const char* const place = std::find(std::begin(kBytes), std::end(kBytes), byte);
        if (place + 1 != std::end(kBytes)) {
            byte = place[1];
            return true;
        }
        byte = kBytes[0];
    }
    return false;
}

template <typename Check>
void ForEachText(std::size_t longest, const Check& check) {
    for (std::size_t length = 0; length <= longest; ++length) {
        std::string text(length, kBytes[0]);
        do {
            check(text);
        } while (Next(text) && !testing::Test::HasFailure());
    }
}

// Reads texts as a file's are read, from a place with nothing after its line feeds.
class Reader {
  public:
    // Returns "LINE: reason" for a malformed text, "" otherwise.
    std::string Read(const std::string& text, support::Stretches& stretches) {
        if (m_text.bytes == nullptr || m_text.size != text.size()) {
            m_text = support::MakeText(text.size());
        }
        std::memcpy(m_text.bytes.get(), text.data(), text.size());
        try {
            stretches = FindSections("", m_text.View(), m_grammar);
        } catch (const std::runtime_error& malformed) {
            return malformed.what() + std::strlen(":");
        }
        return "";
    }

    std::size_t PlaceOf(std::string_view stretch) const {
        return static_cast<std::size_t>(stretch.data() - m_text.bytes.get());
    }

    void EnterSection(std::string_view stretch) { m_entries.Take(stretch); }

    std::optional<std::string> Value(const char* key) {
        const support::Entry* const entry = m_entries.Find(key);
        return entry == nullptr ? std::nullopt : std::optional<std::string>(entry->value);
    }

  private:
    support::SectionGrammar m_grammar{kKeyword, "{\n", "}\n", "=", "#"};
    support::FileText m_text;
    support::SectionEntries m_entries{m_grammar};
};

// Compares the reader with the parser; returns whether the text is well-formed and has sections.
bool HasSections(Reader& reader, const std::string& text) {
    std::vector<PlainSection> expected;
    support::Stretches stretches;
    const std::string fault = PlainParser(kKeyword).Parse(text, expected);
    EXPECT_EQ(reader.Read(text, stretches), fault) << testing::PrintToString(text);
    if (!fault.empty()) {
        return false;
    }
    EXPECT_EQ(stretches.size(), expected.size() + 1) << testing::PrintToString(text);
    std::size_t end = 0;
    for (std::size_t i = 0; i < stretches.size() && i <= expected.size(); ++i) {
        EXPECT_EQ(reader.PlaceOf(stretches[i]), end) << testing::PrintToString(text);
        end += stretches[i].size();
        if (i == 0) {
            continue;
        }
        const PlainSection& section = expected[i - 1];
        EXPECT_EQ(reader.PlaceOf(stretches[i]), section.begin) << testing::PrintToString(text);
        reader.EnterSection(stretches[i]);
        for (const char* key : kKeys) {
            EXPECT_EQ(reader.Value(key), section.Value(key))
                << key << " in " << testing::PrintToString(text);
        }
    }
    EXPECT_EQ(end, text.size()) << testing::PrintToString(text);
    return !expected.empty();
}

TEST(EveryShortTextTest, IsReadAsAPlainParserReadsIt) {
    Reader reader;
    std::size_t texts = 0;
    std::size_t withSections = 0;
    ForEachText(LongestText(), [&](const std::string& text) {
        ++texts;
        withSections += HasSections(reader, text) ? 1 : 0;
    });
    std::cout << texts << " texts, " << withSections << " of them with sections\n";
}

// Wherever the text stands within a long one: processors look at up to 64 bytes at once.
TEST(EveryShortTextTest, IsReadInsideALongerTextAsAPlainParserReadsIt) {
    const std::string seam = "\n}\ns {\n";
    const std::size_t longest = LongestText() - 3;
    Reader reader;
    for (std::size_t length = 64 - longest - seam.size(); length < 66; ++length) {
        const std::string before = "s {\na=" + std::string(length - 6, 'v');
        ForEachText(longest, [&](const std::string& text) {
            (void)HasSections(reader, before + text + "=1" + seam + "aa=" + text + "\n}\n");
            (void)HasSections(reader, before + "\n" + text + seam + "a=2\n}\n");
        });
    }
}

class OpenFile : public Configuration::MultiSectionFile {
  public:
    OpenFile(const std::string& path, std::size_t section)
        : MultiSectionFile(path.c_str(), false, false, false, kKeyword, "{\n", "}\n", "=", "#",
                           nullptr) {
        while (section-- > 0) {
            EXPECT_TRUE(GotoNextSection());
        }
    }
    void Save() { MultiSectionFile::Save(true, nullptr); }
};

TEST(EveryShortTextTest, IsWrittenBackByteForByteAndWithoutTheSectionThatIsDeleted) {
    const TempFolder folder;
    const std::string path = folder.File("siptrunkdb");
    ForEachText(std::min<std::size_t>(LongestText(), 6), [&](const std::string& text) {
        std::vector<PlainSection> sections;
        if (!PlainParser(kKeyword).Parse(text, sections).empty() || sections.empty()) {
            return;
        }
        WriteFile(path, text);
        OpenFile(path, 0).Save();
        ASSERT_EQ(ReadFile(path), text);
        std::string rest = text;
        rest.erase(sections[0].begin, sections[0].end - sections[0].begin);
        OpenFile file(path, 1);
        file.DeleteSection();
        file.Save();
        ASSERT_EQ(ReadFile(path), rest);
    });
}

// A new entry stands before the closer, whatever follows the section.
TEST(EveryShortTextTest, TakesANewEntryAtTheEndOfItsSection) {
    const TempFolder folder;
    const std::string path = folder.File("siptrunkdb");
    ForEachText(2, [&](const std::string& after) {
        const std::string text = "s{\na=1\n}\n" + after;
        std::vector<PlainSection> sections;
        if (!PlainParser(kKeyword).Parse(text, sections).empty()) {
            return;
        }
        WriteFile(path, text);
        OpenFile file(path, 1);
        file.AddSectionEntry("b", "2");
        file.Save();
        ASSERT_EQ(ReadFile(path), "s{\na=1\nb=2\n}\n" + after);
    });
}

}  // namespace
