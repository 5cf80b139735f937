#include "tests/faults/reference_file.h"

namespace {

constexpr std::size_t kLongestRead = 1023;

std::string Trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    return begin == std::string::npos
               ? ""
               : text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

std::string WithoutLineEnd(const std::string& line) {
    return !line.empty() && line.back() == '\n' ? line.substr(0, line.size() - 1) : line;
}

bool IsOpener(const std::string& trimmed) {
    return trimmed.compare(0, 7, "section") == 0 && Trimmed(trimmed.substr(7)) == "{";
}

}  // namespace

std::optional<ReferenceFile::Line> ReferenceFile::ParseLine(const std::string& text) {
    const std::string line = WithoutLineEnd(text);
    const std::string trimmed = Trimmed(line);
    if (text.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    if (trimmed.empty()) {
        return Line{text, Kind::kBlank};
    }
    if (trimmed[0] == '#') {
        return Line{text, Kind::kComment};
    }
    if (trimmed == "}") {
        return Line{text, Kind::kCloser};
    }
    if (IsOpener(trimmed)) {
        return Line{text, Kind::kOpener};
    }
    const std::size_t separator = line.find('=');
    if (separator == std::string::npos || Trimmed(line.substr(0, separator)).empty()) {
        return std::nullopt;
    }
    return Line{text, Kind::kEntry, Trimmed(line.substr(0, separator))};
}

std::optional<ReferenceFile> ReferenceFile::Parse(const std::string& text) {
    ReferenceFile file;
    bool isInSection = false;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t lineFeed = text.find('\n', begin);
        const std::size_t end = lineFeed == std::string::npos ? text.size() : lineFeed + 1;
        const std::optional<Line> line = ParseLine(text.substr(begin, end - begin));
        begin = end;
        const bool needsSection =
            line && (line->kind == Kind::kEntry || line->kind == Kind::kCloser);
        const bool needsNone = line && line->kind == Kind::kOpener;
        if (!line || (needsSection && !isInSection) || (needsNone && isInSection)) {
            return std::nullopt;
        }
        isInSection = needsNone || (isInSection && line->kind != Kind::kCloser);
        file.m_lines.push_back(*line);
    }
    return isInSection ? std::nullopt : std::optional<ReferenceFile>(file);
}

std::string ReferenceFile::Text() const {
    std::string text;
    for (const Line& line : m_lines) {
        text += line.text;
    }
    return text;
}

std::vector<ReferenceFile::Place> ReferenceFile::Sections() const {
    std::vector<Place> sections;
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
        if (m_lines[i].kind == Kind::kOpener) {
            sections.push_back({i, i});
        } else if (m_lines[i].kind == Kind::kCloser) {
            sections.back().closer = i;
        }
    }
    return sections;
}

std::optional<std::size_t> ReferenceFile::FindEntry(std::size_t section,
                                                    const std::string& key) const {
    const Place place = Sections().at(section);
    for (std::size_t i = place.opener; i < place.closer; ++i) {
        if (m_lines[i].kind == Kind::kEntry && m_lines[i].key == key) {
            return i;
        }
    }
    return std::nullopt;
}

std::optional<std::string> ReferenceFile::Get(std::size_t section, const std::string& key) const {
    const std::optional<std::size_t> found = FindEntry(section, key);
    if (!found) {
        return std::nullopt;
    }
    const std::string line = WithoutLineEnd(m_lines[*found].text);
    return line.substr(line.find('=') + 1);
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

ReferenceFile::Line ReferenceFile::Entry(const std::string& key, const std::string& value) {
    return {key + "=" + value + "\n", Kind::kEntry, key};
}

void ReferenceFile::Set(std::size_t section, const std::string& key, const std::string& value) {
    const std::optional<std::size_t> found = FindEntry(section, key);
    if (!found) {
        Add(section, key, value);
        return;
    }
    std::string& line = m_lines[*found].text;
    line = line.substr(0, line.find('=') + 1) + value + "\n";
}

void ReferenceFile::Add(std::size_t section, const std::string& key, const std::string& value) {
    const auto closer = static_cast<std::ptrdiff_t>(Sections().at(section).closer);
    m_lines.insert(m_lines.begin() + closer, Entry(key, value));
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
    m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(line),
                   {{"section {\n", Kind::kOpener}, {"}\n", Kind::kCloser}});
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
    if (!m_lines.empty() && m_lines.back().text.back() != '\n') {
        m_lines.back().text += '\n';
    }
    InsertSection(m_lines.size());
}
