#include "support/config_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/fixture/failing_calls.h"
#include "tests/fixture/failure_text.h"
#include "tests/fixture/temp_folder.h"

namespace {

enum class Access { kReadOnly, kChange, kChangeOrCreate };

class StartFile : public Configuration::ConfigFile {
  public:
    explicit StartFile(const std::string& path, Access access = Access::kChange)
        : ConfigFile(path.c_str(), access == Access::kChangeOrCreate, access == Access::kReadOnly,
                     false, "=", "#", nullptr) {}

    std::optional<std::string> Value(const std::string& key) const {
        std::array<char, 1024> buffer{'?'};
        if (GetEntry(key.c_str(), buffer.data(), buffer.size())) {
            return buffer.data();
        }
        return buffer[0] == '\0' ? std::nullopt : std::optional<std::string>("not the empty text");
    }

    void Save() { ConfigFile::Save(true, nullptr); }
};

class ConfigFileTest : public testing::Test {
  protected:
    const TempFolder m_folder;
    const std::string m_path = m_folder.File("rc.conf");
};

const std::string kShellCode =
    "#!/bin/sh\n"
    "# START=no comment=no\n"
    "\n"
    "if [ \"$1\" = x ]; then\n"
    "\texport PATH=/bin:$PATH\r\n"
    "fi\n"
    "}\n"
    "section {\n"
    "=\n"
    "broken\xff line" +
    std::string(1, '\0') + "with=a NUL\n";

TEST_F(ConfigFileTest, AReadTellsTheLengthOfTheTextAndItsNul) {
    WriteFile(m_path, std::string("A=true\0x\nB=\n", 12) + "C=" + std::string(2000, 'c') + "\n");
    const StartFile file(m_path, Access::kReadOnly);
    std::array<char, 1024> buffer{};
    EXPECT_EQ(file.GetEntry("A", buffer.data(), 1024), 7U);
    EXPECT_EQ(std::string(buffer.data(), 7), std::string("true\0x", 7));
    EXPECT_EQ(file.GetEntry("A", buffer.data(), 4), 4U);
    EXPECT_EQ(file.GetEntry("B", buffer.data(), 1024), 1U);
    EXPECT_EQ(file.GetEntry("C", buffer.data(), 1024), 1024U);
    EXPECT_EQ(file.GetEntry("D", buffer.data(), 1024), 0U);
}

TEST_F(ConfigFileTest, AFileThatWasReplacedMeanwhileIsNotSavedOver) {
    WriteFile(m_path, "A=1\n");
    StartFile file(m_path);
    file.SetEntry("A", "2");
    WriteFile(m_folder.File("other"), "A=3\n");
    ASSERT_EQ(rename(m_folder.File("other").c_str(), m_path.c_str()), 0);
    EXPECT_EQ(FailureOf([&] { file.Save(); }), m_path + ": save: was replaced meanwhile");
    EXPECT_EQ(ReadFile(m_path), "A=3\n");
}

TEST_F(ConfigFileTest, TheLastEntryWithTheKeyIsRead) {
    struct Case {
        std::string text, key;
        std::optional<std::string> value;
    };
    const Case cases[] = {
        {"", "A", std::nullopt},
        {"A=1\n", "A", "1"},
        {"A=1", "A", "1"},
        {"A=\n", "A", ""},
        {"A=1\nA=2\n", "A", "2"},
        {"A=1\nB=3\n \tA=2\n# A=4\n", "A", "2"},
        {"A= 1 \n", "A", " 1 "},
        {"A=1\r\n", "A", "1\r"},
        {"A=b=c\n", "A", "b=c"},
        {"A=\"1\" # x\n", "A", "\"1\" # x"},
        {"A =1\n", "A", std::nullopt},
        {"A\n", "A", std::nullopt},
        {"export A=1\n", "A", std::nullopt},
        {"#A=1\n", "A", std::nullopt},
        {"#A=1\n", "#A", std::nullopt},
        {"=1\n", "", std::nullopt},
        {"A =1\n", "A ", std::nullopt},
        {"AA=1\nBA=1\n", "A", std::nullopt},
        {"a=1\n", "A", std::nullopt},
        {"X=A=1\n", "A", std::nullopt},
        {"A=1\nA=2", "A=1", std::nullopt},
        {kShellCode + "A=1\n" + kShellCode, "A", "1"},
        {kShellCode, "A", std::nullopt},
    };
    for (const Case& c : cases) {
        WriteFile(m_path, c.text);
        EXPECT_EQ(StartFile(m_path, Access::kReadOnly).Value(c.key), c.value) << c.text;
        EXPECT_EQ(ReadFile(m_path), c.text);
    }
}

TEST_F(ConfigFileTest, AReadCopiesAsMuchAsTheBufferHolds) {
    const std::string value(1500, 'v');
    WriteFile(m_path, "LONG=" + value + "\n");
    const StartFile file(m_path, Access::kReadOnly);
    for (const unsigned int size : {1U, 2U, 1024U, 1501U}) {
        std::string buffer(1600, '.');
        EXPECT_EQ(file.GetEntry("LONG", buffer.data(), size), size);
        EXPECT_EQ(buffer, value.substr(0, size - 1) + '\0' + std::string(1600 - size, '.'));
    }
}

TEST_F(ConfigFileTest, SettingChangesEveryEntryWithTheKeyOrAddsOneAtTheEnd) {
    struct Case {
        std::string before, key, value, after;
    };
    const Case cases[] = {
        {"", "A", "1", "A=1\n"},
        {"\n", "A", "1", "\nA=1\n"},
        {"B=2\n", "A", "1", "B=2\nA=1\n"},
        {"# c", "A", "1", "# c\nA=1\n"},
        {"A=0\n", "A", "1", "A=1\n"},
        {"A=0", "A", "1", "A=1"},
        {"A=\n", "A", "", "A=\n"},
        {"A=0\r\nB=2\r\n", "A", "1", "A=1\nB=2\r\n"},
        {"\t A=0\nB=2\nA=long value\n#A=3\nA =4\n", "A", "1", "\t A=1\nB=2\nA=1\n#A=3\nA =4\n"},
        {"export A=0\n", "A", "1", "export A=0\nA=1\n"},
        {kShellCode + "START=no\n" + kShellCode, "START", "true",
         kShellCode + "START=true\n" + kShellCode},
        {kShellCode, "START", "true", kShellCode + "START=true\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE('"' + c.before + '"');
        WriteFile(m_path, c.before);
        StartFile file(m_path);
        EXPECT_TRUE(file.SetEntry(c.key.c_str(), c.value.c_str()));
        EXPECT_EQ(file.Value(c.key), c.value);
        EXPECT_EQ(ReadFile(m_path), c.before);
        file.Save();
        EXPECT_EQ(ReadFile(m_path), c.after);
    }
}

TEST_F(ConfigFileTest, NoLineIsRefusedAndAllAreWrittenBackByteForByte) {
    for (const std::string& text : {std::string(), kShellCode, std::string("a\n\n\n b"),
                                    std::string(5000, '\0'), std::string("\r\n=\n==\n#\n")}) {
        WriteFile(m_path, text);
        const ino_t inode = InodeOf(m_path);
        StartFile(m_path).Save();
        EXPECT_EQ(ReadFile(m_path), text);
        EXPECT_NE(InodeOf(m_path), inode);
    }
}

TEST_F(ConfigFileTest, EveryByteOfAValueComesBackButLineFeedAndNul) {
    std::string all;
    for (int code = 1; code < 256; ++code) {
        if (code != '\n') {
            all.push_back(static_cast<char>(code));
        }
    }
    const std::string large(1000000, 'x');
    WriteFile(m_path, "ALL=\n");
    {
        StartFile file(m_path);
        EXPECT_TRUE(file.SetEntry("ALL", all.c_str()));
        EXPECT_TRUE(file.SetEntry("LARGE", large.c_str()));
        file.Save();
    }
    EXPECT_EQ(StartFile(m_path, Access::kReadOnly).Value("ALL"), all);
    EXPECT_EQ(ReadFile(m_path), "ALL=" + all + "\nLARGE=" + large + "\n");
}

TEST_F(ConfigFileTest, RandomSettingsDoWhatTheyDoToAListOfLines) {
    std::mt19937 random(1);
    const std::vector<std::string> choices = {"A=1",  "A=",   " A=2", "AA=3", "B=4",
                                              "#A=5", "A =6", "",     "fi",   "B=A=7"};
    for (int round = 0; round < 300; ++round) {
        std::vector<std::string> lines;
        for (std::size_t count = random() % 8; count > 0; --count) {
            lines.push_back(choices[random() % choices.size()]);
        }
        const auto joined = [&] {
            std::string text;
            for (const std::string& line : lines) {
                text += line + "\n";
            }
            return text;
        };
        WriteFile(m_path, joined());
        StartFile file(m_path);
        for (const std::string key : {"A", "B", "A"}) {
            const std::string value(random() % 5, 'v');
            bool found = false;
            for (std::string& line : lines) {
                const std::string blanks = line.substr(0, line.find_first_not_of(' '));
                if (line.rfind(blanks + key + "=", 0) == 0) {
                    line = line.substr(0, line.find('=') + 1) + value;
                    found = true;
                }
            }
            if (!found) {
                lines.push_back(key + "=" + value);
            }
            EXPECT_TRUE(file.SetEntry(key.c_str(), value.c_str()));
            EXPECT_EQ(file.Value(key), value);
        }
        file.Save();
        ASSERT_EQ(ReadFile(m_path), joined());
    }
}

TEST_F(ConfigFileTest, AnEntryThatTheFileCouldNotGiveBackIsRefusedBeforeAnythingChanges) {
    struct Case {
        const char *key, *value;
        std::string reason;
    };
    const Case cases[] = {
        {"", "v", "\"\": it is empty"},
        {"#A", "v", "\"#A\": it would be read as a comment"},
        {" A", "v", "\" A\": it has a blank at an end"},
        {"A\t", "v", "\"A\t\": it has a blank at an end"},
        {"A=B", "v", "\"A=B\": it holds a separator or a line feed"},
        {"A\n", "v", "\"A\n\": it holds a separator or a line feed"},
        {"A", "1\nB=2", "\"A\": its value holds a line feed"},
    };
    WriteFile(m_path, "A=1\n");
    StartFile file(m_path);
    for (const Case& c : cases) {
        const auto set = [&] { file.SetEntry(c.key, c.value); };
        EXPECT_EQ(FailureOf(set), m_path + ": key " + c.reason);
        EXPECT_THROW(set(), std::invalid_argument);
    }
    file.Save();
    EXPECT_EQ(ReadFile(m_path), "A=1\n");
}

TEST_F(ConfigFileTest, AFileOpenedReadOnlyIsNeitherChangedNorSaved) {
    WriteFile(m_path, "A=1\n");
    StartFile file(m_path, Access::kReadOnly);
    const auto set = [&] { file.SetEntry("A", "2"); };
    EXPECT_EQ(FailureOf(set), m_path + ": change of a file opened read-only");
    EXPECT_THROW(set(), std::logic_error);
    EXPECT_EQ(FailureOf([&] { file.Save(); }), m_path + ": save of a file opened read-only");
    EXPECT_THROW(file.Save(), std::logic_error);
    EXPECT_EQ(file.Value("A"), "1");
    EXPECT_EQ(ReadFile(m_path), "A=1\n");
}

TEST_F(ConfigFileTest, AMissingFileIsMadeOnlyWhenAsked) {
    for (const Access access : {Access::kReadOnly, Access::kChange}) {
        EXPECT_EQ(FailureOf([&] { const StartFile file(m_path, access); }),
                  m_path + ": open: " + ErrorText(ENOENT));
    }
    EXPECT_TRUE(EntriesOf(m_folder.Path()).empty());
    StartFile file(m_path, Access::kChangeOrCreate);
    EXPECT_EQ(ReadFile(m_path), "");
    EXPECT_EQ(ModeOf(m_path), 0600U);
    file.SetEntry("A", "1");
    file.Save();
    EXPECT_EQ(ReadFile(m_path), "A=1\n");
}

TEST_F(ConfigFileTest, ASaveThatFailsLeavesTheOldFileAndTheChangesForAnotherTry) {
    WriteFile(m_path, "A=1\n");
    StartFile file(m_path);
    file.SetEntry("A", "2");
    {
        const FailingCall failing(Call::kFsync, EIO);
        EXPECT_EQ(FailureOf([&] { file.Save(); }), m_path + ": sync: " + ErrorText(EIO));
    }
    EXPECT_EQ(ReadFile(m_path), "A=1\n");
    file.Save();
    EXPECT_EQ(ReadFile(m_path), "A=2\n");
}

TEST_F(ConfigFileTest, SeparatorAndCommentMarkAreTheCallers) {
    WriteFile(m_path, "A=1\nA:2\n#A:3\n");
    Configuration::ConfigFile file(m_path.c_str(), false, false, true, ":", ";", nullptr);
    std::array<char, 8> buffer{};
    EXPECT_TRUE(file.GetEntry("A", buffer.data(), buffer.size()));
    EXPECT_STREQ(buffer.data(), "2");
    EXPECT_TRUE(file.SetEntry("#A", "4"));
    EXPECT_TRUE(file.SetEntry("B=C", "5"));
    EXPECT_THROW(file.SetEntry(";A", "6"), std::invalid_argument);
    file.Save(false, "not used");
    EXPECT_EQ(ReadFile(m_path), "A=1\nA:2\n#A:4\nB=C:5\n");
}

}  // namespace
