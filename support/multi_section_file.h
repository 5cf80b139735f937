#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "support/section_text.h"
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
/// time, and does not guard the file against other processes.
class MultiSectionFile {
  public:
    /// Loads a file and stands before its first section.
    /// @param path the file; links are followed, only a regular file is taken
    /// @param createIfMissing true makes a missing file, empty, with mode 0600
    /// @param readOnly true refuses changes
    /// @param keyword the word that opens a section
    /// @param opener,closer,separator,commentMark the marks of the grammar, one character each,
    /// ASCII, no blank, and not in the keyword; a line end after one is not looked at
    ///
    /// The two other arguments are not used.
    ///
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
    /// @param key the key; of several entries with it the first is read
    /// @param buffer receives at most `size` - 1 bytes of the value and a NUL; the empty text when
    /// the key is absent
    /// @param size the buffer's size in bytes
    /// @return 0 when the key is absent, otherwise the length of the text in the buffer and its
    /// NUL.
    unsigned int GetSectionEntry(const char* key, char* buffer, unsigned int size) const {
        return ReadEntry(key, buffer, size);  // GCOVR_EXCL_BR_LINE: a copy that was not linked
    }
    /// Sets an entry of the current section: the first with this key, or a new one after the last.
    /// Returns true. Throws std::invalid_argument, before anything changes, when the file could not
    /// give the entry back (CheckStorable in support/entry.h).
    bool SetSectionEntry(const char* key, const char* value);

    /// Makes a new, empty section the current one: before the first section when `first` is true,
    /// after the last line of the file otherwise.
    void AddSection(bool first);
    /// Appends an entry to the current section. Throws like SetSectionEntry.
    void AddSectionEntry(const char* key, const char* value);

    /// Removes the current section, from its opening line to its closing line. No section is
    /// current then, and GotoNextSection goes to the one that followed.
    void DeleteSection();
    /// Removes every entry with this key from the current section, if there is any.
    void DeleteSectionEntry(const char* key);

    /// Writes the whole file back to the path it was loaded from; on return it is on the disk
    /// (ReplaceFile in support/durable_file.h). Neither argument is used. Throws std::system_error,
    /// std::runtime_error when the file was replaced since it was loaded, and std::logic_error when
    /// it was opened read-only.
    void Save(bool, const char*);

  private:
    unsigned int ReadEntry(std::string_view key, char* buffer, unsigned int size) const;
    void CheckCurrent() const {
        if (!m_hasCurrent) {
            ThrowNoCurrent();
        }
    }
    [[noreturn]] void ThrowNoCurrent() const;
    void CheckWritable(const char* act) const;
    void CheckChangeable() const;
    void CheckEntry(const char* key, const char* value) const;
    std::string_view Stretch() const { return m_stretches[m_section]; }
    std::size_t CloserLine() const;
    std::string_view Changed() const {
        return {m_changed.data(), m_changed.size() - support::kLineFeedsAfterText};
    }
    void HoldChanged(std::string text);
    void Replace(std::size_t place, std::size_t size, std::string_view text);

    std::string m_path;
    bool m_readOnly;
    support::SectionGrammar m_grammar;
    support::FileText m_text;  // as loaded
    // The text as it stands, cut before each section (support::FindSections). A stretch is a view
    // of m_text, m_changed, or one of m_olderChanged, which all end in kLineFeedsAfterText line
    // feeds.
    std::vector<std::string_view> m_stretches;
    std::vector<std::string> m_olderChanged;
    std::string m_changed;            // of the stretch that was changed last
    bool m_changedIsCurrent = false;  // whether it is that of m_section

    std::size_t m_section = 0;  // the stretch where the walk stands; 0 is before all sections
    bool m_hasCurrent = false;  // whether its section is current
    mutable support::SectionEntries m_entries{m_grammar};  // of the current section
};

}  // namespace Configuration
