#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "support/word_step.h"

// The text of a sectioned file. kLineFeedsAfterText line feeds follow every text that is read here
// (support/whole_file.h), so that no search has to look where the text ends.
//
// Most lines are written by programs: "key=value" with letters in the key, and between the entries
// of two sections a seam, the lines "}" and "section {". These are recognized quickly; any other
// line is looked at more closely. A stretch is a section with the lines after it, up to the next
// section.

namespace support {

/// What a line is, by its look alone.
enum class LineKind {
    kNothing,  ///< blank or a comment
    kOpener,
    kCloser,
    kEntry,
    kEntryWithoutKey,
    kCarriageReturn,
    kOther
};

/// Returns why a line of this kind may not stand inside, or outside, a section; null when it may.
const char* FaultOf(LineKind kind, bool inSection);

/// The line of an entry, cut in two.
struct Entry {
    std::string_view key;
    std::string_view value;
};

inline std::string_view Between(const char* begin, const char* end) {
    return {begin, static_cast<std::size_t>(end - begin)};
}

/// Returns the line that begins at `begin`, without its line end.
inline std::string_view LineAt(const char* begin) { return Between(begin, LineEnd(begin)); }

/// The keyword and the marks, and what lines look like with them. An object never changes.
class SectionGrammar {
  public:
    static constexpr std::size_t kCloserLineSize = 2;  ///< the size of the seam's first line

    /// @param keyword the word that opens a section
    /// @param opener,closer,separator,commentMark the marks, one character each; what follows it in
    /// the argument is not looked at
    SectionGrammar(const char* keyword, const char* opener, const char* closer,
                   const char* separator, const char* commentMark);

    /// Tells the kind of a line, given without its line end. It holds no NUL byte.
    LineKind KindOf(std::string_view line) const;

    /// Returns where the key ends, at the separator, if `line` is an entry as programs write it.
    /// Null for any other line of a section. A line feed must stand before `line`.
    const char* WrittenKeyEnd(const char* line) const {
        const char* const end = m_keyLimit.First(line);
        return *end == m_separator && end[-1] != '\n' ? end : nullptr;  // not without a key
    }

    /// Cuts the next entry of a well-formed section.
    /// @param line where a line of the section begins
    /// @param end where the section's stretch ends
    /// @return where the line after the entry begins; null when there is no entry.
    const char* NextEntry(const char* line, const char* end, Entry& entry) const {
        const char* const keyEnd = m_keyLimit.First(line);
        if (*keyEnd != m_separator) {
            return NextOtherEntry(line, end, entry);
        }
        const char* const lineEnd = LineEnd(keyEnd + 1);
        entry = {Between(line, keyEnd), Between(keyEnd + 1, lineEnd)};
        return lineEnd + 1;
    }

    /// Tells whether the two lines from `line` on are a seam.
    bool IsSeam(const char* line, const char* textEnd) const {
        return textEnd - line >= static_cast<std::ptrdiff_t>(m_seam.size()) &&
               IsSame({line, m_seam.size()}, m_seam);
    }
    std::string_view Seam() const { return m_seam; }
    /// The seam's second line, which opens a section.
    std::string_view OpenerLine() const {
        std::string_view line = m_seam;
        line.remove_prefix(kCloserLineSize);
        return line;
    }
    char Closer() const { return m_closer; }
    char Separator() const { return m_separator; }
    char CommentMark() const { return m_commentMark; }

  private:
    const char* NextOtherEntry(const char* line, const char* end, Entry& entry) const;
    bool IsOpener(std::string_view trimmedLine) const;

    // Finds blanks, the separator and the comment mark; with "=" all up to it, also digits and "-".
    ByteLimit m_keyLimit;
    char m_opener;
    char m_closer;
    char m_separator;
    char m_commentMark;
    std::string m_seam;
};

/// A text, cut before each section. The first stretch holds the lines before all sections; every
/// other one holds a section and the lines after it, up to the next section.
using Stretches = std::vector<std::string_view>;

/// Cuts the last stretch at `opener`.
inline void Cut(Stretches& stretches, const char* opener) {
    const std::string_view last = stretches.back();
    stretches.back() = Between(last.data(), opener);
    const std::string_view next = Between(opener, last.data() + last.size());
    stretches.push_back(next);  // GCOVR_EXCL_BR_LINE: unwinding, in a copy that the linker dropped
}

/// The entries of one section. Each is cut when a search first comes to it, and kept in a table.
class SectionEntries {
  public:
    explicit SectionEntries(const SectionGrammar& grammar) : m_grammar(grammar) {}
    ~SectionEntries() = default;
    SectionEntries(const SectionEntries&) = delete;
    SectionEntries& operator=(const SectionEntries&) = delete;

    /// Takes the section of this stretch instead of the one before.
    void Take(std::string_view stretch) {
        m_tableEnd = m_table;
        m_end = stretch.data() + stretch.size();
        m_next = LineEnd(stretch.data()) + 1;  // the opener's line has no entry
    }
    /// Returns the first entry with the key, null when there is none. It is valid until the next
    /// search.
    const Entry* Find(std::string_view key);

  private:
    static constexpr std::size_t kRoom = 32;

    const SectionGrammar& m_grammar;
    const char* m_next = nullptr;  // the line after the entries of the table
    const char* m_end = nullptr;
    Entry* m_tableEnd = m_table;
    Entry m_table[kRoom + 1];  // the last place is for later entries, which each search cuts again
};

/// Checks a whole text and cuts it before its sections.
/// @param path the file's name, for the failure's text
///
/// Throws std::runtime_error with the text "path:line: reason" at the first line that breaks the
/// grammar, or holds a NUL byte, as lost writes leave them on flash.
Stretches FindSections(const std::string& path, std::string_view text,
                       const SectionGrammar& grammar);

}  // namespace support
