#include "support/multi_section_file.h"

#include <stdexcept>

#include "support/durable_file.h"
#include "support/entry.h"

namespace Configuration {

using support::Entry;
using support::kLineFeedsAfterText;

MultiSectionFile::MultiSectionFile(const char* path, bool createIfMissing, bool readOnly, bool,
                                   const char* keyword, const char* opener, const char* closer,
                                   const char* separator, const char* commentMark, const char*)
    : m_path(path),
      m_readOnly(readOnly),
      m_grammar(keyword, opener, closer, separator, commentMark),
      m_text(support::ReadWholeFile(path, createIfMissing)),
      m_stretches(FindSections(m_path, m_text.View(), m_grammar)) {}

MultiSectionFile::~MultiSectionFile() = default;

void MultiSectionFile::Restart() {
    m_hasCurrent = false;
    m_section = 0;
}

bool MultiSectionFile::GotoNextSection() {
    m_hasCurrent = m_section + 1 < m_stretches.size();
    if (m_hasCurrent) {
        ++m_section;
        m_changedIsCurrent = false;
        m_entries.Take(Stretch());
    }
    return m_hasCurrent;
}

void MultiSectionFile::ThrowNoCurrent() const {
    throw std::logic_error(m_path + ": no section is current");
}

void MultiSectionFile::CheckWritable(const char* act) const {
    if (m_readOnly) {
        throw std::logic_error(m_path + ": " + act + " of a file opened read-only");
    }
}

void MultiSectionFile::CheckChangeable() const {
    CheckWritable("change");
    CheckCurrent();
}

void MultiSectionFile::RestartSection() const { CheckCurrent(); }

unsigned int MultiSectionFile::ReadEntry(std::string_view key, char* buffer,
                                         unsigned int size) const {
    CheckCurrent();
    const Entry* const entry = m_entries.Find(key);
    if (entry == nullptr) {
        (void)support::CopyValue("", buffer, size);
        return 0;
    }
    return support::CopyValue(entry->value, buffer, size) + 1;
}

// Takes the text of a stretch that is changed.
void MultiSectionFile::HoldChanged(std::string text) {
    text.append(kLineFeedsAfterText, '\n');
    if (!m_changed.empty()) {
        // Too long for a small string, so its bytes stay where they are when it is moved.
        m_olderChanged.push_back(std::move(m_changed));
    }
    m_changed = std::move(text);
}

// Replaces `size` bytes at `place` in the stretch of m_section.
void MultiSectionFile::Replace(std::size_t place, std::size_t size, std::string_view text) {
    std::string_view& stretch = m_stretches[m_section];
    if (!m_changedIsCurrent) {
        std::string copy;
        copy.reserve(2 * stretch.size() + kLineFeedsAfterText);  // values and entries to come fit
        HoldChanged(std::move(copy.append(stretch)));
        m_changedIsCurrent = true;
    }
    m_changed.replace(place, size, text);
    stretch = Changed();
    m_entries.Take(stretch);
}

void MultiSectionFile::CheckEntry(const char* key, const char* value) const {
    CheckChangeable();
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
    const auto place = static_cast<std::size_t>(found->value.data() - Stretch().data());
    Replace(place, size, value);
    return true;
}

// Returns where the current section's last line begins in its stretch, mostly the stretch's last.
std::size_t MultiSectionFile::CloserLine() const {
    const std::string_view stretch = Stretch();
    std::size_t line = stretch.size();
    do {
        line = stretch.rfind('\n', line - 2) + 1;  // line - 1 ends the line that is looked for
    } while (m_grammar.KindOf(support::LineAt(&stretch[line])) != support::LineKind::kCloser);
    return line;
}

void MultiSectionFile::AddSectionEntry(const char* key, const char* value) {
    CheckEntry(key, value);
    std::string line(key);
    line.append(1, m_grammar.Separator()).append(value).append(1, '\n');
    Replace(CloserLine(), 0, line);
}

void MultiSectionFile::DeleteSectionEntry(const char* key) {
    CheckChangeable();
    const std::string_view stretch = Stretch();
    const char* const end = stretch.data() + stretch.size();
    const char* rest = stretch.data();  // what `kept` does not hold yet
    std::string kept;
    Entry entry;
    for (const char* line = rest; (line = m_grammar.NextEntry(line, end, entry)) != nullptr;) {
        if (entry.key == key) {
            const char* begin = entry.key.data();
            while (support::IsBlank(begin[-1])) {
                --begin;
            }
            kept.append(rest, begin);
            rest = line;
        }
    }
    kept.append(rest, end);
    Replace(0, stretch.size(), kept);
}

void MultiSectionFile::DeleteSection() {
    CheckChangeable();
    const std::string_view stretch = Stretch();
    const std::size_t closerEnd = stretch.find('\n', CloserLine());
    m_hasCurrent = false;
    m_changedIsCurrent = false;
    --m_section;
    if (closerEnd < stretch.size() - 1) {  // the lines after the section go to the stretch before
        Replace(Stretch().size(), 0, stretch.substr(closerEnd + 1));
    }
    m_stretches.erase(m_stretches.begin() + static_cast<std::ptrdiff_t>(m_section) + 1);
}

void MultiSectionFile::AddSection(bool first) {
    CheckWritable("change");
    m_hasCurrent = false;
    m_changedIsCurrent = false;
    HoldChanged(std::string(m_grammar.OpenerLine()).append({m_grammar.Closer(), '\n'}));
    m_section = first ? 1 : m_stretches.size();
    m_stretches.insert(m_stretches.begin() + static_cast<std::ptrdiff_t>(m_section), Changed());
    std::string_view& before = m_stretches[m_section - 1];
    if (!before.empty() && before.back() != '\n') {
        before = {before.data(), before.size() + 1};  // with one of the line feeds after it
    }
    m_hasCurrent = true;
    m_changedIsCurrent = true;
    m_entries.Take(Stretch());
}

void MultiSectionFile::Save(bool, const char*) {
    CheckWritable("save");
    support::ReplaceFile(m_path.c_str(), m_text.identity, m_stretches);
}

}  // namespace Configuration
