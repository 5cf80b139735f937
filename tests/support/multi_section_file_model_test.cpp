#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/multi_section_file.h"
#include "tests/fixture/reference_file.h"
#include "tests/fixture/temp_folder.h"
#include "tests/support/section_file.h"

// Random edits of a MultiSectionFile and, beside it, of a reference, a plain list of lines: the
// same text after each save, the same values after each edit.

namespace {

const char* const kKeys[] = {"a", "b", "trunk_name", "c d"};

class RandomEdits {
  public:
    RandomEdits(const std::string& path, unsigned int seed)
        : m_random(seed),
          m_path(path),
          m_model(ReferenceFile::Parse(WrittenText()).value()),
          m_file(path) {}

    void Run() {
        for (unsigned int edit = 0; edit < 40 && !testing::Test::HasFailure(); ++edit) {
            if (m_model.HasSection() && Below(3) != 0) {
                EditSection();
            } else {
                EditFile();
            }
            CompareValues();
        }
        Save();
    }

  private:
    unsigned int Below(unsigned int limit) { return static_cast<unsigned int>(m_random() % limit); }

    template <std::size_t kCount>
    std::string OneOf(const char* const (&choices)[kCount]) {
        return choices[Below(kCount)];
    }

    std::string Value() {
        return Below(3) == 0 ? std::string(Below(100), 'v')
                             : OneOf({"", "1", " padded ", "a=b", "}", "#", "{", "\r"});
    }

    // A well-formed file, of which every other one has nothing but what this library writes.
    std::string WrittenText() {
        const bool isPlain = Below(2) == 0;
        std::string text = isPlain ? "" : OneOf({"", "\n", "# c\n", "#\n\n# section {\n"});
        for (unsigned int section = Below(5); section > 0; --section) {
            text +=
                isPlain ? "section {\n" : OneOf({"section {\n", "section{\n", "\tsection { \n"});
            for (unsigned int entry = Below(6); entry > 0; --entry) {
                text += (isPlain ? std::string(kKeys[Below(3)])
                                 : OneOf({"a", "  a ", "\tb", "trunk_name", "#a", "c d", "x "})) +
                        "=" + Value() + "\n";
                text += isPlain ? "" : OneOf({"", "", "\n", "# a=1\n", "  #}\n"});
            }
            text += isPlain ? "}\n" : OneOf({"}\n", "\t} \n", "}\n\n", "}\n# c\n"});
        }
        if (!text.empty() && Below(4) == 0) {
            text.pop_back();
        }
        WriteFile(m_path, text);
        return text;
    }

    void EditFile() {
        switch (Below(8)) {
            case 0:
                Tell("Restart");
                m_model.Restart();
                m_file.Restart();
                break;
            case 1:
                AddSection(Below(2) == 0);
                break;
            case 2:
                Save();
                break;
            default:
                Tell("GotoNextSection");
                EXPECT_EQ(m_file.GotoNextSection(), m_model.GotoNextSection()) << m_edits;
        }
    }

    void AddSection(bool first) {
        Tell(first ? "AddSection(true)" : "AddSection(false)");
        m_model.AddSection(first);
        m_file.AddSection(first);
    }

    void EditSection() {
        const std::string key = OneOf(kKeys);
        const std::string value = Value();
        switch (Below(8)) {
            case 0:
                Tell("DeleteSection");
                m_model.DeleteSection();
                m_file.DeleteSection();
                break;
            case 1:
            case 2:
                Tell("DeleteSectionEntry " + key);
                m_model.Delete(key);
                m_file.DeleteSectionEntry(key.c_str());
                break;
            case 3:
                Tell("AddSectionEntry " + key + "=" + value);
                m_model.Add(key, value);
                m_file.AddSectionEntry(key.c_str(), value.c_str());
                break;
            case 4:
                Tell("RestartSection");
                m_file.RestartSection();
                break;
            default:
                Tell("SetSectionEntry " + key + "=" + value);
                m_model.Set(key, value);
                EXPECT_TRUE(m_file.SetSectionEntry(key.c_str(), value.c_str()));
        }
    }

    void CompareValues() {
        for (const char* key : kKeys) {
            if (m_model.HasSection()) {
                ASSERT_EQ(m_file.Value(key), m_model.Get(key)) << key << m_edits;
            } else {
                ASSERT_THROW((void)m_file.Value(key), std::logic_error) << key << m_edits;
            }
        }
    }

    void Save() {
        Tell("Save");
        m_file.Save();
        ASSERT_EQ(ReadFile(m_path), m_model.File().Text()) << m_edits;
    }

    void Tell(const std::string& edit) { m_edits += "\n" + edit; }

    std::mt19937 m_random;
    std::string m_path;
    ReferenceEditor m_model;
    SectionFile m_file;
    std::string m_edits;
};

TEST(MultiSectionFileModelTest, RandomEditsDoWhatTheyDoToAListOfLines) {
    const TempFolder folder;
    const std::string path = folder.File("siptrunkdb");
    for (unsigned int seed = 0; seed < 300 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        RandomEdits(path, seed).Run();
    }
}

}  // namespace
