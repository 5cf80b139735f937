#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

/// The grammar of a trunk database once more, written for plainness alone.
class PlainParser {
  public:
    /// Returns "LINE: reason" for a malformed text, "" otherwise.
    /// values  receives for each section the value of the key "a", "-" where it is absent
    std::string Parse(const std::string& text, std::vector<std::string>& values) {
        std::size_t number = 0;
        for (std::size_t begin = 0; begin < text.size();) {
            const std::size_t end = std::min(text.find('\n', begin), text.size());
            const std::string line = text.substr(begin, end - begin);
            begin = end + 1;
            const std::string fault = FaultOf(line, ++number);
            if (!fault.empty()) {
                return std::to_string(number) + ": " + fault;
            }
        }
        values = m_values;
        return m_opened == 0 ? "" : std::to_string(m_opened) + ": section is not closed";
    }

  private:
    static std::string Trim(const std::string& text) {
        const std::size_t begin = text.find_first_not_of(" \t");
        return begin == std::string::npos
                   ? ""
                   : text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
    }

    std::string FaultOf(const std::string& line, std::size_t number) {
        const std::string trimmed = Trim(line);
        if (line.find('\0') != std::string::npos) {
            return "NUL byte";
        }
        if (trimmed.empty() || trimmed[0] == '#') {
            return "";
        }
        if (trimmed == "}") {
            const bool closes = m_opened != 0;
            m_opened = 0;
            return closes ? "" : "end of a section outside one";
        }
        if (trimmed.back() == '{' && Trim(trimmed.substr(0, trimmed.size() - 1)) == "section") {
            const bool opens = m_opened == 0;
            m_opened = number;
            m_values.emplace_back("-");
            return opens ? "" : "section inside a section";
        }
        const std::size_t separator = line.find('=');
        if (separator == std::string::npos && trimmed.back() == '\r') {
            return "line ends in a carriage return";
        }
        if (separator == std::string::npos) {
            return m_opened != 0 ? "entry without \"=\"" : "text outside a section";
        }
        if (m_opened == 0) {
            return "entry outside a section";
        }
        const std::string key = Trim(line.substr(0, separator));
        if (key == "a" && m_values.back() == "-") {
            m_values.back() = line.substr(separator + 1);
        }
        return key.empty() ? "entry without a key" : "";
    }

    std::vector<std::string> m_values;
    std::size_t m_opened = 0;  // the line that opened the current section, 0 outside of one
};
