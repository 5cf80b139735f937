#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

namespace support {

/// Walks over the lines of a text. The text belongs to the caller and outlives the scanner.
class LineScanner {
  public:
    /// Stands before the line that begins at the offset `position`.
    explicit LineScanner(std::string_view text, std::size_t position = 0)
        : m_text(text), m_begin(position), m_lineEnd(position), m_end(position) {}

    /// Moves to the next line; false when there is none. A last line needs no line end.
    bool Next() {
        if (m_end >= m_text.size()) {
            return false;
        }
        m_begin = m_end;
        const void* lineFeed = std::memchr(m_text.data() + m_begin, '\n', m_text.size() - m_begin);
        if (lineFeed == nullptr) {
            m_lineEnd = m_end = m_text.size();
        } else {
            m_lineEnd =
                static_cast<std::size_t>(static_cast<const char*>(lineFeed) - m_text.data());
            m_end = m_lineEnd + 1;
        }
        return true;
    }

    /// The current line without its line end.
    std::string_view Line() const { return m_text.substr(m_begin, m_lineEnd - m_begin); }
    /// The offset of the line's first byte.
    std::size_t Begin() const { return m_begin; }
    /// The offset after the line and its line end: where the next line begins.
    std::size_t End() const { return m_end; }

  private:
    std::string_view m_text;
    std::size_t m_begin;
    std::size_t m_lineEnd;
    std::size_t m_end;
};

}  // namespace support
