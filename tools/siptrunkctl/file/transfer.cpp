#include "tools/siptrunkctl/file/transfer.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "src/foundation/database_syntax.h"
#include "support/entry.h"
#include "tools/siptrunkctl/view/failure.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

// Returns the key whose value in base64 stands under `key`; an empty text when that is no such
// name.
std::string_view StemOf(std::string_view key) {
    const std::size_t place = key.rfind(kBase64Ending);
    const bool isEnding = place != std::string_view::npos && key.substr(place) == kBase64Ending;
    return key.substr(0, isEnding ? place : 0);
}

Json ToJson(const DatabaseSection& section, const std::string& path, bool secrets) {
    std::unordered_set<std::string_view> keys;
    for (const DatabaseEntry& entry : section.entries) {
        keys.insert(entry.key);
    }
    Json object = Json::object();
    std::unordered_set<std::string_view> done;
    for (const DatabaseEntry& entry : section.entries) {
        const std::string_view stem = StemOf(entry.key);
        if (!IsUtf8(entry.key) || (!stem.empty() && keys.count(stem) != 0)) {
            throw Failure(path + ":" + std::to_string(entry.line) + ": key " + Quoted(entry.key) +
                          " cannot be carried by JSON; rename it there");
        }
        if (done.insert(entry.key).second) {
            Put(object, entry.key, ValueOf(entry.key, &entry.value), secrets);
        }
    }
    return object;
}

// Makes the entries of one section from the texts of its object.
DatabaseSection ReadSection(const std::string& name, std::size_t number,
                            std::vector<DatabaseEntry>& members) {
    std::unordered_map<std::string_view, const DatabaseEntry*> byKey;
    const auto refuse = [&](const std::string& key, const std::string& reason) {
        RefuseSection(name, number, "key " + Quoted(key) + ": " + reason);
    };
    for (const DatabaseEntry& member : members) {
        if (!byKey.emplace(member.key, &member).second) {
            refuse(member.key, "it occurs twice");
        }
    }
    DatabaseSection section{number, {}};
    section.entries.reserve(members.size());
    for (DatabaseEntry& member : members) {
        const std::string_view stem = StemOf(member.key);
        if (!stem.empty() && byKey.count(stem) != 0) {
            continue;
        }
        if (const char* fault =
                support::KeyFault(member.key, *syntax::kSeparator, *syntax::kComment)) {
            refuse(member.key, fault);
        }
        if (member.key.find('\0') != std::string::npos) {
            refuse(member.key, "it holds a NUL byte");
        }
        std::string text = std::move(member.value);
        const auto exact = byKey.find(member.key + kBase64Ending);
        if (exact != byKey.end() && !TextFromBase64(exact->second->value, text)) {
            refuse(member.key + kBase64Ending, "its value is not base64");
        }
        if (text.find_first_of(std::string_view("\n\0", 2)) != std::string::npos) {
            refuse(member.key, "its value holds a line feed or a NUL byte");
        }
        section.entries.push_back({member.key, std::move(text), number, member.hidden});
    }
    return section;
}

/// Takes the parser's events. The depth is the number of open objects and lists: 1 inside of the
/// outer object, 2 inside of its list "sections", 3 inside of a section.
class SectionsReader : public nlohmann::json_sax<Json> {
  public:
    SectionsReader(const std::string& name, std::string_view text) : m_name(name), m_text(text) {}

    Sections Take() {
        if (!m_sections) {
            ThrowNoList();
        }
        return std::move(*m_sections);
    }

    bool null() override { return IsSecret(m_key) ? AddMember("", true) : RefuseOther(); }
    bool boolean(bool /*value*/) override { return RefuseOther(); }
    bool number_integer(number_integer_t /*value*/) override { return RefuseOther(); }
    bool number_unsigned(number_unsigned_t /*value*/) override { return RefuseOther(); }
    bool number_float(number_float_t /*value*/, const string_t& /*text*/) override {
        return RefuseOther();
    }
    bool binary(binary_t& /*value*/) override { return RefuseOther(); }
    bool string(string_t& value) override { return AddMember(std::move(value), false); }
    bool start_object(std::size_t /*size*/) override {
        if (m_depth != 0 && !(m_inList && m_depth == 2)) {
            RefuseOther();
        }
        ++m_depth;
        return true;
    }
    bool end_object() override {
        if (m_inList) {
            m_sections->push_back(ReadSection(m_name, m_sections->size() + 1, m_members));
            m_members.clear();
        }
        return Leave();
    }
    bool start_array(std::size_t /*size*/) override {
        if (m_depth == 1 && m_key == kSections) {
            m_inList = true;
            m_sections.emplace();
        } else {
            RefuseOther();
        }
        ++m_depth;
        return true;
    }
    bool end_array() override { return Leave(); }
    bool key(string_t& value) override {
        if (m_depth == 1 && value == kSections && m_sections) {
            throw Failure(m_name + ": the list \"sections\" occurs twice");
        }
        m_key = std::move(value);
        return true;
    }
    // The exception's own text would quote the input, and so perhaps a password.
    bool parse_error(std::size_t position, const std::string& /*token*/,
                     const nlohmann::detail::exception& failure) override {
        if (dynamic_cast<const Json::out_of_range*>(&failure) != nullptr) {
            RefuseOther();  // a number too large for any type
        }
        const std::string_view before = m_text.substr(0, position == 0 ? 0 : position - 1);
        const auto line = 1 + std::count(before.begin(), before.end(), '\n');
        throw Failure(m_name + ":" + std::to_string(line) + ": this is not JSON");
    }

  private:
    static constexpr const char* kSections = "sections";

    [[noreturn]] void ThrowNoList() const {
        throw Failure(m_name +
                      ": no list \"sections\" in it; \"siptrunkctl "
                      "export\" shows the form");
    }

    bool AddMember(std::string value, bool isHidden) {
        if (!m_inList || m_depth != 3) {
            return RefuseOther();
        }
        m_members.push_back({std::move(m_key), std::move(value), 0, isHidden});
        return true;
    }

    // Something that is no section, or no text of one. What stands beside the list is nobody's
    // matter.
    bool RefuseOther() const {
        if (m_depth == 0 || (m_depth == 1 && m_key == kSections)) {
            ThrowNoList();
        }
        if (m_inList) {
            RefuseSection(m_name, m_sections->size() + 1,
                          m_depth == 2 ? "it is not an object"
                                       : "key " + Quoted(m_key) + ": its value is not a text");
        }
        return true;
    }

    bool Leave() {
        --m_depth;
        m_inList = m_inList && m_depth > 1;
        return true;
    }

    const std::string& m_name;
    std::string_view m_text;
    std::size_t m_depth = 0;
    bool m_inList = false;
    std::string m_key;
    std::vector<DatabaseEntry> m_members;
    std::optional<Sections> m_sections;
};

}  // namespace

void RefuseSection(const std::string& name, std::size_t section, const std::string& reason) {
    throw Failure(name + ": section " + std::to_string(section) + ": " + reason);
}

Json ToJson(const Sections& sections, const std::string& path, bool secrets) {
    Json list = Json::array();
    for (const DatabaseSection& section : sections) {
        list.push_back(ToJson(section, path, secrets));
    }
    return {{"sections", std::move(list)}};
}

Sections SectionsFromJson(const std::string& text, const std::string& name) {
    SectionsReader reader(name, text);
    (void)Json::sax_parse(text, &reader);  // a false answer has thrown before
    return reader.Take();
}
