#include "support/section_grammar.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "support/entry.h"
#include "support/line_scanner.h"
#include "support/plain_entries.h"

namespace Configuration {

namespace {

// Tells what is wrong with the line that begins at `position`.
[[noreturn]] void ThrowMalformed(const std::string& path, std::string_view text,
                                 std::size_t position, const char* reason) {
    const std::string_view before = text.substr(0, position);
    const auto number = 1 + std::count(before.begin(), before.end(), '\n');
    throw std::runtime_error(path + ":" + std::to_string(number) + ": " + reason);
}

}  // namespace

SectionGrammar::SectionGrammar(const char* keyword, const char* opener, const char* closer,
                               const char* separator, const char* commentMark)
    : m_opener(*opener), m_closer(*closer), m_separator(*separator), m_commentMark(*commentMark) {
    m_seam.append({'\n', m_closer, '\n'}).append(keyword).append({' ', m_opener, '\n'});
}

std::string SectionGrammar::EmptySection() const {
    return std::string(OpenerLine()).append({m_closer, '\n'});
}

bool SectionGrammar::IsOpener(std::string_view trimmedLine) const {
    const std::string_view keyword = Keyword();
    if (trimmedLine.size() <= keyword.size() || trimmedLine.back() != m_opener ||
        trimmedLine.substr(0, keyword.size()) != keyword) {
        return false;
    }
    trimmedLine.remove_prefix(keyword.size());
    trimmedLine.remove_suffix(1);
    return WithoutLeadingBlanks(trimmedLine).empty();
}

SectionGrammar::LineKind SectionGrammar::KindOf(std::string_view line) const {
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

SectionGrammar::LineKind SectionGrammar::KindOfLineAt(std::string_view text, std::size_t position,
                                                      std::size_t& end) const {
    LineScanner lines(text, position);
    (void)lines.Next();
    end = lines.End();
    return KindOf(lines.Line());
}

const char* SectionGrammar::FaultOf(LineKind kind, bool inSection) {
    switch (kind) {  // GCOVR_EXCL_BR_LINE: every kind has its case
        case LineKind::kBlank:
        case LineKind::kComment:
            return nullptr;
        case LineKind::kOpener:
            return inSection ? "section inside a section" : nullptr;
        case LineKind::kCloser:
            return inSection ? nullptr : "end of a section outside one";
        case LineKind::kEntry:
            return inSection ? nullptr : "entry outside a section";
        case LineKind::kEntryWithoutKey:
            return inSection ? "entry without a key" : "entry outside a section";
        case LineKind::kReturn:
            return "line ends in a carriage return";
        case LineKind::kOther:
            break;
    }
    return inSection ? "entry without \"=\"" : "text outside a section";
}

std::size_t SectionGrammar::LastOpener(std::string_view text) const {
    std::size_t opener = 0;
    std::size_t end = 0;
    for (std::size_t line = 0; line < text.size(); line = end) {
        if (KindAt(text, line, end) == LineKind::kOpener) {
            opener = line;
        }
    }
    return opener;
}

bool SectionGrammar::Check(const std::string& path, std::string_view text,
                           SectionEnds& ends) const {
    bool entriesArePlain = !IsWordByte(m_separator) && !IsWordByte(m_commentMark);
    bool inSection = false;
    bool holdsNul = false;  // then there is a fault to find, and no hurry
    std::size_t end = 0;
    for (std::size_t line = 0;; line = end) {
        if (inSection && !holdsNul) {
            const std::size_t unusual = SkipPlainLines(text, line, m_separator, m_seam, ends);
            holdsNul = unusual == std::string_view::npos;
            line = holdsNul ? line : unusual;
        }
        if (line == text.size()) {
            break;
        }
        const LineKind kind = KindAt(text, line, end);
        const char* fault = FaultOf(kind, inSection);
        if (kind == LineKind::kOpener) {
            inSection = true;
        } else if (kind == LineKind::kCloser) {
            inSection = false;
            ends.Add(end);
        } else if (text.substr(line, end - line).find('\0') != std::string_view::npos) {
            fault = "NUL byte";
        }
        if (fault != nullptr) {
            ThrowMalformed(path, text, line, fault);
        }
        entriesArePlain = entriesArePlain && kind != LineKind::kEntry;
    }
    if (inSection) {
        ThrowMalformed(path, text, LastOpener(text), "section is not closed");
    }
    return entriesArePlain;
}

}  // namespace Configuration
