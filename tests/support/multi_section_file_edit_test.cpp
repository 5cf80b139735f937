#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "support/multi_section_file.h"
#include "tests/fixture/temp_folder.h"
#include "tests/support/section_file.h"

namespace {

using Edit = void (*)(SectionFile& file);

// A file's text, what is done to it before the save, and the text that the save leaves.
struct EditCase {
    const char* name;
    std::string before;
    Edit edit;
    std::string after;
};

void Check(const std::vector<EditCase>& cases) {
    const TempFolder folder;
    const std::string path = folder.File("siptrunkdb");
    for (const EditCase& c : cases) {
        SCOPED_TRACE(c.name);
        WriteFile(path, c.before);
        SectionFile file(path);
        c.edit(file);
        file.Save();
        EXPECT_EQ(ReadFile(path), c.after);
        EXPECT_NO_THROW(SectionFile(path, Access::kReadOnly));
    }
}

const std::string kTwoSections = "section {\na=1\n}\nsection {\na=2\n}\n";

TEST(MultiSectionFileEditTest, SettingAKeyThatIsThereReplacesTheFirstValue) {
    Check({
        {"a key that is there", " section{\n\ta \t= old\r\nb=1\na=2\n\t}\n",
         [](SectionFile& file) {
             file.GotoNextSection();
             EXPECT_TRUE(file.SetSectionEntry("a", "new "));
         },
         " section{\n\ta \t=new \nb=1\na=2\n\t}\n"},
        {"a shorter, a longer and the same value", "section {\na=111\nb=1\nc=1\n}\n",
         [](SectionFile& file) {
             file.GotoNextSection();
             file.SetSectionEntry("a", "");
             file.SetSectionEntry("b", "222");
             file.SetSectionEntry("c", "1");
         },
         "section {\na=\nb=222\nc=1\n}\n"},
    });
}

TEST(MultiSectionFileEditTest, SettingAnAbsentKeyAddsAnEntryAfterTheLast) {
    Check({
        {"an empty section", "section {\n}\n",
         [](SectionFile& file) {
             file.GotoNextSection();
             EXPECT_TRUE(file.SetSectionEntry("a", "1"));
         },
         "section {\na=1\n}\n"},
        {"an absent key", "section {\n# c\n\nb=1\n\n  # d\n  }\n",
         [](SectionFile& file) {
             file.GotoNextSection();
             EXPECT_TRUE(file.SetSectionEntry("a", ""));
         },
         "section {\n# c\n\nb=1\n\n  # d\na=\n  }\n"},
        {"a closing line without line end", "section {\n}",
         [](SectionFile& file) {
             file.GotoNextSection();
             EXPECT_TRUE(file.SetSectionEntry("a", "1"));
         },
         "section {\na=1\n}"},
        {"a key that only a comment has", "section {\n#a=1\n}\n",
         [](SectionFile& file) {
             file.GotoNextSection();
             file.SetSectionEntry("a", "2");
         },
         "section {\n#a=1\na=2\n}\n"},
    });
}

TEST(MultiSectionFileEditTest, SettingChangesTheCurrentSectionAlone) {
    Check({
        {"another section than the first", kTwoSections,
         [](SectionFile& file) {
             file.GotoNextSection();
             file.GotoNextSection();
             file.SetSectionEntry("a", "3");
             file.SetSectionEntry("b", "4");
         },
         "section {\na=1\n}\nsection {\na=3\nb=4\n}\n"},
        {"several sections in one walk", kTwoSections + kTwoSections,
         [](SectionFile& file) {
             for (int i = 0; file.GotoNextSection(); ++i) {
                 if (i != 1) {
                     file.SetSectionEntry("a", std::to_string(i).c_str());
                 }
             }
         },
         "section {\na=0\n}\nsection {\na=2\n}\nsection {\na=2\n}\nsection {\na=3\n}\n"},
    });
}

TEST(MultiSectionFileEditTest, AddingAnEntryPutsItAfterTheLastOneAlsoWhenTheKeyIsThere) {
    Check({
        {"a new key", "section {\na=1\n}\n",
         [](SectionFile& file) {
             file.GotoNextSection();
             file.AddSectionEntry("b", "2");
             file.AddSectionEntry("c", "3");
         },
         "section {\na=1\nb=2\nc=3\n}\n"},
        {"a key that is there", "section {\na=1\n}\n",
         [](SectionFile& file) {
             file.GotoNextSection();
             file.AddSectionEntry("a", "2");
             EXPECT_EQ(file.Value("a"), "1");
         },
         "section {\na=1\na=2\n}\n"},
    });
}

TEST(MultiSectionFileEditTest, DeletingAnEntryRemovesEveryOneWithTheKeyAndNothingElse) {
    const Edit deleteA = [](SectionFile& file) {
        file.GotoNextSection();
        file.DeleteSectionEntry("a");
        EXPECT_EQ(file.Value("a"), std::nullopt);
    };
    Check({
        {"the only one", "section {\na=1\n}\n", deleteA, "section {\n}\n"},
        {"several", "section {\na=1\na=2\n# a=\nb=3\n a =4\naa=5\n}\nsection {\na=6\n}\n", deleteA,
         "section {\n# a=\nb=3\naa=5\n}\nsection {\na=6\n}\n"},
        {"an absent key", "section {\nb=a=1\n}\n", deleteA, "section {\nb=a=1\n}\n"},
        {"keys that no entry can have", "section {\n#a=1\nb=1\n}\n",
         [](SectionFile& file) {
             file.GotoNextSection();
             for (const char* key : {"", "#a", "#", " b", "b ", "b=1", "}", "section {"}) {
                 file.DeleteSectionEntry(key);
             }
         },
         "section {\n#a=1\nb=1\n}\n"},
    });
}

TEST(MultiSectionFileEditTest, DeletingASectionTakesItsLinesAndNoOther) {
    const Edit deleteSecond = [](SectionFile& file) {
        file.GotoNextSection();
        file.GotoNextSection();
        file.DeleteSection();
    };
    Check({
        {"between others", "# 1\nsection {\n}\n# 2\n\n section{\n# in\na=1\n\n }\t\n\n# 3\n",
         deleteSecond, "# 1\nsection {\n}\n# 2\n\n\n# 3\n"},
        {"the last one", kTwoSections, deleteSecond, "section {\na=1\n}\n"},
        {"the last one without line end", "section {\n}\nsection {\na=1\n}", deleteSecond,
         "section {\n}\n"},
        {"one that was changed before", kTwoSections,
         [](SectionFile& file) {
             file.GotoNextSection();
             file.SetSectionEntry("a", "3");
             file.DeleteSection();
         },
         "section {\na=2\n}\n"},
        {"every one", "# 1\n" + kTwoSections + "# 2",
         [](SectionFile& file) {
             while (file.GotoNextSection()) {
                 file.DeleteSection();
             }
         },
         "# 1\n# 2"},
        {"one that was added", kTwoSections,
         [](SectionFile& file) {
             file.AddSection(true);
             file.AddSectionEntry("a", "1");
             file.DeleteSection();
             file.AddSection(false);
             file.DeleteSection();
         },
         kTwoSections},
    });
}

TEST(MultiSectionFileEditTest, AfterADeletionTheWalkGoesOnToTheSectionThatFollowed) {
    Check({
        {"a walk", kTwoSections + "section {\na=3\n}\n",
         [](SectionFile& file) {
             ASSERT_TRUE(file.GotoNextSection());
             ASSERT_TRUE(file.GotoNextSection());
             file.DeleteSection();
             EXPECT_THROW((void)file.Value("a"), std::logic_error);
             EXPECT_THROW(file.DeleteSection(), std::logic_error);
             ASSERT_TRUE(file.GotoNextSection());
             EXPECT_EQ(file.Value("a"), "3");
             file.DeleteSection();
             EXPECT_FALSE(file.GotoNextSection());
         },
         "section {\na=1\n}\n"},
    });
}

const Edit kAddFirst = [](SectionFile& file) {
    file.AddSection(true);
    file.AddSectionEntry("n", "1");
};
const Edit kAddLast = [](SectionFile& file) {
    file.AddSection(false);
    file.AddSectionEntry("n", "1");
};

TEST(MultiSectionFileEditTest, ASectionPutFirstGoesDirectlyBeforeTheFirstOpener) {
    const std::string added = "section {\nn=1\n}\n";
    Check({
        {"an empty file", "", kAddFirst, added},
        {"comments alone", "# c\n\n", kAddFirst, "# c\n\n" + added},
        {"comments alone without line end", "# c", kAddFirst, "# c\n" + added},
        {"sections", kTwoSections, kAddFirst, added + kTwoSections},
        {"a comment before an opener with blanks", "# c\n\n \tsection{\n}", kAddFirst,
         "# c\n\n" + added + " \tsection{\n}"},
        {"after the walk", kTwoSections,
         [](SectionFile& file) {
             while (file.GotoNextSection()) {
                 file.SetSectionEntry("a", "3");
             }
             kAddFirst(file);
         },
         added + "section {\na=3\n}\nsection {\na=3\n}\n"},
        {"twice", kTwoSections,
         [](SectionFile& file) {
             file.AddSection(true);
             file.AddSectionEntry("m", "1");
             kAddFirst(file);
         },
         added + "section {\nm=1\n}\n" + kTwoSections},
        {"after every section was deleted", "# 1\n" + kTwoSections + "# 2\n",
         [](SectionFile& file) {
             while (file.GotoNextSection()) {
                 file.DeleteSection();
             }
             kAddFirst(file);
         },
         "# 1\n# 2\n" + added},
    });
}

TEST(MultiSectionFileEditTest, ASectionPutLastGoesAfterTheLastLine) {
    const std::string added = "section {\nn=1\n}\n";
    Check({
        {"an empty file", "", kAddLast, added},
        {"comments alone without line end", "# c", kAddLast, "# c\n" + added},
        {"a blank last line", "\n", kAddLast, "\n" + added},
        {"sections and a last comment", kTwoSections + "# c\n", kAddLast,
         kTwoSections + "# c\n" + added},
        {"a closing line without line end", "section {\n}", kAddLast, "section {\n}\n" + added},
        {"in the midst of the walk", kTwoSections,
         [](SectionFile& file) {
             file.GotoNextSection();
             file.SetSectionEntry("a", "3");
             kAddLast(file);
         },
         "section {\na=3\n}\nsection {\na=2\n}\n" + added},
    });
}

TEST(MultiSectionFileEditTest, ASectionPutLastGoesAfterTheLinesAsTheyAreByThen) {
    const std::string added = "section {\nn=1\n}\n";
    Check({
        {"twice after a line without line end", "# c",
         [](SectionFile& file) {
             kAddLast(file);
             kAddLast(file);
         },
         "# c\n" + added + added},
        {"after the last section without line end was deleted", "section {\n}",
         [](SectionFile& file) {
             file.GotoNextSection();
             file.DeleteSection();
             kAddLast(file);
         },
         added},
        {"after a restart", kTwoSections,
         [](SectionFile& file) {
             file.AddSection(true);
             file.Restart();
             kAddLast(file);
         },
         "section {\n}\n" + kTwoSections + added},
        {"first and last", "# c\n",
         [](SectionFile& file) {
             kAddLast(file);
             kAddFirst(file);
             kAddLast(file);
         },
         "# c\n" + added + added + added},
    });
}

}  // namespace
