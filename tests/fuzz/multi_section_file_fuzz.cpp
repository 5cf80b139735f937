#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/multi_section_file.h"
#include "tests/fixture/plain_parser.h"
#include "tests/fixture/reference_file.h"
#include "tests/fixture/temp_folder.h"
#include "tests/fuzz/fuzz_input.h"

// A sectioned file and a series of changes, done by the library and by the reference: both refuse
// the file, or both give the same answers and the same text, which reads back as it was written.

namespace {

using Configuration::MultiSectionFile;

constexpr std::size_t kLongestRead = 1023;

struct Editor {
    MultiSectionFile file;
    ReferenceEditor expected;
};

bool IsStorable(const std::string& key, const std::string& value) {
    const auto isBlank = [](char byte) { return byte == ' ' || byte == '\t'; };
    return !key.empty() && key[0] != '#' && !isBlank(key.front()) && !isBlank(key.back()) &&
           key.find_first_of("=\n") == std::string::npos && value.find('\n') == std::string::npos;
}

// Makes a change that is refused without a current section, and when it could not be read back.
template <typename Change>
bool IsMade(const Change& change) {
    try {
        change();
        return true;
    } catch (const std::logic_error&) {
        return false;
    }
}

void Read(Editor& editor, const std::string& key) {
    std::array<char, kLongestRead + 1> value{};
    bool isFound = false;
    const bool isMade = IsMade(
        [&] { isFound = editor.file.GetSectionEntry(key.c_str(), value.data(), value.size()); });
    Require(isMade == editor.expected.HasSection());
    if (isMade) {
        Require(isFound == editor.expected.Get(key).has_value());
        Require(value.data() == std::string(editor.expected.Read(key).c_str()));
    }
}

void Set(Editor& editor, const std::string& key, const std::string& value) {
    const bool isMade = IsMade([&] { editor.file.SetSectionEntry(key.c_str(), value.c_str()); });
    Require(isMade == (editor.expected.HasSection() && IsStorable(key, value)));
    if (isMade) {
        editor.expected.Set(key, value);
    }
}

void Add(Editor& editor, const std::string& key, const std::string& value) {
    const bool isMade = IsMade([&] { editor.file.AddSectionEntry(key.c_str(), value.c_str()); });
    Require(isMade == (editor.expected.HasSection() && IsStorable(key, value)));
    if (isMade) {
        editor.expected.Add(key, value);
    }
}

void Delete(Editor& editor, const std::string& key) {
    const bool isMade = IsMade([&] { editor.file.DeleteSectionEntry(key.c_str()); });
    Require(isMade == editor.expected.HasSection());
    if (isMade) {
        editor.expected.Delete(key);
    }
}

void DeleteSection(Editor& editor) {
    const bool isMade = IsMade([&] { editor.file.DeleteSection(); });
    Require(isMade == editor.expected.HasSection());
    if (isMade) {
        editor.expected.DeleteSection();
    }
}

void Edit(Editor& editor, FuzzInput& input) {
    switch (input.Byte() % 8) {
        case 0:
            editor.file.Restart();
            editor.expected.Restart();
            break;
        case 1:
            Require(editor.file.GotoNextSection() == editor.expected.GotoNextSection());
            break;
        case 2:
            Read(editor, input.CText());
            break;
        case 3: {
            const std::string key = input.CText();
            Set(editor, key, input.CText());
            break;
        }
        case 4: {
            const std::string key = input.CText();
            Add(editor, key, input.CText());
            break;
        }
        case 5:
            Delete(editor, input.CText());
            break;
        case 6:
            DeleteSection(editor);
            break;
        default: {
            const bool isFirst = input.Byte() % 2 == 0;
            editor.file.AddSection(isFirst);
            editor.expected.AddSection(isFirst);
        }
    }
}

Editor Load(const std::string& path, const ReferenceFile& expected) {
    return {{path.c_str(), false, false, false, "section", "{\n", "}\n", "=", "#", nullptr},
            ReferenceEditor(expected)};
}

void RefuseToo(const std::string& path, const std::string& fault) {
    try {
        const Editor editor = Load(path, {});
        Require(false);
    } catch (const std::runtime_error& malformed) {
        Require(malformed.what() == path + ":" + fault);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    UseMemoryFolder();
    static const TempFolder folder;
    const std::string path = folder.File("db");
    FuzzInput input(data, size);
    const std::string text = input.Text();
    WriteFile(path, text);
    const std::optional<ReferenceFile> parsed = ReferenceFile::Parse(text);
    std::vector<PlainSection> sections;
    const std::string fault = PlainParser().Parse(text, sections);
    Require(parsed.has_value() == fault.empty());
    if (!parsed) {
        RefuseToo(path, fault);
        return 0;
    }
    Editor editor = Load(path, *parsed);
    while (!input.IsUsedUp()) {
        Edit(editor, input);
    }
    editor.file.Save(true, nullptr);
    Require(ReadFile(path) == editor.expected.File().Text());
    Load(path, editor.expected.File()).file.Save(true, nullptr);
    Require(ReadFile(path) == editor.expected.File().Text());
    return 0;
}
