#include "tools/siptrunkctl/words/shell_words.h"

std::vector<ShellWord> SplitLine(const std::string& line) {
    std::vector<ShellWord> words(1);
    char quote = '\0';
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char byte = line[i];
        if (quote == '\0' && (byte == ' ' || byte == '\t')) {
            if (!words.back().typed.empty()) {
                words.emplace_back();
            }
            continue;
        }
        words.back().typed += byte;
        if (byte == quote) {
            quote = '\0';
        } else if (quote == '\0' && (byte == '"' || byte == '\'')) {
            quote = byte;
        } else if (byte == '\\' && quote != '\'' && i + 1 < line.size()) {
            words.back().typed += line[++i];
            words.back().text += line[i];
        } else {
            words.back().text += byte;
        }
    }
    return words;
}

std::string ForBash(const std::string& text, const std::string& typed) {
    const bool isQuoted = !typed.empty() && (typed.front() == '"' || typed.front() == '\'');
    std::string quoted;
    for (const char byte : text) {
        const bool isSpecial =
            std::string(" \t'\"\\$`!&|;<>()*?[]{}#~").find(byte) != std::string::npos;
        quoted += (isSpecial && !isQuoted ? "\\" : "") + std::string(1, byte);
    }
    // Both the text and what was typed begin with it.
    const std::size_t kept = isQuoted ? 0 : typed.find_last_of("=:") + 1;
    return quoted.substr(kept);
}
