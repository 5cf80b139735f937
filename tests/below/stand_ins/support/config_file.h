#pragma once

#include <string_view>

#include "tests/below/recorder.h"

namespace Configuration {

/// Stands in for the flat file: has the recorder's start file, and records each call.
class ConfigFile {
  public:
    ConfigFile(std::string_view path, bool create, bool readOnly, bool third,
               std::string_view separator, std::string_view commentMark, const char* last) {
        const bool isRight = path == "/below/sysconfig/rc.conf" && separator == "=" &&
                             commentMark == "#" && last == nullptr;
        below::RecordOpening("start-file", isRight, create, readOnly, third);
    }
    ~ConfigFile() { below::Recording().Note("~start-file"); }
    ConfigFile(const ConfigFile&) = delete;
    ConfigFile& operator=(const ConfigFile&) = delete;

    unsigned int GetEntry(const char* key, char* buffer, unsigned int size) const {
        return below::Read(below::Recording().startFile, key, buffer, size);
    }
    unsigned int SetEntry(const char* key, const char* value) {
        return below::Set(below::Recording().startFile, key, value);
    }
    void Save(bool first, const char* last) const { below::Save(first, last); }
};

}  // namespace Configuration
