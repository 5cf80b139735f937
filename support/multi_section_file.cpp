#include "support/multi_section_file.h"

#include <stdexcept>

namespace Configuration {

using support::Entry;
using support::Section;

MultiSectionFile::MultiSectionFile(const char* path, bool createIfMissing, bool readOnly, bool,
                                   const char* keyword, const char* opener, const char* closer,
                                   const char* separator, const char* commentMark, const char*)
    : m_path(path),
      m_readOnly(readOnly),
      m_grammar(keyword, opener, closer, separator, commentMark),
      m_text(support::ReadWholeFile(path, createIfMissing)),
      m_sections(FindSections(m_path, m_text.View(), m_grammar)) {}

MultiSectionFile::~MultiSectionFile() = default;

void MultiSectionFile::Restart() {
    m_hasCurrent = false;
    m_next = 0;
}

bool MultiSectionFile::GotoNextSection() {
    m_hasCurrent = false;
    while (!m_hasCurrent && m_next < m_sections.size()) {
        const std::string_view section = TextOf(m_sections[m_next++]);
        if (!section.empty()) {
            m_entries.Take(section);
            m_hasCurrent = true;
        }
    }
    return m_hasCurrent;
}

void MultiSectionFile::ThrowNoCurrent() const {
    throw std::logic_error(m_path + ": no section is current");
}

void MultiSectionFile::CheckWritable() const {
    if (m_readOnly) {
        throw std::logic_error(m_path + ": change of a file opened read-only");
    }
}

void MultiSectionFile::RestartSection() const { CheckCurrent(); }

unsigned int MultiSectionFile::GetSectionEntry(const char* key, char* buffer,
                                               unsigned int size) const {
    CheckCurrent();
    const Entry* const entry = m_entries.Find(key);
    if (entry == nullptr) {
        (void)support::CopyValue("", buffer, size);
        return 0;
    }
    return support::CopyValue(entry->value, buffer, size) + 1;
}

// Returns the current section's text, to be changed; kLineFeedsAfterText line feeds follow it in
// the string. After the change m_entries takes the section again.
std::string& MultiSectionFile::ChangeableText() {
    Section& section = m_sections[m_next - 1];
    if (!IsEdited(section)) {
        const std::string_view text = TextOf(section);
        std::string padded;
        padded.reserve(2 * text.size() +
                       support::kLineFeedsAfterText);  // values and entries to come find room
        padded.append(text).append(support::kLineFeedsAfterText, '\n');
        m_edits.push_back({section, std::move(padded)});
        section = {m_edits.size() - 1, 0};
        m_entries.Take(CurrentText());
    }
    return m_edits[section.begin].padded;
}

void MultiSectionFile::CheckEntry(const char* key, const char* value) const {
    CheckWritable();
    CheckCurrent();
    support::CheckStorable(m_path, key, value, m_grammar.Separator(), m_grammar.CommentMark());
}

bool MultiSectionFile::SetSectionEntry(const char* key, const char* value) {
    CheckEntry(key, value);
    const Entry* const found = m_entries.Find(key);
    if (found == nullptr) {
        AddSectionEntry(key, value);
        return true;
    }
    const std::size_t size = found->value.size();
    const auto place = static_cast<std::size_t>(found->value.data() - CurrentText().data());
    ChangeableText().replace(place, size, value);
    m_entries.Take(CurrentText());
    return true;
}

void MultiSectionFile::AddSectionEntry(const char* key, const char* value) {
    CheckEntry(key, value);
    std::string line(key);
    line.append(1, m_grammar.Separator()).append(value).append(1, '\n');
    const std::string_view section = CurrentText();
    const std::size_t closer = section.rfind('\n', section.size() - 2) + 1;
    ChangeableText().insert(closer, line);
    m_entries.Take(CurrentText());
}

void MultiSectionFile::DeleteSectionEntry(const char* key) {
    CheckWritable();
    CheckCurrent();
    const std::string_view section = CurrentText();
    const char* const end = section.data() + section.size();
    const char* rest = section.data();  // what `kept` does not hold yet
    std::string kept;
    Entry entry;
    const char* line = rest;
    while ((line = m_grammar.NextEntry(line, end, entry)) != nullptr) {
        if (entry.key == key) {
            const char* begin = entry.key.data();
            while (support::IsBlank(begin[-1])) {
                --begin;
            }
            kept.append(rest, begin);
            rest = line;
        }
    }
    kept.append(rest, end).append(support::kLineFeedsAfterText, '\n');
    ChangeableText() = std::move(kept);
    m_entries.Take(CurrentText());
}

void MultiSectionFile::DeleteSection() {
    CheckWritable();
    CheckCurrent();
    ChangeableText().assign(support::kLineFeedsAfterText, '\n');
    m_hasCurrent = false;
}

// Gives the last line a line feed, should it have none.
void MultiSectionFile::EndLastLine() {
    const bool endsWithSection =
        !m_sections.empty() && StretchOf(m_sections.back()).end == m_text.size;
    if (endsWithSection && IsEdited(m_sections.back())) {
        Edit& edit = m_edits[m_sections.back().begin];
        if (!edit.Text().empty() && edit.Text().back() != '\n') {
            edit.padded.push_back('\n');
        }
    } else if (m_text.size > 0 && m_text.View().back() != '\n') {
        ++m_text.size;  // takes in the first line feed of the padding
        if (endsWithSection) {
            m_sections.back().end = m_text.size;
        }
    }
}

void MultiSectionFile::AddSection(bool first) {
    CheckWritable();
    m_hasCurrent = false;
    auto next = first ? m_sections.begin() : m_sections.end();
    while (next != m_sections.end() && TextOf(*next).empty()) {
        ++next;  // was removed
    }
    if (next == m_sections.end()) {
        EndLastLine();
    }
    const std::size_t place = next == m_sections.end() ? m_text.size : StretchOf(*next).begin;
    std::string padded(m_grammar.OpenerLine());
    padded.append({m_grammar.Closer(), '\n'}).append(support::kLineFeedsAfterText, '\n');
    m_edits.push_back({{place, place}, std::move(padded)});
    const auto added = m_sections.insert(next, {m_edits.size() - 1, 0});
    m_next = static_cast<std::size_t>(added - m_sections.begin()) + 1;
    m_hasCurrent = true;
    m_entries.Take(CurrentText());
}

// The file's text as it stands: the unchanged stretches and, between them, the edits.
support::TextPieces MultiSectionFile::Pieces() const {
    const std::string_view text = m_text.View();
    support::TextPieces pieces;
    pieces.reserve(2 * m_edits.size() + 1);
    std::size_t written = 0;
    for (const Section& section : m_sections) {
        if (IsEdited(section)) {
            const Edit& edit = m_edits[section.begin];
            pieces.push_back(text.substr(written, edit.stretch.begin - written));
            pieces.push_back(edit.Text());
            written = edit.stretch.end;
        }
    }
    pieces.push_back(text.substr(written));
    return pieces;
}

void MultiSectionFile::Save(bool, const char*) {
    if (m_readOnly) {
        throw std::logic_error(m_path + ": save of a file opened read-only");
    }
    support::ReplaceFile(m_path.c_str(), m_text.identity, Pieces());
}

}  // namespace Configuration
