#include "support/section_text.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <vector>

#include "support/whole_file.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/plain_parser.h"
#include "tests/fixture/temp_folder.h"
#include "tests/support/section_file.h"

namespace {

using Sections = std::vector<std::string>;

// The value of the key "a" in every section, "-" where it is absent.
Sections ValuesOfA(const std::string& path) {
    SectionFile file(path, Access::kReadOnly);
    Sections values;
    while (file.GotoNextSection()) {
        values.push_back(file.Value("a").value_or("-"));
    }
    return values;
}

class SectionTextTest : public testing::Test {
  protected:
    // Loads a text and parses it with plain means: both refuse it alike, or both find the same
    // values. Returns whether they take it.
    bool Compare(const std::string& text) {
        std::vector<PlainSection> sections;
        const std::string fault = PlainParser().Parse(text, sections);
        Sections expected;
        for (const PlainSection& section : sections) {
            expected.push_back(section.Value("a").value_or("-"));
        }
        WriteFile(m_path, text);
        Sections values;
        const std::string failure = FailureOf([&] { values = ValuesOfA(m_path); });
        EXPECT_EQ(failure, fault.empty() ? "no failure" : m_path + ":" + fault) << text;
        EXPECT_EQ(values, expected) << text;
        return fault.empty();
    }

