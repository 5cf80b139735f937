#pragma once

#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace below {

using Entries = std::map<std::string, std::string>;

/// What the stand-ins for the support library share: the files that they pretend to read, and the
/// calls made on them, in order. Each call adds a word, as here:
///
///     SmartBuffer Lock database(false,true,false) Restart Next trunk_name?
///     trunk_name=office +trunk_name= -trunk_name Save ~database Unlock ~SmartBuffer
///
/// which makes and releases things, reads, sets, appends and deletes entries. "*" stands where the
/// operation has handed something out. Another argument than the only right one adds a "!".
struct Recorder {
    std::vector<Entries> sections;  ///< the trunk database
    Entries startFile;              ///< the system start file
    std::string refused;            ///< the key that cannot be set; "*" for every key
    std::string calls;
    std::string logFormat;             ///< of the last message
    const char* heapBuffer = nullptr;  ///< that of the SmartBuffer in use
    std::string lastShown;
    /// What the operation has handed out so far, as text.
    std::function<std::string()> shown = [] { return std::string(); };
    /// Told of each call before it is carried out; may throw.
    std::function<void(const std::string& call)> onCall = [](const std::string&) {};

    /// Records a call that cannot fail.
    void Note(const std::string& call) {
        const std::string now = shown();
        calls += (now != lastShown ? "* " : "") + call + ' ';
        lastShown = now;
    }
    void Record(const std::string& call) {
        Note(call);
        onCall(call);
    }
};

/// The recorder of the operation that runs now.
inline Recorder& Recording() {
    static Recorder recorder;
    return recorder;
}

inline std::string Word(bool value) { return value ? "true" : "false"; }
inline const char* MarkUnless(bool isRight) { return isRight ? "" : "!"; }

/// The text, or <date>, <time> or <prefix> in place of any moment's stamp or log prefix.
inline std::string Masked(const std::string& text) {
    std::string form = text;
    for (char& byte : form) {
        byte = byte >= '0' && byte <= '9' ? '0' : byte;
    }
    if (form == "00:00:00.000  " || form == "        .000  ") {
        return "<prefix>";
    }
    return form == "00/00/0000" ? "<date>" : form == "00:00:00" ? "<time>" : text;
}

inline void RecordOpening(const char* file, bool isRight, bool create, bool readOnly, bool third) {
    Recording().Record(std::string(file) + "(" + Word(create) + "," + Word(readOnly) + "," +
                       Word(third) + ")" + MarkUnless(isRight));
}

/// Reads as the real files do, but leaves no byte of the buffer as it was.
inline unsigned int Read(const Entries& entries, const char* key, char* buffer, unsigned int size) {
    const char* heapBuffer = Recording().heapBuffer;
    const bool isRight = size == 1024 && (heapBuffer == nullptr || heapBuffer == buffer);
    Recording().Record(key + std::string("?") + MarkUnless(isRight));
    const auto entry = entries.find(key);
    const std::string value = entry == entries.end() ? "" : entry->second;
    std::memset(buffer, 'x', size);
    std::memcpy(buffer, value.c_str(), value.size() + 1);
    return entry == entries.end() ? 0 : static_cast<unsigned int>(value.size() + 1);
}

/// Returns any number but 0 for success.
inline unsigned int Set(Entries& entries, const char* key, const char* value) {
    Recording().Record(key + ("=" + Masked(value)));
    if (Recording().refused == "*" || Recording().refused == key) {
        return 0;
    }
    entries[key] = value;
    return 2;
}

inline void Save(bool first, const char* last) {
    Recording().Record(std::string("Save") + MarkUnless(first && last == nullptr));
}

}  // namespace below
