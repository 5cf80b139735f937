#include "support/multi_section_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>

#include "tests/fixture/temp_folder.h"
#include "tests/support/section_file.h"

namespace {

class MultiSectionFileReadTest : public testing::Test {
  protected:
    const TempFolder m_folder;
    const std::string m_path = m_folder.File("siptrunkdb");
};

const struct {
    std::string line, key;
    std::optional<std::string> value;
} kReads[] = {
    {"a=1", "a", "1"},
    {"a=", "a", ""},
    {"a= 1 ", "a", " 1 "},
    {"a=\t", "a", "\t"},
    {"a=b=c", "a", "b=c"},
    {"a==", "a", "="},
    {"a=1\r", "a", "1\r"},
    {"a=# no comment", "a", "# no comment"},
    {"a=}", "a", "}"},
    {" \ta\t =1", "a", "1"},
    {"a b=1", "a b", "1"},
    {"}=1", "}", "1"},
    {"section {=1", "section {", "1"},
    {"section=1{", "section", "1{"},
    {"a\r=1", "a\r", "1"},
    {"\xff\x01=1", "\xff\x01", "1"},
    {"a=1", "A", std::nullopt},
    {"a=1", "", std::nullopt},
    {"a=1", "aa", std::nullopt},
    {"aa=1", "a", std::nullopt},
    {"a=1", "a ", std::nullopt},
    {"a=1", " a", std::nullopt},
    {"a=1", "a=1", std::nullopt},
    {"b=a=1", "a", std::nullopt},
    {"#a=1", "a", std::nullopt},
    {"#a=1", "#a", std::nullopt},
    {" # a=1", "# a", std::nullopt},
    {" # a=1", " # a", std::nullopt},
    {" a=1", " a", std::nullopt},
};

TEST_F(MultiSectionFileReadTest, AValueIsEverythingAfterTheFirstSeparator) {
    for (const auto& c : kReads) {
        WriteFile(m_path, "section {\n" + c.line + "\n}\n");
        SectionFile file(m_path, Access::kReadOnly);
        ASSERT_TRUE(file.GotoNextSection());
        EXPECT_EQ(file.Value(c.key), c.value) << c.line << " read by \"" << c.key << '"';
    }
}

TEST_F(MultiSectionFileReadTest, OnlyTheCurrentSectionIsRead) {
    WriteFile(m_path, "section {\na=1\n}\nsection {\nb=2\n}\n");
    SectionFile file(m_path, Access::kReadOnly);
    ASSERT_TRUE(file.GotoNextSection());
    EXPECT_EQ(file.Value("b"), std::nullopt);
    ASSERT_TRUE(file.GotoNextSection());
    EXPECT_EQ(file.Value("a"), std::nullopt);
}

TEST_F(MultiSectionFileReadTest, OfSeveralEntriesWithOneKeyTheFirstIsReadInEveryOrder) {
    WriteFile(m_path, "section {\na=1\nb=2\na=3\nb=4\n}\n");
    SectionFile file(m_path, Access::kReadOnly);
    ASSERT_TRUE(file.GotoNextSection());
    for (const char* key : {"b", "a", "a", "b", "c", "a"}) {
        const bool isThere = *key != 'c';
        EXPECT_EQ(file.Value(key),
                  isThere ? std::optional<std::string>(*key == 'a' ? "1" : "2") : std::nullopt);
        file.RestartSection();
    }
}

TEST_F(MultiSectionFileReadTest, AReadCopiesAsMuchAsTheBufferHolds) {
    const std::string value(1500, 'v');
    WriteFile(m_path, "section {\nlong=" + value + "\n}\n");
    SectionFile file(m_path, Access::kReadOnly);
    ASSERT_TRUE(file.GotoNextSection());
    for (const unsigned int size : {1U, 2U, 1024U, 1500U, 1501U, 1600U}) {
        std::string buffer(1600, '.');
        const unsigned int copied = std::min(size - 1, 1500U);
        EXPECT_EQ(file.GetSectionEntry("long", buffer.data(), size), copied + 1);
        EXPECT_EQ(buffer, value.substr(0, copied) + '\0' + std::string(1600 - copied - 1, '.'));
    }
}

TEST_F(MultiSectionFileReadTest, EveryByteOfAValueComesBackButLineFeedAndNul) {
    std::string all;
    for (int code = 1; code < 256; ++code) {
        if (code != '\n') {
            all.push_back(static_cast<char>(code));
        }
    }
    WriteFile(m_path, "section {\nall=\n}\n");
    {
        SectionFile file(m_path);
        ASSERT_TRUE(file.GotoNextSection());
        EXPECT_TRUE(file.SetSectionEntry("all", all.c_str()));
        for (const char byte : all) {
            const std::string value(1, byte);
            file.AddSectionEntry(("k" + std::to_string(static_cast<int>(byte))).c_str(),
                                 value.c_str());
        }
        file.Save();
    }
    SectionFile file(m_path, Access::kReadOnly);
    ASSERT_TRUE(file.GotoNextSection());
    EXPECT_EQ(file.Value("all"), all);
    for (const char byte : all) {
        EXPECT_EQ(file.Value("k" + std::to_string(static_cast<int>(byte))), std::string(1, byte));
    }
}

TEST_F(MultiSectionFileReadTest, AMarkMayBeALetter) {
    const struct {
        const char* text;
        const char* separator;
        const char* commentMark;
        const char* present;
        const char* value;
        const char* absent;
    } cases[] = {
        {"section {\naxbx1\n}\n", "x", "#", "a", "bx1", "axb"},
        {"section {\nca=1\na=2\n}\n", "=", "c", "a", "2", "ca"},
    };
    for (const auto& c : cases) {
        WriteFile(m_path, c.text);
        Configuration::MultiSectionFile file(m_path.c_str(), false, true, false, "section", "{",
                                             "}", c.separator, c.commentMark, nullptr);
        ASSERT_TRUE(file.GotoNextSection());
        char buffer[10];
        EXPECT_NE(file.GetSectionEntry(c.present, buffer, sizeof(buffer)), 0U);
        EXPECT_STREQ(buffer, c.value);
        EXPECT_EQ(file.GetSectionEntry(c.absent, buffer, sizeof(buffer)), 0U);
    }
}

}  // namespace
