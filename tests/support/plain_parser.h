#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// The grammar of a trunk database once more, written for plainness alone.

inline std::string Trim(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    return begin == std::string::npos
               ? ""
               : text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
}

inline bool IsOpener(const std::string& line, const std::string& keyword = "section") {
    const std::string text = Trim(line);
    return !text.empty() && text.back() == '{' && Trim(text.substr(0, text.size() - 1)) == keyword;
}

inline bool IsCloser(const std::string& line) { return Trim(line) == "}"; }

/// The key of an entry's line; of a comment's there is none.
inline std::optional<std::string> KeyOf(const std::string& line) {
    const std::size_t separator = line.find('=');
    return separator == std::string::npos || Trim(line)[0] == '#'
               ? std::nullopt
               : std::optional<std::string>(Trim(line.substr(0, separator)));
}

inline std::string ValueOf(const std::string& line) { return line.substr(line.find('=') + 1); }

struct PlainSection {
    std::size_t begin;    // of its opener's line
    std::size_t end = 0;  // of its closer's, with the line end
    std::vector<std::pair<std::string, std::string>> entries{};

    /// The value of the first entry with the key.
    std::optional<std::string> Value(const std::string& key) const {
        const auto entry = std::find_if(entries.begin(), entries.end(),
                                        [&](const auto& pair) { return pair.first == key; });
        return entry == entries.end() ? std::nullopt : std::optional(entry->second);
    }
};

class PlainParser {
  public:
    explicit PlainParser(std::string keyword = "section") : m_keyword(std::move(keyword)) {}

    /// Returns "LINE: reason" for a malformed text, "" otherwise.
    std::string Parse(const std::string& text, std::vector<PlainSection>& sections) {
        std::size_t number = 0;
        for (std::size_t begin = 0; begin < text.size();) {
            const std::size_t end = std::min(text.find('\n', begin), text.size());
            m_begin = begin;
            m_next = std::min(end + 1, text.size());
            const std::string fault = FaultOf(text.substr(begin, end - begin), ++number);
            if (!fault.empty()) {
                return std::to_string(number) + ": " + fault;
            }
            begin = end + 1;
        }
        if (m_opened != 0) {
            return std::to_string(m_opened) + ": section is not closed";
        }
        sections = m_sections;
        return "";
    }

  private:
    std::string FaultOf(const std::string& line, std::size_t number) {
        const std::string trimmed = Trim(line);
        if (line.find('\0') != std::string::npos) {
            return "NUL byte";
        }
        if (trimmed.empty() || trimmed[0] == '#') {
            return "";
        }
        if (IsCloser(line)) {
            if (m_opened == 0) {
                return "end of a section outside one";
            }
            m_opened = 0;
            m_sections.back().end = m_next;
            return "";
        }
        if (IsOpener(line, m_keyword)) {
            if (m_opened != 0) {
                return "section inside a section";
            }
            m_opened = number;
            m_sections.push_back({m_begin});
            return "";
        }
        const std::optional<std::string> key = KeyOf(line);
        if (!key && trimmed.back() == '\r') {
            return "line ends in a carriage return";
        }
        if (!key) {
            return m_opened != 0 ? "entry without \"=\"" : "text outside a section";
        }
        if (m_opened == 0) {
            return "entry outside a section";
        }
        m_sections.back().entries.emplace_back(*key, ValueOf(line));
        return key->empty() ? "entry without a key" : "";
    }

    std::string m_keyword;
    std::vector<PlainSection> m_sections;
    std::size_t m_opened = 0;  // the line that opened the current section, 0 outside of one
    std::size_t m_begin = 0;   // of the current line
    std::size_t m_next = 0;    // of the line after it
};
