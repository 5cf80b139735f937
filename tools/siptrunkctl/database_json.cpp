#include "tools/siptrunkctl/database_json.h"

#include <algorithm>
#include <string_view>

#include "support/entry.h"
#include "tools/siptrunkctl/failure.h"
#include "tools/siptrunkctl/text.h"

namespace {

// Returns the key whose value in base64 stands under `key`; an empty text when that is no such name.
std::string StemOf(const std::string& key) {
    const std::string ending = kBase64Ending;
    const bool hasEnding = key.size() > ending.size() &&
                           key.compare(key.size() - ending.size(), ending.size(), ending) == 0;
    return hasEnding ? key.substr(0, key.size() - ending.size()) : "";
}

void RequireExportable(const std::string& path, const DatabaseSection& section,
                       const DatabaseEntry& entry) {
    const std::string stem = StemOf(entry.key);
    if (!IsUtf8(entry.key) || (!stem.empty() && section.Find(stem) != nullptr)) {
        throw Failure(ExitCode::kFailed, path + ":" + std::to_string(entry.line) + ": key " +
                                             Quoted(entry.key) +
                                             " cannot be carried by JSON; rename it there");
    }
}

Json ToJson(const DatabaseSection& section, const std::string& path, bool secrets) {
    Json object = Json::object();
    for (const DatabaseEntry& entry : section.entries) {
        RequireExportable(path, section, entry);
        if (object.contains(entry.key)) {
            continue;
        }
        if (IsSecret(entry.key) && !secrets) {
            object[entry.key] = nullptr;
        } else {
            PutText(object, entry.key, entry.value);
        }
    }
    return object;
}

// The parser's own text would quote the input, and so perhaps a password.
[[noreturn]] void ThrowNoJson(const std::string& name, std::string_view text, std::size_t byte) {
    const std::string_view before = text.substr(0, byte == 0 ? 0 : byte - 1);
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    throw Failure(ExitCode::kFailed, name + ":" + std::to_string(line) + ": this is not JSON");
}

/// Reads one section.
class SectionReader {
  public:
    SectionReader(const std::string& name, std::size_t number, const Json& object)
        : m_name(name), m_number(number), m_object(object) {}

    DatabaseSection Read() const {
        if (!m_object.is_object()) {
            RefuseSection(m_name, m_number, "it is not an object");
        }
        DatabaseSection section{m_number, {}};
        for (const auto& [key, value] : m_object.items()) {
            const std::string stem = StemOf(key);
            if (stem.empty() || !m_object.contains(stem)) {
                section.entries.push_back(ReadEntry(key, value));
            }
        }
        return section;
    }

  private:
    [[noreturn]] void Refuse(const std::string& key, const char* reason) const {
        RefuseSection(m_name, m_number, "key " + Quoted(key) + ": " + reason);
    }

    DatabaseEntry ReadEntry(const std::string& key, const Json& value) const {
        if (const char* fault = KeyFault(key, '=', '#')) {
            Refuse(key, fault);
        }
        if (key.find('\0') != std::string::npos) {
            Refuse(key, "it holds a NUL byte");
        }
        if (value.is_null() && IsSecret(key)) {
            return {key, "", m_number, true};
        }
        if (!value.is_string()) {
            Refuse(key, "its value is not a text");
        }
        std::string text = value.get<std::string>();
        const auto exact = m_object.find(key + kBase64Ending);
        if (exact != m_object.end() &&
            (!exact->is_string() || !TextFromBase64(exact->get<std::string>(), text))) {
            Refuse(key + kBase64Ending, "its value is not base64");
        }
        if (text.find_first_of(std::string_view("\n\0", 2)) != std::string::npos) {
            Refuse(key, "its value holds a line feed or a NUL byte");
        }
        return {key, std::move(text), m_number};
    }

    const std::string& m_name;
    std::size_t m_number;
    const Json& m_object;
};

}  // namespace

void RefuseSection(const std::string& name, std::size_t section, const std::string& reason) {
    throw Failure(ExitCode::kFailed, name + ": section " + std::to_string(section) + ": " + reason);
}

Json ToJson(const std::vector<DatabaseSection>& sections, const std::string& path, bool secrets) {
    Json list = Json::array();
    for (const DatabaseSection& section : sections) {
        list.push_back(ToJson(section, path, secrets));
    }
    return {{"sections", std::move(list)}};
}

std::vector<DatabaseSection> SectionsFromJson(const std::string& text, const std::string& name) {
    Json json;
    try {
        json = Json::parse(text);
    } catch (const Json::parse_error& failure) {
        ThrowNoJson(name, text, failure.byte);
    }
    if (!json.is_object() || !json.contains("sections") || !json["sections"].is_array()) {
        throw Failure(ExitCode::kFailed,
                      name + ": no list \"sections\" in it; \"siptrunkctl export\" shows the form");
    }
    std::vector<DatabaseSection> sections;
    for (const Json& object : json["sections"]) {
        sections.push_back(SectionReader(name, sections.size() + 1, object).Read());
    }
    return sections;
}
