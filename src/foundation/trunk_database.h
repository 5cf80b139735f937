#pragma once

#include <string>
#include <string_view>

#include "src/foundation/access_frame.h"
#include "support/multi_section_file.h"
#include "support/word_step.h"

namespace raiklaik {

/// How an operation opens the database; operations know nothing of MultiSectionFile's own flags.
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
    /// Loads the file and stands before the first section. `buffer` must outlive the object.
    TrunkDatabase(OpenMode mode, ValueBuffer buffer);

    /// Makes the next section current; false after the last.
    bool NextSection();
    /// Goes to the next section whose "trunk_name" is there and equals `trunkName`; false when
    /// there is none.
    bool FindByName(const std::string& trunkName);
    /// The same among the trunks to a master.
    bool FindTrunkToMaster(const std::string& trunkName);

    /// Reads a value into the buffer; false, and the empty text in it, when the key is absent.
    bool Read(const char* key) {
        const unsigned int filled = m_file.GetSectionEntry(key, m_buffer.text, m_buffer.capacity);
        m_length = filled == 0 ? 0 : filled - 1;
        return filled != 0;
    }
    /// What the last read left in the buffer. The next read overwrites it, so copy it or compare it
    /// at once, and never keep the view.
    std::string_view Text() const { return {m_buffer.text, m_length}; }
    /// Reads a value whether or not the key is there: Read, then Text.
    std::string_view Get(const char* key) {
        (void)Read(key);  // an absent key leaves the empty text
        return Text();
    }
    /// Reads a value: is the key there with exactly this text?
    bool Is(const char* key, std::string_view text) {
        return Read(key) && support::IsSame(Text(), text);
    }

    /// Sets the entry with this key, or adds one after the last. Returns true.
    bool Set(const char* key, const char* text);
    /// The same; the text ends at its first NUL.
    bool Set(const char* key, const std::string& text);
    /// Sets the entry `to` to what a read of `from` gives: its value, or the empty text.
    void Copy(const char* from, const char* to);
    /// Removes the entries with this key, if there are any.
    void Erase(const char* key);
    /// Adds an entry after the last.
    void AddEntry(const char* key, const char* text);

    /// Adds an empty section after the last one and makes it current.
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
    std::size_t m_length = 0;  // of the text in it
};

/// Runs an operation's work in the frame of access_frame.h, on the trunk database opened for
/// reading.
/// @param work called with the TrunkDatabase; its result is the operation's, which is false on
/// failure
template <typename Buffer, typename Work>
bool ReadTrunks(Semaphore& semaphore, CSIPTrunkLogger* logger, const Work& work) {
    return RunLocked<Buffer>(semaphore, logger, false, [&](ValueBuffer buffer) {
        TrunkDatabase trunks(OpenMode::kReadOnly, buffer);
        return work(trunks);
    });
}

/// The same for an operation that changes what is there.
template <typename Buffer, typename Work>
bool ChangeTrunks(Semaphore& semaphore, CSIPTrunkLogger* logger, const Work& work) {
    return RunLocked<Buffer>(semaphore, logger, false, [&](ValueBuffer buffer) {
        TrunkDatabase trunks(OpenMode::kChange, buffer);
        return work(trunks);
    });
}

/// The same for an operation that may add a section.
template <typename Buffer, typename Work>
bool ChangeOrCreateTrunks(Semaphore& semaphore, CSIPTrunkLogger* logger, const Work& work) {
    return RunLocked<Buffer>(semaphore, logger, false, [&](ValueBuffer buffer) {
        TrunkDatabase trunks(OpenMode::kChangeOrCreate, buffer);
        return work(trunks);
    });
}

}  // namespace raiklaik
