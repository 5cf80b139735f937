#include "support/multi_section_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/fixture/failing_calls.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/temp_folder.h"
#include "tests/support/section_file.h"

namespace {

class MultiSectionFileTest : public testing::Test {
  protected:
    const TempFolder m_folder;
    const std::string m_path = m_folder.File("siptrunkdb");
};

const std::string kTwoSections = "section {\na=1\n}\nsection {\na=2\n}\n";

TEST_F(MultiSectionFileTest, ALongValueIsStoredWhole) {
    const std::string value(1000000, 'v');
    WriteFile(m_path, "section {\na=1\nb=2\n}\n");
    SectionFile file(m_path);
    ASSERT_TRUE(file.GotoNextSection());
    EXPECT_TRUE(file.SetSectionEntry("a", value.c_str()));
    file.AddSectionEntry("c", value.c_str());
    file.Save();
    EXPECT_EQ(ReadFile(m_path), "section {\na=" + value + "\nb=2\nc=" + value + "\n}\n");
}

TEST_F(MultiSectionFileTest, ReadsSeeTheChangesBeforeTheyAreSaved) {
    WriteFile(m_path, kTwoSections);
    SectionFile file(m_path);
    ASSERT_TRUE(file.GotoNextSection());
    file.SetSectionEntry("a", "new");
    file.AddSectionEntry("b", "added");
    EXPECT_EQ(file.Value("a"), "new");
    EXPECT_EQ(file.Value("b"), "added");
    file.DeleteSectionEntry("a");
    EXPECT_EQ(file.Value("a"), std::nullopt);
    file.Restart();
    ASSERT_TRUE(file.GotoNextSection());
    EXPECT_EQ(file.Value("a"), std::nullopt);
    EXPECT_EQ(file.Value("b"), "added");
    EXPECT_EQ(ReadFile(m_path), kTwoSections);
}

TEST_F(MultiSectionFileTest, WhatIsNotSavedIsForgotten) {
    WriteFile(m_path, kTwoSections);
    const ino_t inode = InodeOf(m_path);
    {
        SectionFile file(m_path);
        ASSERT_TRUE(file.GotoNextSection());
        file.DeleteSection();
        file.AddSection(true);
    }
    EXPECT_EQ(ReadFile(m_path), kTwoSections);
    EXPECT_EQ(InodeOf(m_path), inode);
}

TEST_F(MultiSectionFileTest, AFileThatWasReplacedMeanwhileIsNotSavedOver) {
    WriteFile(m_path, kTwoSections);
    SectionFile file(m_path);
    file.AddSection(false);
    file.Restart();  // as a change of the text in memory, too
    WriteFile(m_folder.File("other"), "");
    ASSERT_EQ(rename(m_folder.File("other").c_str(), m_path.c_str()), 0);
    EXPECT_EQ(FailureOf([&] { file.Save(); }), m_path + ": save: was replaced meanwhile");
    EXPECT_EQ(ReadFile(m_path), "");
}

TEST_F(MultiSectionFileTest, AFileIsWrittenByEverySaveAlsoWhenNothingChanged) {
    WriteFile(m_path, kTwoSections);
    const ino_t inode = InodeOf(m_path);
    SectionFile file(m_path);
    file.Save();
    EXPECT_NE(InodeOf(m_path), inode);
    EXPECT_EQ(ReadFile(m_path), kTwoSections);
}

TEST_F(MultiSectionFileTest, AFileCanBeSavedAgainAndAgain) {
    WriteFile(m_path, "section {\n}\n");
    SectionFile file(m_path);
    ASSERT_TRUE(file.GotoNextSection());
    file.SetSectionEntry("a", "1");
    file.Save();
    EXPECT_EQ(ReadFile(m_path), "section {\na=1\n}\n");
    file.SetSectionEntry("b", "2");
    file.Save();
    EXPECT_EQ(ReadFile(m_path), "section {\na=1\nb=2\n}\n");
    file.DeleteSection();
    file.Save();
    EXPECT_EQ(ReadFile(m_path), "");
}

TEST_F(MultiSectionFileTest, ASaveThatFailsLeavesTheOldFileAndTheChangesForAnotherTry) {
    WriteFile(m_path, "section {\na=1\n}\n");
    SectionFile file(m_path);
    ASSERT_TRUE(file.GotoNextSection());
    file.SetSectionEntry("a", "2");
    {
        const FailingCall failing(Call::kWritev, ENOSPC);
        EXPECT_THROW(file.Save(), std::system_error);
    }
    EXPECT_EQ(ReadFile(m_path), "section {\na=1\n}\n");
    EXPECT_EQ(file.Value("a"), "2");
    file.Save();
    EXPECT_EQ(ReadFile(m_path), "section {\na=2\n}\n");
}

TEST_F(MultiSectionFileTest, AMissingFileIsMadeOnlyWhenAsked) {
    EXPECT_EQ(FailureOf([&] { const SectionFile file(m_path); }),
              m_path + ": open: " + ErrorText(ENOENT));
    EXPECT_THROW(SectionFile(m_path, Access::kReadOnly), std::system_error);
    EXPECT_TRUE(EntriesOf(m_folder.Path()).empty());

    SectionFile file(m_path, Access::kChangeOrCreate);
    EXPECT_EQ(ReadFile(m_path), "");
    EXPECT_EQ(ModeOf(m_path), 0600U);
    EXPECT_FALSE(file.GotoNextSection());
}

TEST_F(MultiSectionFileTest, AFileThatIsThereIsNotMadeAnew) {
    WriteFile(m_path, kTwoSections);
    ASSERT_EQ(chmod(m_path.c_str(), 0644), 0);
    SectionFile file(m_path, Access::kChangeOrCreate);
    EXPECT_TRUE(file.GotoNextSection());
    EXPECT_EQ(ReadFile(m_path), kTwoSections);
    EXPECT_EQ(ModeOf(m_path), 0644U);
}

TEST_F(MultiSectionFileTest, MarksAndKeywordAreTheCallers) {
    WriteFile(m_path, "; c\nsection {\ngroup <\na:1\n>\n");
    const auto open = [&] {
        return Configuration::MultiSectionFile(m_path.c_str(), false, false, true, "group", "<\n",
                                               ">\n", ":", ";", nullptr);
    };
    EXPECT_EQ(FailureOf([&] { open(); }), m_path + ":2: text outside a section");
    WriteFile(m_path, "; c\ngroup <\na:1\n# b=1:2\n>\n");
    Configuration::MultiSectionFile file = open();
    ASSERT_TRUE(file.GotoNextSection());
    file.SetSectionEntry("a", "2");
    file.SetSectionEntry("# b=1", "3");
    file.AddSection(true);
    file.AddSectionEntry("c", "4");
    file.Save(true, nullptr);
    EXPECT_EQ(ReadFile(m_path), "; c\ngroup <\nc:4\n>\ngroup <\na:2\n# b=1:3\n>\n");
}

using Use = void (*)(SectionFile& file);

const Use kUsesOfTheSection[] = {
    [](SectionFile& file) { (void)file.Value("a"); },
    [](SectionFile& file) { file.RestartSection(); },
    [](SectionFile& file) { file.SetSectionEntry("a", "2"); },
    [](SectionFile& file) { file.AddSectionEntry("a", "2"); },
    [](SectionFile& file) { file.DeleteSectionEntry("a"); },
    [](SectionFile& file) { file.DeleteSection(); },
};

TEST_F(MultiSectionFileTest, WithoutACurrentSectionItsUseIsALogicError) {
    WriteFile(m_path, kTwoSections);
    const Use noneIsCurrent[] = {
        [](SectionFile&) {},
        [](SectionFile& file) {
            file.GotoNextSection();
            file.Restart();
        },
        [](SectionFile& file) {
            while (file.GotoNextSection()) {
            }
        },
        [](SectionFile& file) {
            file.GotoNextSection();
            file.DeleteSection();
        },
        [](SectionFile& file) {
            file.AddSection(false);
            file.Restart();
        },
    };
    for (const Use& prepare : noneIsCurrent) {
        for (const Use& use : kUsesOfTheSection) {
            SCOPED_TRACE(std::to_string(&prepare - noneIsCurrent) + ", " +
                         std::to_string(&use - kUsesOfTheSection));
            SectionFile file(m_path);
            prepare(file);
            EXPECT_EQ(FailureOf([&] { use(file); }), m_path + ": no section is current");
            EXPECT_THROW(use(file), std::logic_error);
        }
    }
}

TEST_F(MultiSectionFileTest, AFileOpenedReadOnlyIsNeitherChangedNorSaved) {
    WriteFile(m_path, kTwoSections);
    SectionFile file(m_path, Access::kReadOnly);
    const Use changes[] = {
        [](SectionFile& f) { f.SetSectionEntry("a", "2"); },
        [](SectionFile& f) { f.SetSectionEntry("", "2"); },
        [](SectionFile& f) { f.AddSectionEntry("a", "2"); },
        [](SectionFile& f) { f.AddSectionEntry("", "2"); },
        [](SectionFile& f) { f.DeleteSectionEntry("a"); },
        [](SectionFile& f) { f.DeleteSectionEntry("absent"); },
        [](SectionFile& f) { f.DeleteSection(); },
        [](SectionFile& f) { f.AddSection(true); },
        [](SectionFile& f) { f.AddSection(false); },
    };
    for (const Use& change : changes) {
        file.Restart();
        EXPECT_EQ(FailureOf([&] { change(file); }), m_path + ": change of a file opened read-only");
        ASSERT_TRUE(file.GotoNextSection());
        EXPECT_EQ(FailureOf([&] { change(file); }), m_path + ": change of a file opened read-only");
        EXPECT_THROW(change(file), std::logic_error);
        EXPECT_EQ(file.Value("a"), "1") << "the section is not current any more";
    }
    const std::string written = "section {\na=3\n}\n";
    WriteFile(m_path, written);
    EXPECT_EQ(FailureOf([&] { file.Save(); }), m_path + ": save of a file opened read-only");
    EXPECT_THROW(file.Save(), std::logic_error);
    EXPECT_EQ(ReadFile(m_path), written) << "it was saved nevertheless";
}

TEST_F(MultiSectionFileTest, AnEntryThatTheFileCouldNotGiveBackIsRefusedBeforeAnythingChanges) {
    struct Case {
        const char *key, *value;
        std::string reason;
    };
    const Case cases[] = {
        {"", "v", "\"\": it is empty"},
        {"#a", "v", "\"#a\": it would be read as a comment"},
        {" a", "v", "\" a\": it has a blank at an end"},
        {"a\t", "v", "\"a\t\": it has a blank at an end"},
        {"a=", "v", "\"a=\": it holds a separator or a line feed"},
        {"a\n", "v", "\"a\n\": it holds a separator or a line feed"},
        {"a", "1\n", "\"a\": its value holds a line feed"},
        {"a", "1\n}\nsection {\na=2", "\"a\": its value holds a line feed"},
    };
    WriteFile(m_path, kTwoSections);
    SectionFile file(m_path);
    ASSERT_TRUE(file.GotoNextSection());
    for (const Case& c : cases) {
        const auto set = [&] { file.SetSectionEntry(c.key, c.value); };
        const auto add = [&] { file.AddSectionEntry(c.key, c.value); };
        EXPECT_EQ(FailureOf(set), m_path + ": key " + c.reason);
        EXPECT_EQ(FailureOf(add), m_path + ": key " + c.reason);
        EXPECT_THROW(set(), std::invalid_argument);
        EXPECT_THROW(add(), std::invalid_argument);
    }
    EXPECT_EQ(file.Value("a"), "1");
    file.Save();
    EXPECT_EQ(ReadFile(m_path), kTwoSections);
}

}  // namespace
