#pragma once

#include <string>
#include <string_view>

#include "support/whole_file.h"

namespace Configuration {

/// A text file that holds "KEY=value" lines among lines of any other kind, such as a shell script
/// that a program sources. No line is ever refused, and all but the lines of a key that is set are
/// written back byte for byte.
///
/// A shell lets the last assignment count, so reading gives the last entry with a key and setting
/// changes every one. Blanks may stand before a key but not after it. An object is used by one
/// thread at a time, and does not guard the file against other processes.
class ConfigFile {
  public:
    /// Loads a file.
    /// @param path the file; links are followed, only a regular file is taken
    /// @param createIfMissing true makes a missing file, empty, with mode 0600
    /// @param readOnly true refuses changes
    /// @param separator,commentMark the mark between key and value and the one that begins a
    /// comment, one character each
    ///
    /// The two other arguments are not used.
    /// Throws std::system_error with the text "path: step: reason" when the file cannot be read.
    ConfigFile(const char* path, bool createIfMissing, bool readOnly, bool, const char* separator,
               const char* commentMark, const char*);
    /// Forgets what was not saved.
    ~ConfigFile();
    ConfigFile(const ConfigFile&) = delete;
    ConfigFile& operator=(const ConfigFile&) = delete;

    /// Reads an entry.
    /// @param key the key; of several entries with it the last is read
    /// @param buffer receives at most `size` - 1 bytes of the value and a NUL; the empty text when
    /// the key is absent
    /// @param size the buffer's size in bytes
    /// @return 0 when the key is absent, otherwise the length of the text in the buffer and its
    /// NUL.
    unsigned int GetEntry(const char* key, char* buffer, unsigned int size) const;
    /// Sets every entry with the key, or adds one at the end of the file. Returns true.
    /// Throws std::invalid_argument, before anything changes, when the file could not give the
    /// entry back (CheckStorable in support/entry.h), and std::logic_error for a read-only file.
    bool SetEntry(const char* key, const char* value);

    /// Writes the whole file back to the path it was loaded from; on return it is on the disk
    /// (ReplaceFile in support/durable_file.h). Neither argument is used. Throws
    /// std::runtime_error, and std::logic_error for a read-only file.
    void Save(bool, const char*);

  private:
    std::size_t ValueOffset(std::string_view line, std::string_view key) const;

    std::string m_path;
    bool m_readOnly;
    char m_separator;
    char m_commentMark;
    std::string m_text;
    support::FileIdentity m_loaded;
};

}  // namespace Configuration
