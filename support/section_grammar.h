#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "support/section_ends.h"
#include "support/short_text.h"

namespace Configuration {

/// The grammar of a sectioned file: what each line is, and where which kind of line may stand.
/// An object never changes after it is made, so any thread may use it.
class SectionGrammar {
  public:
    enum class LineKind {
        kBlank,
        kComment,
        kOpener,
        kCloser,
        kEntry,
        kEntryWithoutKey,
        kReturn,
        kOther
    };

    /// keyword  the word that opens a section
    /// opener, closer, separator, commentMark
    ///          the marks, one character each; what follows it in the argument is not looked at
    SectionGrammar(const char* keyword, const char* opener, const char* closer,
                   const char* separator, const char* commentMark);

    /// Tells the kind of the line that begins at `position` in `text`; `end` receives where the
    /// next line begins.
    LineKind KindAt(std::string_view text, std::size_t position, std::size_t& end) const {
        // The lines between two sections as this library writes them are the most frequent ones,
        // and known without a closer look.
        const std::string_view rest(text.data() + position, text.size() - position);
        const std::string_view opener = OpenerLine();
        if (rest.size() >= opener.size() && IsSameText({rest.data(), opener.size()}, opener)) {
            end = position + opener.size();
            return LineKind::kOpener;
        }
        if (rest.size() > 1 && rest[0] == m_closer && rest[1] == '\n') {
            end = position + 2;
            return LineKind::kCloser;
        }
        // GCOVR_EXCL_BR_START: unwinding, in a copy that the linker dropped
        return KindOfLineAt(text, position, end);
        // GCOVR_EXCL_BR_STOP
    }

    /// Tells why a line of this kind may not stand inside or outside of a section, null when it
    /// may.
    static const char* FaultOf(LineKind kind, bool inSection);

    /// Checks a whole text.
    /// path  the file's name, for the failure's text
    /// ends  receives where the first sections end
    /// Returns whether all entries are plain (support/plain_entries.h), and no mark is part of a word
    /// (support/entry.h).
    /// Throws std::runtime_error with the text "path:line: reason" at the first line that breaks
    /// the grammar, or holds a NUL byte, as lost writes leave them on flash.
    bool Check(const std::string& path, std::string_view text, SectionEnds& ends) const;

    char Closer() const { return m_closer; }
    char Separator() const { return m_separator; }
    char CommentMark() const { return m_commentMark; }
    /// An empty section as it is written.
    std::string EmptySection() const;

  private:
    // The line that opens a section, as it is written; then the keyword alone.
    std::string_view OpenerLine() const { return {m_seam.data() + 3, m_seam.size() - 3}; }
    std::string_view Keyword() const { return OpenerLine().substr(0, OpenerLine().size() - 3); }
    LineKind KindOfLineAt(std::string_view text, std::size_t position, std::size_t& end) const;
    LineKind KindOf(std::string_view line) const;
    bool IsOpener(std::string_view trimmedLine) const;
    std::size_t LastOpener(std::string_view text) const;

    char m_opener;
    char m_closer;
    char m_separator;
    char m_commentMark;
    std::string m_seam;  // what is written between the entries of two sections
};

}  // namespace Configuration
