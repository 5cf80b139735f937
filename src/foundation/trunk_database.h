#pragma once

#include <string>

#include "src/foundation/access_frame.h"
#include "support/multi_section_file.h"

/// How an operation opens the database; the only place where the flags of the file are spelled.
enum class OpenMode {
    kReadOnly,       ///< only reads
    kChange,         ///< changes what is there; a missing file is a failure
    kChangeOrCreate  ///< may add a section; a missing file is created, empty
};

/// The trunk database while one operation works on it, under the lock.
///
/// One section is current at a time, none at first. Members that read or change it throw
/// std::logic_error when there is none; every member may throw what MultiSectionFile throws.
class TrunkDatabase {
  public:
    /// Loads the file and stands before the first section. `buffer` outlives the object.
    TrunkDatabase(OpenMode mode, ValueBuffer buffer);

    /// Makes the next section current; false behind the last.
    bool NextSection();
    /// Goes to the next section whose "trunk_name" is there and equals `trunkName`; false when
    /// there is none.
    bool FindByName(const std::string& trunkName);
    /// The same among the trunks to a master.
    bool FindTrunkToMaster(const std::string& trunkName);

    /// Reads a value into the buffer; false, and the empty text in it, when the key is absent.
    bool Read(const char* key);
    /// What the last read left in the buffer, until the next read.
    const char* Text() const { return m_buffer.text; }
    /// Reads a value whether or not the key is there: Read, then Text.
    const char* Get(const char* key);
    /// Reads a value: is the key there with exactly this text?
    bool Is(const char* key, const char* text);

    /// Sets the entry with this key, or adds it behind the last. Returns true.
    bool Set(const char* key, const char* text);
    /// The same; the text ends at its first NUL.
    bool Set(const char* key, const std::string& text);
    /// Removes the entries with this key; none is no failure.
    void Erase(const char* key);
    /// Adds an entry behind the last.
    void AddEntry(const char* key, const char* text);

    /// Adds an empty section behind the last one and makes it current.
    void AppendSection();
    /// Adds an empty section before the first one and makes it current.
    void InsertFirstSection();
    /// Removes the current section; none is current then.
    void DeleteSection();
    /// Begins anew with the entries of the current section.
    void RestartSection();

    /// Writes the whole file; on return it is on the disk.
    void Save();

  private:
    Configuration::MultiSectionFile m_file;
    ValueBuffer m_buffer;
};
