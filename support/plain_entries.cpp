#include "support/plain_entries.h"

#include <cstring>

#include "support/line_scanner.h"

namespace {

// Neither a blank nor a control byte, nor one of another alphabet.
bool IsGraphic(char byte) { return static_cast<signed char>(byte) > ' '; }

bool IsPlainEntry(std::string_view line, char separator) {
    std::size_t keyEnd = 0;
    while (keyEnd < line.size() && IsGraphic(line[keyEnd]) && line[keyEnd] != separator) {
        ++keyEnd;
    }
    return keyEnd > 0 && keyEnd < line.size() && line[keyEnd] == separator &&
           std::memchr(line.data(), '\0', line.size()) == nullptr;
}

}  // namespace

std::size_t SkipPlainEntriesByLine(std::string_view text, std::size_t position, char separator) {
    LineScanner lines(text, position);
    while (lines.Next()) {
        if (!IsPlainEntry(lines.Line(), separator)) {
            return lines.Begin();
        }
    }
    return text.size();
}

std::string_view FindPlainEntryByLine(std::string_view stretch, std::string_view key,
                                      char separator) {
    LineScanner lines(stretch);
    (void)lines.Next();
    while (lines.Next()) {
        const std::string_view line = lines.Line();
        if (line.size() > key.size() && line.substr(0, key.size()) == key &&
            line[key.size()] == separator) {
            return line.substr(key.size() + 1);
        }
    }
    return {};
}

#if !defined(__SSE2__)

std::size_t SkipPlainLines(std::string_view text, std::size_t position, char separator,
                           std::string_view /*seam*/, SectionEnds& /*ends*/) {
    return SkipPlainEntriesByLine(text, position, separator);
}

std::string_view FindPlainEntry(std::string_view stretch, const char* /*textEnd*/,
                                std::string_view key, char separator) {
    return FindPlainEntryByLine(stretch, key, separator);
}

#endif