    const TempFolder m_folder;
    const std::string m_path = m_folder.File("siptrunkdb");
};

const struct {
    std::string text;
    Sections sections;
} kWellFormed[] = {
    {"", {}},
    {"\n", {}},
    {" ", {}},
    {" \t\n\t", {}},
    {"#", {}},
    {"# section {\n#a=1\n  # }\n\t#", {}},
    {"#a=1\r\n", {}},
    {"section {\n}\n", {"-"}},
    {"section {\n}", {"-"}},
    {"section{\n}\n", {"-"}},
    {"section \t  {\n}\n", {"-"}},
    {" \tsection {\t \n \t}\t \n", {"-"}},
    {"section {\na=1\n}\n", {"1"}},
    {"section {\na=1\n}", {"1"}},
    {"section {\n \ta \t=1\n}\n", {"1"}},
    {"section {\n\n# c\n \t\na=1\n#\n\n}\n", {"1"}},
    {"section {\na=1\n}\nsection {\na=2\n}\n", {"1", "2"}},
    {"# 1\n\nsection {\na=1\n}\n# 2\n\n\nsection{\nb=2\n}\n# 3", {"1", "-"}},
    {"section {\na=1\na=2\n}\n", {"1"}},
    {"section {\na=1\r\n}\n", {"1\r"}},
    {"section {\na==}\n}\n", {"=}"}},
    {"section {\na=}\nb={\n}\n", {"}"}},
    {"section {\nsection {=1\n}=2\nsection=3\na=4\n}\n", {"4"}},
    {"section {\n# }\n #}\n}\n", {"-"}},
    {"section {\nb=1}\n}\nsection {\na=2\n}\n", {"-", "2"}},
    {"section {\n\xc3\xa4=\xff\na=\x01\x7f\n}\n", {"\x01\x7f"}},
};

TEST_F(SectionTextTest, WellFormedFilesAreLoadedAndWrittenBackByteForByte) {
    for (const auto& c : kWellFormed) {
        SCOPED_TRACE('"' + c.text + '"');
        WriteFile(m_path, c.text);
        EXPECT_EQ(ValuesOfA(m_path), c.sections);
        const ino_t inode = InodeOf(m_path);
        SectionFile(m_path).Save();
        EXPECT_EQ(ReadFile(m_path), c.text);
        EXPECT_NE(InodeOf(m_path), inode);
    }
}

const std::string kNul(1, '\0');

const struct {
    std::string text, failure;
} kMalformed[] = {
    {"x", "1: text outside a section"},
    {"\n\nx\n", "3: text outside a section"},
    {"section {\n}\nx\n", "3: text outside a section"},
    {"section\n", "1: text outside a section"},
    {"section\n{\n}\n", "1: text outside a section"},
    {"{\n}\n", "1: text outside a section"},
    {"Section {\n}\n", "1: text outside a section"},
    {"sections {\n}\n", "1: text outside a section"},
    {"section {{\n}\n", "1: text outside a section"},
    {"section { #\n}\n", "1: text outside a section"},
    {"section {}\n", "1: text outside a section"},
    {"section { }\n", "1: text outside a section"},
    {"section name {\n}\n", "1: text outside a section"},
    {"sectio {\n}\n", "1: text outside a section"},
    {"\vsection {\n}\n", "1: text outside a section"},
    {"}}\n", "1: text outside a section"},
    {"\r\n", "1: line ends in a carriage return"},
    {"section {\r\n}\r\n", "1: line ends in a carriage return"},
    {"a=1\n", "1: entry outside a section"},
    {"=1\n", "1: entry outside a section"},
    {"section={\n", "1: entry outside a section"},
    {"section {\n}\na=1", "3: entry outside a section"},
    {"a=1\r\n", "1: entry outside a section"},
    {"}\n", "1: end of a section outside one"},
    {" }\t", "1: end of a section outside one"},
    {"section {\n}\n}\n", "3: end of a section outside one"},
    {"section {\na\n}\n", "2: entry without \"=\""},
    {"section {\na=1\n b \n}\n", "3: entry without \"=\""},
    {"section {\n} #\n}\n", "2: entry without \"=\""},
    {"section {\n}}\n}\n", "2: entry without \"=\""},
    {"section {\n{\n}\n", "2: entry without \"=\""},
    {"section {\nsection\n}\n", "2: entry without \"=\""},
    {"section {\n}\r\n", "2: line ends in a carriage return"},
    {"section {\n\r\n}\n", "2: line ends in a carriage return"},
    {"section {\n=1\n}\n", "2: entry without a key"},
    {"section {\n \t=\n}\n", "2: entry without a key"},
    {"section {\n==\n}\n", "2: entry without a key"},
    {"section {\n=\r\n}\n", "2: entry without a key"},
    {"section {\nsection {\n}\n}\n", "2: section inside a section"},
    {"section {\na=1\n\tsection{\n}\n", "3: section inside a section"},
    {"section {", "1: section is not closed"},
    {"section {\n", "1: section is not closed"},
    {"# c\nsection {\na=1\n# }\n", "2: section is not closed"},
    {"section {\n}\n\n section{\na=1", "4: section is not closed"},
    {"section {\na=1\n}\nsection {\nb=" + std::string(90, 'b') + "\nc=3\n",
     "4: section is not closed"},
    {kNul, "1: NUL byte"},
    {"\n" + kNul + "\n", "2: NUL byte"},
    {"# c" + kNul + "\n", "1: NUL byte"},
    {"section {\na=1" + kNul + "\n}\n", "2: NUL byte"},
    {"section {\n" + kNul + "a=1\n}\n", "2: NUL byte"},
    {"section {\na" + kNul + "b=1\n}\n", "2: NUL byte"},
    {"section {\n# " + kNul + "\n}\n", "2: NUL byte"},
    {"section {\n}\n" + std::string(4096, '\0'), "3: NUL byte"},
};

TEST_F(SectionTextTest, MalformedFilesAreRefusedWithPathLineAndReasonAndLeftAlone) {
    for (const auto& c : kMalformed) {
        WriteFile(m_path, c.text);
        const ino_t inode = InodeOf(m_path);
        for (const Access access : {Access::kReadOnly, Access::kChange, Access::kChangeOrCreate}) {
            const auto open = [&] { const SectionFile file(m_path, access); };
            EXPECT_EQ(FailureOf(open), m_path + ":" + c.failure) << '"' << c.text << '"';
            EXPECT_THROW(open(), std::runtime_error);
        }
        EXPECT_EQ(ReadFile(m_path), c.text);
        EXPECT_EQ(InodeOf(m_path), inode);
    }
}

class RandomText {
  public:
    explicit RandomText(unsigned int seed) : m_random(seed) {}

