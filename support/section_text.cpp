#include "support/section_text.h"

#include <algorithm>
#include <stdexcept>

#include "support/entry.h"
#include "support/written_blocks.h"

namespace support {

namespace {

// Hardly any trunk's section is shorter, so the list of stretches need not grow.
constexpr std::size_t kSmallSection = 196;

[[noreturn]] void ThrowMalformed(const std::string& path, std::string_view text, const char* line,
                                 const char* reason) {
    const auto number = 1 + std::count(text.data(), line, '\n');
    throw std::runtime_error(path + ":" + std::to_string(number) + ": " + reason);
}

// Passes over lines of a section, and of the sections after it, that programs wrote. Returns the
// first line that needs a closer look, which is in a section too, or a place after the text.
const char* SkipWrittenLines(const char* line, const SectionGrammar& grammar,
                             Stretches& stretches) {
#if defined(__SSE2__)
    line = SkipWrittenBlocks(line, grammar, stretches);
#endif
    const char* const textEnd = stretches.back().data() + stretches.back().size();
    for (;;) {
        const char* const keyEnd = grammar.WrittenKeyEnd(line);
        if (keyEnd != nullptr) {
            const char* const lineEnd = LineEnd(keyEnd + 1);
            if (*lineEnd == '\0') {  // FindSections names it
                return line;
            }
            line = lineEnd + 1;
        } else if (grammar.IsSeam(line, textEnd)) {
            Cut(stretches, line + SectionGrammar::kCloserLineSize);
            line += grammar.Seam().size();
        } else {
            return line;
        }
    }
}

}  // namespace

const char* FaultOf(LineKind kind, bool inSection) {
    static constexpr const char* kFaults[][2] = {
        // outside of a section, inside
        {nullptr, nullptr},                                                    // kNothing
        {nullptr, "section inside a section"},                                 // kOpener
        {"end of a section outside one", nullptr},                             // kCloser
        {"entry outside a section", nullptr},                                  // kEntry
        {"entry outside a section", "entry without a key"},                    // kEntryWithoutKey
        {"line ends in a carriage return", "line ends in a carriage return"},  // kCarriageReturn
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
    const std::string_view keyword = OpenerLine().substr(0, OpenerLine().size() - 3);  // " {\n"
    const std::string_view before = trimmedLine.substr(0, trimmedLine.size() - 1);
    return trimmedLine.back() == m_opener && IsSame(WithoutTrailingBlanks(before), keyword);
}

LineKind SectionGrammar::KindOf(std::string_view line) const {
    const std::string_view trimmed = WithoutTrailingBlanks(WithoutLeadingBlanks(line));
    if (trimmed.empty() || trimmed.front() == m_commentMark) {
        return LineKind::kNothing;
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
    return trimmed.back() == '\r' ? LineKind::kCarriageReturn : LineKind::kOther;
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

const Entry* SectionEntries::Find(std::string_view key) {
    for (const Entry* entry = m_table; entry != m_tableEnd; ++entry) {
        if (IsSame(entry->key, key)) {
            return entry;
        }
    }
    const char* line = m_next;
    while ((line = m_grammar.NextEntry(line, m_end, *m_tableEnd)) != nullptr) {
        const Entry* const entry = m_tableEnd;
        if (entry != &m_table[kRoom]) {
            ++m_tableEnd;
            m_next = line;
        }
        if (IsSame(entry->key, key)) {
            return entry;
        }
    }
    return nullptr;
}

Stretches FindSections(const std::string& path, std::string_view text,
                       const SectionGrammar& grammar) {
    const char* const textEnd = text.data() + text.size();
    Stretches stretches;
    stretches.reserve(text.size() / kSmallSection + 8);
    stretches.push_back(text);
    bool inSection = false;
    for (const char* line = text.data();;) {
        if (inSection) {
            line = SkipWrittenLines(line, grammar, stretches);
        }
        if (line >= textEnd) {
            break;
        }
        const char* const lineEnd = LineEnd(line);
        const LineKind kind = grammar.KindOf(Between(line, lineEnd));
        const char* const fault = *lineEnd == '\0' ? "NUL byte" : FaultOf(kind, inSection);
        if (fault != nullptr) {
            ThrowMalformed(path, text, line, fault);
        }
        if (kind == LineKind::kOpener) {
            Cut(stretches, line);
        }
        inSection = kind == LineKind::kOpener || (inSection && kind != LineKind::kCloser);
        line = lineEnd + 1;
    }
    if (inSection) {
        ThrowMalformed(path, text, stretches.back().data(), "section is not closed");
    }
    return stretches;
}

}  // namespace support
