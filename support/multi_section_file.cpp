#include "support/multi_section_file.h"

#include <stdexcept>

#include "support/line_scanner.h"
#include "support/plain_entries.h"

namespace Configuration {

namespace {

// The offset of the closing line, the last one of a section.
std::size_t CloserOf(std::string_view section) {
    const std::size_t lineFeed = section.rfind('\n', section.size() - 2);
    return lineFeed + 1;
}

}  // namespace

MultiSectionFile::MultiSectionFile(const char* path, bool createIfMissing, bool readOnly, bool,
                                   const char* keyword, const char* opener, const char* closer,
                                   const char* separator, const char* commentMark, const char*)
    : m_path(path),
      m_readOnly(readOnly),
      m_grammar(keyword, opener, closer, separator, commentMark),
      m_text(ReadWholeFile(path, createIfMissing)),
      m_entriesArePlain(m_grammar.Check(m_path, m_text.View(), m_ends)) {}

MultiSectionFile::~MultiSectionFile() = default;

void MultiSectionFile::Restart() {
    LeaveSection();
    FoldChanges();
    m_next = 0;
    m_nextEnd = 0;
}

// Returns where the line of the next opener begins and, in `end`, where it ends; the end of the
// text for both when no section follows.
std::size_t MultiSectionFile::FindOpener(std::size_t position, std::size_t& end) const {
    for (end = position; position < m_text.size; position = end) {
        if (m_grammar.KindAt(m_text.View(), position, end) == SectionGrammar::LineKind::kOpener) {
            break;
        }
    }
    return position;
}

// Returns where the section that holds `position` ends: behind the line of its closer.
std::size_t MultiSectionFile::FindSectionEnd(std::size_t position) const {
    const std::string_view text = m_text.View();
    std::size_t end = position;
    do {
        const std::size_t closer = text.find(m_grammar.Closer(), end);
        if (closer == std::string_view::npos) {
            return text.size();
        }
        position = LineBegin(text, closer);
    } while (m_grammar.KindAt(m_text.View(), position, end) != SectionGrammar::LineKind::kCloser);
    return end;
}

bool MultiSectionFile::GotoNextSection() {
    LeaveSection();
    m_begin = FindOpener(m_next, m_end);
    m_hasSection = m_begin < m_end;
    m_end = m_nextEnd < m_ends.count ? m_next + m_ends.lengths[m_nextEnd++] : FindSectionEnd(m_end);
    m_next = m_end;
    return m_hasSection;
}

void MultiSectionFile::RestartSection() const { CheckCurrent(); }

std::string_view MultiSectionFile::SectionText() const {
    CheckCurrent();
    return m_sectionChanged ? std::string_view(m_section)
                            : m_text.View().substr(m_begin, m_end - m_begin);
}

std::string& MultiSectionFile::ChangeableSection() {
    if (!m_sectionChanged) {
        const std::string_view section = SectionText();
        m_section.reserve(2 * section.size());  // values and entries that are added find room
        m_section = section;
        m_sectionChanged = true;
    }
    return m_section;
}

// Finds the first entry with the key from the line that begins at `position` on.
bool MultiSectionFile::FindEntry(std::string_view key, std::size_t position,
                                 EntryPlace& place) const {
    for (LineScanner lines(SectionText(), position); lines.Next();) {
        const std::string_view line = WithoutLeadingBlanks(lines.Line());
        if (line.substr(0, key.size()) != key) {
            continue;
        }
        const std::string_view rest = WithoutLeadingBlanks(line.substr(key.size()));
        if (rest.empty() || rest.front() != m_grammar.Separator() ||
            KeyFault(key, m_grammar.Separator(), m_grammar.CommentMark()) != nullptr) {
            continue;
        }
        place.begin = lines.Begin();
        place.end = lines.End();
        place.valueEnd = place.begin + lines.Line().size();
        place.value = place.valueEnd - rest.size() + 1;
        return true;
    }
    return false;
}

// Returns the value of the first entry with the key; a view of nothing at all (null) without one.
std::string_view MultiSectionFile::FindValue(std::string_view key, bool isWord) const {
    CheckCurrent();
    if (isWord && m_entriesArePlain && !m_sectionChanged) {
        const char* text = m_text.bytes.get();
        return FindPlainEntry({text + m_begin, m_end - m_begin}, text + m_text.size, key,
                              m_grammar.Separator());
    }
    EntryPlace place{};
    return FindEntry(key, 0, place)
               ? SectionText().substr(place.value, place.valueEnd - place.value)
               : std::string_view();
}

unsigned int MultiSectionFile::ReadEntry(std::string_view key, bool isWord, char* buffer,
                                         unsigned int size) const {
    const std::string_view value = FindValue(key, isWord);
    const unsigned int length = CopyValue(value, buffer, size);
    return value.data() == nullptr ? 0 : length + 1;
}

bool MultiSectionFile::SetSectionEntry(const char* key, const char* value) {
    CheckChangeable();
    CheckStorable(m_path, key, value, m_grammar.Separator(), m_grammar.CommentMark());
    EntryPlace place{};
    if (FindEntry(key, 0, place)) {
        ChangeableSection().replace(place.value, place.valueEnd - place.value, value);
    } else {
        InsertEntry(key, value);
    }
    return true;
}

void MultiSectionFile::AddSection(bool first) {
    if (m_readOnly) {
        throw std::logic_error(m_path + ": change of a file opened read-only");
    }
    LeaveSection();
    FoldChanges();  // so that the text's last line is the one that stands there now
    m_next = first ? FindOpener(0, m_end) : m_text.size;
    m_nextEnd = m_ends.count;  // which are counted from the begin of the text on
    if (m_next == m_text.size && m_next > 0 && m_text.View().back() != '\n') {
        m_changes.push_back({m_next, m_next, "\n"});
    }
    m_section = m_grammar.EmptySection();
    m_begin = m_end = m_next;
    m_hasSection = m_sectionChanged = true;
}

void MultiSectionFile::AddSectionEntry(const char* key, const char* value) {
    CheckChangeable();
    CheckStorable(m_path, key, value, m_grammar.Separator(), m_grammar.CommentMark());
    InsertEntry(key, value);
}

void MultiSectionFile::InsertEntry(const char* key, const char* value) {
    std::string& section = ChangeableSection();
    const std::size_t place = CloserOf(section);
    section.insert(place, "\n").insert(place, value);
    section.insert(place, 1, m_grammar.Separator()).insert(place, key);
}

void MultiSectionFile::DeleteSection() {
    CheckChangeable();
    m_section.clear();
    m_sectionChanged = true;
    LeaveSection();
}

void MultiSectionFile::DeleteSectionEntry(const char* key) {
    CheckChangeable();
    const std::string_view section = SectionText();
    std::string kept;
    std::size_t position = 0;
    for (EntryPlace place{}; FindEntry(key, position, place); position = place.end) {
        kept.append(section.substr(position, place.begin - position));
    }
    kept.append(section.substr(position));
    m_section = std::move(kept);
    m_sectionChanged = true;
}

void MultiSectionFile::CheckCurrent() const {
    if (!m_hasSection) {
        throw std::logic_error(m_path + ": no section is current");
    }
}

void MultiSectionFile::CheckChangeable() const {
    if (m_readOnly) {
        throw std::logic_error(m_path + ": change of a file opened read-only");
    }
    CheckCurrent();
}

void MultiSectionFile::KeepSection() {
    m_changes.push_back({m_begin, m_end, std::move(m_section)});
    m_section.clear();
}

// Makes the changes part of m_text, so that the walk can go back over them.
void MultiSectionFile::FoldChanges() {
    if (m_changes.empty()) {
        return;
    }
    const TextPieces pieces = Pieces();
    std::size_t size = 0;
    for (const std::string_view piece : pieces) {
        size += piece.size();
    }
    FileText folded = MakeText(size);
    std::size_t filled = 0;
    for (const std::string_view piece : pieces) {
        piece.copy(folded.bytes.get() + filled, piece.size());
        filled += piece.size();
    }
    folded.identity = std::move(m_text.identity);
    m_text = std::move(folded);
    m_changes.clear();
    m_ends.count = 0;
}

// The file's text as it stands: the unchanged stretches and, between them, the changes.
TextPieces MultiSectionFile::Pieces() const {
    const std::string_view text = m_text.View();
    TextPieces pieces;
    pieces.reserve(2 * m_changes.size() + 3);
    std::size_t written = 0;
    for (const Change& change : m_changes) {
        pieces.push_back(text.substr(written, change.begin - written));
        pieces.push_back(change.text);
        written = change.end;
    }
    if (m_sectionChanged) {
        pieces.push_back(text.substr(written, m_begin - written));
        pieces.push_back(m_section);
        written = m_end;
    }
    pieces.push_back(text.substr(written));
    return pieces;
}

void MultiSectionFile::Save(bool, const char*) {
    if (m_readOnly) {
        throw std::logic_error(m_path + ": save of a file opened read-only");
    }
    ReplaceFile(m_path.c_str(), m_text.identity, Pieces());
}

}  // namespace Configuration
