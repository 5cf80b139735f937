#include "support/multi_section_file.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/fixture/temp_folder.h"
#include "tests/support/section_file.h"

namespace {

class MultiSectionFileWalkTest : public testing::Test {
  protected:
    const TempFolder m_folder;
    const std::string m_path = m_folder.File("siptrunkdb");
};

const std::string kTwoSections = "section {\na=1\n}\nsection {\na=2\n}\n";

TEST_F(MultiSectionFileWalkTest, TheWalkVisitsTheSectionsInFileOrder) {
    WriteFile(m_path, "# c\n" + kTwoSections + "\nsection{\na=3\n}");
    SectionFile file(m_path, Access::kReadOnly);
    for (int round = 0; round < 2; ++round) {
        for (const char* value : {"1", "2", "3"}) {
            ASSERT_TRUE(file.GotoNextSection());
            EXPECT_EQ(file.Value("a"), value);
        }
        EXPECT_FALSE(file.GotoNextSection());
        EXPECT_FALSE(file.GotoNextSection());
        file.Restart();
    }
}

TEST_F(MultiSectionFileWalkTest, VeryManySectionsAreWalkedAndChangedLikeFew) {
    constexpr int kSections = 5000;
    const auto text = [](int changed, const char* value) {
        std::string sections;
        for (int i = 0; i < kSections; ++i) {
            const std::string number = i == changed ? value : std::to_string(i);
            sections += "section {\na=" + number + "\n}\n";
        }
        return sections;
    };
    for (const int changed : {0, 4094, 4095, 4096, 4097, kSections - 1}) {
        WriteFile(m_path, text(-1, ""));
        SectionFile file(m_path);
        for (int i = 0; i < kSections; ++i) {
            ASSERT_TRUE(file.GotoNextSection());
            ASSERT_EQ(file.Value("a"), std::to_string(i));
            if (i == changed) {
                file.SetSectionEntry("a", "new");
            }
        }
        EXPECT_FALSE(file.GotoNextSection());
        file.Save();
        EXPECT_TRUE(ReadFile(m_path) == text(changed, "new")) << changed;
    }
}

TEST_F(MultiSectionFileWalkTest, SectionsAfterAVeryLongOneAreWalkedAndChangedLikeOthers) {
    const std::string longSection = "section {\na=1\nb=" + std::string(70000, 'b') + "\n}\n";
    WriteFile(m_path, "section {\na=0\n}\n" + longSection + "section {\na=2\n}\n# end\n");
    SectionFile file(m_path);
    for (const char* value : {"0", "1", "2"}) {
        ASSERT_TRUE(file.GotoNextSection());
        EXPECT_EQ(file.Value("a"), value);
    }
    file.SetSectionEntry("a", "3");
    EXPECT_FALSE(file.GotoNextSection());
    file.Save();
    EXPECT_TRUE(ReadFile(m_path) ==
                "section {\na=0\n}\n" + longSection + "section {\na=3\n}\n# end\n");
}

TEST_F(MultiSectionFileWalkTest, AFileWithoutSectionsHasNoneToGoTo) {
    for (const char* text : {"", "\n", "# section {\n# }\n"}) {
        WriteFile(m_path, text);
        SectionFile file(m_path);
        EXPECT_FALSE(file.GotoNextSection()) << text;
        file.Restart();
        EXPECT_FALSE(file.GotoNextSection()) << text;
    }
}

TEST_F(MultiSectionFileWalkTest, TheWalkGoesOnAfterASectionThatWasAddedBelowAComment) {
    WriteFile(m_path, std::string("# a comment\n") + kTwoSections);
    SectionFile file(m_path);
    file.AddSection(true);
    for (const char* value : {"1", "2"}) {
        ASSERT_TRUE(file.GotoNextSection());
        EXPECT_EQ(file.Value("a"), value);
    }
    EXPECT_FALSE(file.GotoNextSection());
}

TEST_F(MultiSectionFileWalkTest, AnAddedSectionIsCurrentAndTheWalkGoesOnAfterIt) {
    WriteFile(m_path, kTwoSections);
    SectionFile file(m_path);
    file.AddSection(true);
    EXPECT_EQ(file.Value("a"), std::nullopt);
    file.AddSectionEntry("a", "new");
    EXPECT_EQ(file.Value("a"), "new");
    ASSERT_TRUE(file.GotoNextSection());
    EXPECT_EQ(file.Value("a"), "1");
    file.AddSection(false);
    file.SetSectionEntry("a", "last");
    EXPECT_EQ(file.Value("a"), "last");
    EXPECT_FALSE(file.GotoNextSection());
    file.Restart();
    for (const char* value : {"new", "1", "2", "last"}) {
        ASSERT_TRUE(file.GotoNextSection());
        EXPECT_EQ(file.Value("a"), value);
    }
    EXPECT_FALSE(file.GotoNextSection());
}

}  // namespace
