#include <array>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "support/config_file.h"
#include "tests/fixture/temp_folder.h"
#include "tests/fuzz/fuzz_input.h"

// A flat file of any bytes and a series of entries: the library and a plain reading of the file
// give the same values and the same text, which reads back as it was written.

namespace {

using Configuration::ConfigFile;

constexpr std::size_t kLongestRead = 1023;

ConfigFile Load(const std::string& path) {
    return {path.c_str(), false, false, false, "=", "#", nullptr};
}

std::string KeyOf(const std::string& line) {
    const std::string key = line.substr(0, line.find('='));
    const std::size_t begin = key.find_first_not_of(" \t");
    return begin == std::string::npos ? "" : key.substr(begin);
}

bool IsKey(const std::string& key) {
    const std::string blanks = " \t";
    return !key.empty() && key[0] != '#' && blanks.find(key.front()) == std::string::npos &&
           blanks.find(key.back()) == std::string::npos &&
           key.find_first_of("=\n") == std::string::npos;
}

bool HasKey(const std::string& line, const std::string& key) {
    return line.find('=') != std::string::npos && KeyOf(line) == key && IsKey(key);
}

std::optional<std::string> Get(const std::string& text, const std::string& key) {
    std::optional<std::string> value;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (HasKey(line, key)) {
            value = line.substr(line.find('=') + 1);
        }
    }
    return value;
}

std::string Set(const std::string& text, const std::string& key, const std::string& value) {
    std::string changed;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        changed += HasKey(line, key) ? line.substr(0, line.find('=') + 1) + value : line;
        changed += lines.eof() ? "" : "\n";
    }
    if (!Get(text, key)) {
        changed += changed.empty() || changed.back() == '\n' ? "" : "\n";
        changed += key + "=" + value + "\n";
    }
    return changed;
}

bool IsStorable(const std::string& key, const std::string& value) {
    return IsKey(key) && value.find('\n') == std::string::npos;
}

void CheckRead(const ConfigFile& file, const std::string& text, const std::string& key) {
    std::array<char, kLongestRead + 1> value{};
    const std::optional<std::string> expected = Get(text, key);
    const unsigned int filled = file.GetEntry(key.c_str(), value.data(), value.size());
    const std::string cut = expected.value_or("").substr(0, kLongestRead);
    Require(filled == (expected ? cut.size() + 1 : 0));
    Require(std::string(value.data(), cut.size() + 1) == cut + '\0');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    UseMemoryFolder();
    static const TempFolder folder;
    const std::string path = folder.File("rc.conf");
    FuzzInput input(data, size);
    std::string text = input.Text();
    WriteFile(path, text);
    ConfigFile file = Load(path);
    while (!input.IsUsedUp()) {
        const std::string key = input.CText();
        const std::string value = input.CText();
        CheckRead(file, text, key);
        bool isSet = false;
        try {
            isSet = file.SetEntry(key.c_str(), value.c_str());
        } catch (const std::invalid_argument&) {
        }
        Require(isSet == IsStorable(key, value));
        text = isSet ? Set(text, key, value) : text;
        CheckRead(file, text, key);
    }
    file.Save(true, nullptr);
    Require(ReadFile(path) == text);
    Load(path).Save(true, nullptr);
    Require(ReadFile(path) == text);
    return 0;
}
