#include "support/config_file.h"

#include <stdexcept>
#include <utility>

#include "support/durable_file.h"
#include "support/entry.h"
#include "support/line_scanner.h"

namespace Configuration {

ConfigFile::ConfigFile(const char* path, bool createIfMissing, bool readOnly, bool,
                       const char* separator, const char* commentMark, const char*)
    : m_path(path), m_readOnly(readOnly), m_separator(*separator), m_commentMark(*commentMark) {
    support::FileText text = support::ReadWholeFile(path, createIfMissing);
    m_text = text.View();
    m_loaded = std::move(text.identity);
}

ConfigFile::~ConfigFile() = default;

// Returns where the value begins in a line that is an entry with this key, npos in any other line.
std::size_t ConfigFile::ValueOffset(std::string_view line, std::string_view key) const {
    const std::size_t separator = line.find(m_separator);
    if (separator == std::string_view::npos ||
        support::WithoutLeadingBlanks(line.substr(0, separator)) != key) {
        return std::string_view::npos;
    }
    return separator + 1;
}

unsigned int ConfigFile::GetEntry(const char* key, char* buffer, unsigned int size) const {
    // If the key were not checked, a comment could pass for an entry.
    const bool isKey = support::KeyFault(key, m_separator, m_commentMark) == nullptr;
    bool found = false;
    std::string_view value;
    for (support::LineScanner lines(m_text); isKey && lines.Next();) {
        const std::size_t offset = ValueOffset(lines.Line(), key);
        if (offset != std::string_view::npos) {
            found = true;
            value = lines.Line().substr(offset);
        }
    }
    const unsigned int length = support::CopyValue(value, buffer, size);
    return found ? length + 1 : 0;
}

bool ConfigFile::SetEntry(const char* key, const char* value) {
    if (m_readOnly) {
        throw std::logic_error(m_path + ": change of a file opened read-only");
    }
    support::CheckStorable(m_path, key, value, m_separator, m_commentMark);
    std::string text;
    bool found = false;
    std::size_t copied = 0;
    for (support::LineScanner lines(m_text); lines.Next();) {
        const std::size_t offset = ValueOffset(lines.Line(), key);
        if (offset == std::string_view::npos) {
            continue;
        }
        found = true;
        text.append(m_text, copied, lines.Begin() + offset - copied).append(value);
        copied = lines.Begin() + lines.Line().size();
    }
    text.append(m_text, copied);
    if (!found) {
        if (!text.empty() && text.back() != '\n') {
            text.push_back('\n');
        }
        text.append(key).append(1, m_separator).append(value).append(1, '\n');
    }
    m_text = std::move(text);
    return true;
}

void ConfigFile::Save(bool, const char*) {
    if (m_readOnly) {
        throw std::logic_error(m_path + ": save of a file opened read-only");
    }
    support::ReplaceFile(m_path.c_str(), m_loaded, {m_text});
}

}  // namespace Configuration
