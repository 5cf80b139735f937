#include "support/section_text.h"

#include <iterator>
#include <stdexcept>

#include "support/entry.h"
#include "support/written_text.h"

namespace support {

namespace {

[[noreturn]] void ThrowMalformed(const std::string& path, std::string_view text,
                                 std::size_t position, const char* reason) {
    const std::string_view before = text.substr(0, position);
    const auto number = 1 + std::count(before.begin(), before.end(), '\n');
    throw std::runtime_error(path + ":" + std::to_string(number) + ": " + reason);
}

}  // namespace

const char* FaultOf(LineKind kind, bool inSection) {
    static constexpr const char* kFaults[][2] = {
        // outside of a section, inside
        {nullptr, nullptr},                                                    // kBlank
        {nullptr, nullptr},                                                    // kComment
        {nullptr, "section inside a section"},                                 // kOpener
        {"end of a section outside one", nullptr},                             // kCloser
        {"entry outside a section", nullptr},                                  // kEntry
        {"entry outside a section", "entry without a key"},                    // kEntryWithoutKey
        {"line ends in a carriage return", "line ends in a carriage return"},  // kReturn
        {"text outside a section", "entry without \"=\""},                     // kOther
    };
    return kFaults[static_cast<std::size_t>(kind)][inSection ? 1 : 0];
}

SectionGrammar::SectionGrammar(const char* keyword, const char* opener, const char* closer,
                               const char* separator, const char* commentMark)
    : m_keyLimit(std::max({' ', *separator, *commentMark})),
      m_opener(*opener),
      m_closer(*closer),
      m_separator(*separator),
      m_commentMark(*commentMark) {
    m_seam.append({m_closer, '\n'}).append(keyword).append({' ', m_opener, '\n'});
}

bool SectionGrammar::IsOpener(std::string_view trimmedLine) const {
    const std::string_view keyword = OpenerLine().substr(0, OpenerLine().size() - 3);
    if (trimmedLine.size() <= keyword.size() || trimmedLine.back() != m_opener ||
        !IsSame(trimmedLine.substr(0, keyword.size()), keyword)) {
        return false;
    }
    trimmedLine.remove_prefix(keyword.size());
    trimmedLine.remove_suffix(1);
    return WithoutLeadingBlanks(trimmedLine).empty();
}

LineKind SectionGrammar::KindOf(std::string_view line) const {
    const std::string_view trimmed = WithoutTrailingBlanks(WithoutLeadingBlanks(line));
    if (trimmed.empty()) {
        return LineKind::kBlank;
    }
    if (trimmed.front() == m_commentMark) {
        return LineKind::kComment;
    }
    if (trimmed.size() == 1 && trimmed.front() == m_closer) {
        return LineKind::kCloser;
    }
    if (IsOpener(trimmed)) {
        return LineKind::kOpener;
    }
    if (trimmed.front() == m_separator) {
        return LineKind::kEntryWithoutKey;
    }
    if (trimmed.find(m_separator) != std::string_view::npos) {
        return LineKind::kEntry;
    }
    return trimmed.back() == '\r' ? LineKind::kReturn : LineKind::kOther;
}

const char* SectionGrammar::NextOtherEntry(const char* line, const char* end, Entry& entry) const {
    while (line < end) {
        const char* const lineEnd = LineEnd(line);
        const std::string_view text = WithoutLeadingBlanks(Between(line, lineEnd));
        const std::size_t separator = text.find(m_separator);
        if (separator != std::string_view::npos && text.front() != m_commentMark) {
            entry = {WithoutTrailingBlanks(text.substr(0, separator)), text.substr(separator + 1)};
            return lineEnd + 1;
        }
        line = lineEnd + 1;
    }
    return nullptr;
}

void MakeRoom(std::vector<Section>& sections, std::size_t end, std::size_t textSize) {
    // For as many as the text holds, should the others be as long as those so far. Enough are
    // looked at first to tell.
    constexpr std::size_t kFirst = 256;
    const std::size_t count = sections.size();
    const std::size_t expected = count == 0 ? 0 : textSize / std::max<std::size_t>(end / count, 1);
    sections.reserve(std::max({kFirst, expected, count + count / 2}));
}

const Entry* SectionEntries::Find(std::string_view key) {
    for (const Entry* entry = m_table; entry != m_table + m_count; ++entry) {
        if (IsSame(entry->key, key)) {
            return entry;
        }
    }
    const char* line = m_next;
    for (;;) {
        Entry* const entry = &m_table[m_count];
        line = m_grammar.NextEntry(line, m_end, *entry);
        if (line == nullptr) {
            return nullptr;
        }
        if (m_count < kRoom) {
            ++m_count;
            m_next = line;
        }
        if (IsSame(entry->key, key)) {
            return entry;
        }
    }
}

std::vector<Section> FindSections(const std::string& path, std::string_view text,
                                  const SectionGrammar& grammar) {
    std::vector<Section> sections;
    const auto isOpen = [&] { return !sections.empty() && sections.back().end == 0; };
    for (std::size_t line = 0;;) {
        if (isOpen()) {
            line = SkipWrittenLines(text, line, grammar, sections);
        }
        if (line >= text.size()) {
            break;
        }
        const char* const begin = text.data() + line;
        const char* const end = LineEnd(begin);
        const LineKind kind = grammar.KindOf(Between(begin, end));
        const char* const fault = *end == '\0' ? "NUL byte" : FaultOf(kind, isOpen());
        if (fault != nullptr) {
            ThrowMalformed(path, text, line, fault);
        }
        const std::size_t next = line + static_cast<std::size_t>(end - begin) + 1;
        if (kind == LineKind::kOpener) {
            OpenSection(sections, line, text.size());
        } else if (kind == LineKind::kCloser) {
            sections.back().end = std::min(next, text.size());
        }
        line = next;
    }
    if (isOpen()) {
        ThrowMalformed(path, text, sections.back().begin, "section is not closed");
    }
    return sections;
}

}  // namespace support