    // A well-formed text, or one with a line too many or too few.
    std::string Next() {
        std::string text;
        const bool isPlain = Below(2) == 0;  // as programs write it, but for what follows
        for (unsigned int section = Below(6); section > 0; --section) {
            text += isPlain ? "" : Lines({"", "# c", "  # c=1", "\t", "#=", "# }"});
            text += isPlain ? "section {\n" : Line({"section {", "section{", " \tsection   { "});
            text += Lines({"a=1", "a=", " a = 2 ", "b=3", "key=", "", "# c", "#a=5", "}=1", "a=}",
                           "trunk_name=office", "\xe4=\xf6", "a\r=\r", "=a=", "b={ ", " #a=4"},
                          !Rarely());
            text += isPlain ? "}\n" : Rarely() ? "" : Line({"}", "}", " }\t"});
        }
        if (Rarely()) {
            const std::size_t at = Below(static_cast<unsigned int>(text.size()) + 1);
            text.insert(at, Line({"x", "=1", "section", "section {", "}", "}}", "a=1\r", "\r",
                                  std::string(1, '\0'), "section {x"},
                                 Rarely()));
        }
        if (!text.empty() && Rarely()) {
            text.pop_back();
        }
        return text;
    }

  private:
    unsigned int Below(unsigned int limit) { return static_cast<unsigned int>(m_random() % limit); }
    bool Rarely() { return Below(4) == 0; }

    std::string Line(const std::vector<std::string>& choices, bool isEnded = true) {
        return choices[Below(static_cast<unsigned int>(choices.size()))] + (isEnded ? "\n" : "");
    }

    // Some of these lines, with keys and values of many lengths between them.
    std::string Lines(const std::vector<std::string>& choices, bool hasEntries = false) {
        std::string lines;
        for (unsigned int count = Below(hasEntries ? 12 : 3); count > 0; --count) {
            if (hasEntries && Below(2) == 0) {
                lines +=
                    std::string(1 + Below(20), 'k') + "=" + std::string(Below(150), 'v') + "\n";
            } else {
                std::string line = Line(choices);
                lines += !hasEntries && line[0] == '=' ? "\n" : line;
            }
        }
        return lines;
    }

