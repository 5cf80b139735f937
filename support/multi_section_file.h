#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "support/durable_file.h"
#include "support/entry.h"
#include "support/section_grammar.h"
#include "support/whole_file.h"

namespace Configuration {

/// A text file of sections without names, each a list of "key=value" lines:
///
///     # comment
///     section {
///     key=value
///     }
///
/// The file is loaded whole; changes are made to the copy in memory and reach the disk with Save.
/// What is not changed is written back byte for byte. A file that breaks the grammar is refused.
///
/// One section is current at a time. Using the current section when there is none, or changing a
/// file that was opened read-only, throws std::logic_error. An object is used by one thread at a
/// time, and guards nothing against other processes.
class MultiSectionFile {
  public:
    /// Loads a file and stands before its first section.
    /// path             the file; links are followed, only a regular file is taken
    /// createIfMissing  true makes a missing file, empty, with mode 0600
    /// readOnly         true refuses changes
    /// keyword          the word that opens a section
    /// opener, closer, separator, commentMark
    ///                  the marks of the grammar, one character each, ASCII, no blank, and not in
    ///                  the keyword; a line end behind it is part of the notation and not looked at
    /// The two other arguments are not used.
    /// Throws std::system_error with the text "path: step: reason" when the file cannot be read,
    /// and std::runtime_error with the text "path:line: reason" when it breaks the grammar.
    MultiSectionFile(const char* path, bool createIfMissing, bool readOnly, bool,
                     const char* keyword, const char* opener, const char* closer,
                     const char* separator, const char* commentMark, const char*);
    /// Forgets what was not saved.
    ~MultiSectionFile();
    MultiSectionFile(const MultiSectionFile&) = delete;
    MultiSectionFile& operator=(const MultiSectionFile&) = delete;

    /// Stands before the first section.
    void Restart();
    /// Makes the next section in file order the current one; false, with none current, at the end.
    bool GotoNextSection();
    /// Sets the search for an entry back to the first entry of the current section. Every search
    /// begins there anyway, since reading gives the first of several entries with one key.
    void RestartSection() const;

    /// Reads an entry of the current section.
    /// key     the key; of several entries with it the first is read
    /// buffer  receives at most `size` - 1 bytes of the value and a NUL; the empty text when
    ///         the key is absent
    /// size    the buffer's size in bytes
    /// Returns 0 when the key is absent, otherwise the length of the text in the buffer and its NUL.
    unsigned int GetSectionEntry(const char* key, char* buffer, unsigned int size) const {
        // Inline, so that the compiler knows a literal key.
        return ReadEntry(key, IsWord(key), buffer, size);  // GCOVR_EXCL_BR_LINE: unwinding
    }
    /// Sets an entry of the current section: the first with this key, or a new one behind the last.
    /// Returns true. Throws std::invalid_argument, before anything changes, when the file could not
    /// give the entry back (CheckStorable in support/entry.h).
    bool SetSectionEntry(const char* key, const char* value);

    /// Makes a new, empty section the current one: before the first section when `first` is true,
    /// behind the last line of the file otherwise.
    void AddSection(bool first);
    /// Adds an entry behind the last one of the current section. Throws like SetSectionEntry.
    void AddSectionEntry(const char* key, const char* value);

    /// Removes the current section, from its opening line to its closing line. No section is
    /// current then, and GotoNextSection goes to the one that followed.
    void DeleteSection();
    /// Removes every entry with this key from the current section; none is no failure.
    void DeleteSectionEntry(const char* key);

    /// Writes the whole file back to the path it was loaded from; on return it is on the disk
    /// (ReplaceFile in support/durable_file.h). Neither argument is used. Throws std::system_error.
    void Save(bool, const char*);

  private:
    // A stretch of m_text and what stands there instead.
    struct Change {
        std::size_t begin;
        std::size_t end;
        std::string text;
    };

    // An entry's line, as offsets in the text of the current section.
    struct EntryPlace {
        std::size_t begin;
        std::size_t value;
        std::size_t valueEnd;
        std::size_t end;
    };

    std::size_t FindOpener(std::size_t position, std::size_t& end) const;
    std::size_t FindSectionEnd(std::size_t position) const;
    std::string_view SectionText() const;
    std::string& ChangeableSection();
    bool FindEntry(std::string_view key, std::size_t position, EntryPlace& place) const;
    std::string_view FindValue(std::string_view key, bool isWord) const;
    unsigned int ReadEntry(std::string_view key, bool isWord, char* buffer,
                           unsigned int size) const;
    void InsertEntry(const char* key, const char* value);
    void CheckCurrent() const;
    void CheckChangeable() const;
    void LeaveSection() {
        if (m_sectionChanged) {
            KeepSection();
        }
        m_hasSection = m_sectionChanged = false;
    }
    void KeepSection();
    void FoldChanges();
    TextPieces Pieces() const;

    std::string m_path;
    bool m_readOnly;
    SectionGrammar m_grammar;

    SectionEnds m_ends;         // of m_text
    std::size_t m_nextEnd = 0;  // that of the section that follows, among them

    FileText m_text;                // as loaded, or as last folded
    bool m_entriesArePlain;         // whether FindPlainEntry sees every entry of m_text with a word
    std::vector<Change> m_changes;  // of sections that the walk has left, in the order of m_text
    std::size_t m_next = 0;         // where the search for the next section begins

    bool m_hasSection = false;      // whether a section is current
    std::size_t m_begin = 0;        // the current section's stretch of m_text;
    std::size_t m_end = 0;          //   an empty one for a section that was added
    bool m_sectionChanged = false;  // whether m_section holds its text instead
    std::string m_section;
};

}  // namespace Configuration
