#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "support/printable_text.h"

// Texts from the database, as people see them.

/// Returns whether a character could do something to a terminal, or cannot be seen.
bool IsShownEscaped(const support::Character& character);

/// Returns whether the whole text is UTF-8.
bool IsUtf8(std::string_view text);

/// Returns the number of columns that a UTF-8 text takes on a terminal.
std::size_t Width(std::string_view text);

/// Returns the text with every byte as \xNN that could do something to a terminal, cannot be seen,
/// or is not UTF-8: the result is UTF-8 and stays on one line. Backslashes before an "x" or before
/// such a byte are doubled, so that no two texts are shown alike.
std::string Printable(std::string_view text);

/// The same for a cell of a table, where blanks at the ends would not show and a lone "-" stands
/// for nothing: these are \xNN, too.
std::string PrintableCell(std::string_view text);

/// Returns the printable text in quotation marks.
std::string Quoted(std::string_view text);

/// Returns "; did you mean "X"?" for the candidate that `word` is most likely a misspelling of, or
/// else for the only one that begins with it; an empty text when there is none.
std::string DidYouMean(std::string_view word, const std::vector<std::string>& candidates);