    std::mt19937 m_random;
};

TEST_F(SectionTextTest, EveryRandomTextIsTakenOrRefusedAsAPlainParserDoes) {
    int accepted = 0;
    for (unsigned int seed = 0; seed < 3000; ++seed) {
        accepted += Compare(RandomText(seed).Next()) ? 1 : 0;
    }
    EXPECT_GT(accepted, 300);
    EXPECT_LT(accepted, 2700);
}

TEST_F(SectionTextTest, SectionsAreFoundWhereverOneEndsAndTheNextBegins) {
    const std::string seams[] = {"}\nsection {\n",     "}\nsection {\n}\nsection {\n",
                                 "} \nsection {\n",    "}\n\nsection {\n",
                                 "}\nsection{\n",      "}\nsection {\r\n",
                                 "}\nsection {",       "a=}\nsection {\n",
                                 "}}\nsection {\n",    "}\n}\nsection {\n",
                                 "section {\n",        "}\n# c\nsection {\n",
                                 "}\nsection {\n=1\n", "}\nsection {\n b=1\n",
                                 "}\nsection {\n\n",   "}\nsection {\nb\n"};
    for (std::size_t length = 0; length < 150; ++length) {
        for (const std::string& seam : seams) {
            const std::string text = "section {\nk=" + std::string(length, 'v') + "\n" + seam +
                                     "a=1\n" + seam + "b=" + std::string(70, 'b') + "\n" + seam +
                                     "a=3\n}\n";
            Compare(text);
            Compare(text.substr(0, text.size() - 1));
            Compare(text.substr(0, text.size() - 3));
        }
    }
}

TEST_F(SectionTextTest, LongKeywordsAndKeysMakeNoDifference) {
    for (std::size_t length = 1; length < 200; ++length) {
        const std::string keyword(length, 's');
        const std::string opener = keyword + " {\n";
        const std::string text = opener + keyword + "=1\na=2\n}\n" + opener + "a=3\n}\n";
        WriteFile(m_path, text);
        Configuration::MultiSectionFile file(m_path.c_str(), false, false, false, keyword.c_str(),
                                             "{", "}", "=", "#", nullptr);
        std::array<char, 4> value{};
        ASSERT_TRUE(file.GotoNextSection());
        EXPECT_EQ(file.GetSectionEntry(keyword.c_str(), value.data(), 4), 2U) << length;
        EXPECT_STREQ(value.data(), "1");
        ASSERT_TRUE(file.GotoNextSection());
        EXPECT_EQ(file.GetSectionEntry(keyword.c_str(), value.data(), 4), 0U) << length;
        EXPECT_EQ(file.GetSectionEntry("a", value.data(), 4), 2U) << length;
        EXPECT_STREQ(value.data(), "3");
        EXPECT_FALSE(file.GotoNextSection());
    }
}

// A page and, after it, one that no program may read.
class GuardedPage {
  public:
    GuardedPage() {
        void* const pages =
            mmap(nullptr, 2 * m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(pages, MAP_FAILED);
        m_begin = static_cast<char*>(pages);
        EXPECT_EQ(mprotect(m_begin + m_size, m_size, PROT_NONE), 0);
    }
    ~GuardedPage() { munmap(m_begin, 2 * m_size); }
    GuardedPage(const GuardedPage&) = delete;
    GuardedPage& operator=(const GuardedPage&) = delete;

    // Puts a text and its line feeds at the end of the page.
    std::string_view Put(const std::string& text) {
        char* const lineFeeds = m_begin + m_size - support::kLineFeedsAfterText;
        std::fill_n(lineFeeds, support::kLineFeedsAfterText, '\n');
        char* const begin = lineFeeds - text.size();
        (void)text.copy(begin, text.size());
        return {begin, text.size()};
    }

  private:
    const std::size_t m_size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    char* m_begin = nullptr;
};

TEST_F(SectionTextTest, NothingIsReadAfterTheLineFeedsThatFollowAText) {
    GuardedPage page;
    for (const std::size_t length :
         {1U, 7U, 57U, 58U, 59U, 60U, 61U, 62U, 63U, 64U, 65U, 100U, 200U}) {
        const std::string keyword(length, 's');
        const support::SectionGrammar grammar(keyword.c_str(), "{", "}", "=", "#");
        const std::string section = keyword + " {\na=1\n}\n";
        const std::string text = section + section + "#";
        for (std::size_t cut = 0; cut <= text.size(); ++cut) {
            const std::string_view put = page.Put(text.substr(0, cut));
            const auto find = [&] { FindSections("", put, grammar); };
            const bool isWhole = cut == 0 || cut == section.size() - 1 || cut == section.size() ||
                                 cut + 2 >= text.size();
            EXPECT_EQ(FailureOf(find) == "no failure", isWhole) << length << ", " << cut;
        }
    }
}

TEST_F(SectionTextTest, TheSeparatorMayBeAControlCharacter) {
    std::string text;
    for (int section = 0; section < 20; ++section) {
        text += "section {\nkey\x01value=1\n# a=1\n \x02=\x01\x01\n}\n";
    }
    WriteFile(m_path, text);
    Configuration::MultiSectionFile file(m_path.c_str(), false, false, false, "section", "{", "}",
                                         "\x01", "#", nullptr);
    std::array<char, 10> value{};
    for (int section = 0; section < 20; ++section) {
        ASSERT_TRUE(file.GotoNextSection());
        EXPECT_EQ(file.GetSectionEntry("key", value.data(), 10), 8U);
        EXPECT_STREQ(value.data(), "value=1");
        EXPECT_EQ(file.GetSectionEntry("\x02=", value.data(), 10), 2U);
        EXPECT_STREQ(value.data(), "\x01");
        EXPECT_EQ(file.GetSectionEntry("# a", value.data(), 10), 0U);
    }
    EXPECT_FALSE(file.GotoNextSection());
}

TEST_F(SectionTextTest, ANulByteIsFoundAtEveryPlaceOfALongFile) {
    std::string edited;  // by an operator
    std::string written;
    for (int section = 0; section < 3; ++section) {
        edited += "# c\nsection {\ntrunk_name=" + std::string(70, 'n') +
                  "\na=1\n#x=\nb=" + std::string(10, 'v') + "\n}\n\n";
    }
    for (std::size_t length = 30; length < 70; ++length) {
        written += "section {\na=" + std::string(length, 'v') + "\n}\n";
    }
    for (const std::string& text : {edited, written}) {
        std::size_t line = 1;
        for (std::size_t place = 0; place < text.size(); ++place) {
            std::string broken = text;
            broken[place] = '\0';
            WriteFile(m_path, broken);
            ASSERT_EQ(FailureOf([&] { const SectionFile file(m_path); }),
                      m_path + ":" + std::to_string(line) + ": NUL byte")
                << place;
            line += text[place] == '\n' ? 1 : 0;
        }
    }
}

}  // namespace
