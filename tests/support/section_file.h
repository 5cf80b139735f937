#pragma once

#include <array>
#include <optional>
#include <string>

#include "support/multi_section_file.h"

enum class Access { kReadOnly, kChange, kChangeOrCreate };

/// A section file with the grammar of the trunk database.
class SectionFile : public Configuration::MultiSectionFile {
  public:
    explicit SectionFile(const std::string& path, Access access = Access::kChange)
        : MultiSectionFile(path.c_str(), access == Access::kChangeOrCreate,
                           access == Access::kReadOnly, false, "section", "{\n", "}\n", "=", "#",
                           nullptr) {}

    /// The value of a key of the current section; nothing when the key is absent, and then the
    /// buffer must hold the empty text.
    std::optional<std::string> Value(const std::string& key) const {
        std::array<char, 1024> buffer{'?'};
        if (GetSectionEntry(key.c_str(), buffer.data(), buffer.size())) {
            return buffer.data();
        }
        return buffer[0] == '\0' ? std::nullopt : std::optional<std::string>("not the empty text");
    }

    void Save() { MultiSectionFile::Save(true, nullptr); }
};
