#include "tests/faults/reference_file.h"

#include "tests/fixture/plain_parser.h"

namespace {

constexpr std::size_t kLongestRead = 1023;

}  // namespace

std::optional<ReferenceFile> ReferenceFile::Parse(const std::string& text) {
    std::vector<PlainSection> sections;
    if (!PlainParser().Parse(text, sections).empty()) {
        return std::nullopt;
    }
    ReferenceFile file;
    file.m_lines = LinesOf(text);
    return file;
}

std::string ReferenceFile::Text() const {
    std::string text;
    for (const std::string& line : m_lines) {
        text += line;
    }
    return text;
}

std::vector<ReferenceFile::Place> ReferenceFile::Sections() const {
    std::vector<Place> sections;
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
        const std::string line = WithoutLineEnd(m_lines[i]);
        if (IsOpener(line)) {
            sections.push_back({i, i});
        } else if (IsCloser(line)) {
            sections.back().closer = i;
        }
    }
    return sections;
}

std::optional<std::size_t> ReferenceFile::FindEntry(std::size_t section,
                                                    const std::string& key) const {
    const Place place = Sections().at(section);
    for (std::size_t i = place.opener; i < place.closer; ++i) {
        if (KeyOf(m_lines[i]) == key) {
            return i;
        }
    }
    return std::nullopt;
}

std::optional<std::string> ReferenceFile::Get(std::size_t section, const std::string& key) const {
    const std::optional<std::size_t> found = FindEntry(section, key);
    return found ? std::optional(ValueOf(WithoutLineEnd(m_lines[*found]))) : std::nullopt;
}

std::string ReferenceFile::Read(std::size_t section, const std::string& key) const {
    return Get(section, key).value_or("").substr(0, kLongestRead);
}

std::optional<std::size_t> ReferenceFile::Find(const std::string& key,
                                               const std::string& text) const {
    for (std::size_t section = 0; section < SectionCount(); ++section) {
        if (Read(section, key) == text) {
            return section;
        }
    }
    return std::nullopt;
}

void ReferenceFile::Set(std::size_t section, const std::string& key, const std::string& value) {
    const std::optional<std::size_t> found = FindEntry(section, key);
    if (!found) {
        Add(section, key, value);
        return;
    }
    std::string& line = m_lines[*found];
    line = line.substr(0, line.find('=') + 1) + value + "\n";
}

void ReferenceFile::Add(std::size_t section, const std::string& key, const std::string& value) {
    const auto closer = static_cast<std::ptrdiff_t>(Sections().at(section).closer);
    m_lines.insert(m_lines.begin() + closer, key + "=" + value + "\n");
}

void ReferenceFile::Delete(std::size_t section, const std::string& key) {
    while (const std::optional<std::size_t> found = FindEntry(section, key)) {
        m_lines.erase(m_lines.begin() + static_cast<std::ptrdiff_t>(*found));
    }
}

void ReferenceFile::DeleteSection(std::size_t section) {
    const Place place = Sections().at(section);
    m_lines.erase(m_lines.begin() + static_cast<std::ptrdiff_t>(place.opener),
                  m_lines.begin() + static_cast<std::ptrdiff_t>(place.closer) + 1);
}

void ReferenceFile::InsertSection(std::size_t line) {
    m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(line), {"section {\n", "}\n"});
}

void ReferenceFile::InsertFirstSection() {
    const std::vector<Place> sections = Sections();
    if (sections.empty()) {
        AppendSection();
    } else {
        InsertSection(sections.front().opener);
    }
}

void ReferenceFile::AppendSection() {
    if (!m_lines.empty() && m_lines.back().back() != '\n') {
        m_lines.back() += '\n';
    }
    InsertSection(m_lines.size());
}
