#pragma once

#include <string>
#include <vector>

// Command lines as bash reads them, as far as the completion needs that.

struct ShellWord {
    std::string text;   ///< what it means
    std::string typed;  ///< with its quotation marks and backslashes
};

/// Takes a line apart. The last word is the one that ends at the line's end; it may be empty, and
/// its quotation mark need not be closed.
std::vector<ShellWord> SplitLine(const std::string& line);

/// Returns a text in the quotation that was begun with what was typed, without the part that bash
/// keeps: up to the last character at which it breaks words.
std::string ForBash(const std::string& text, const std::string& typed);
