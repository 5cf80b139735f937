#pragma once

#include <cstddef>
#include <string_view>

// The fast walk over the entries of a file that programs wrote: lines that begin with the key, have
// the separator right behind it, and no NUL byte. All else is left to the caller, line by line.

/// Skips the lines that are plainly entries: a key without blanks or control bytes, the separator,
/// and a value without NUL bytes.
/// text       whole lines
/// position   where a line begins
/// separator  the mark between key and value
/// Returns where the first line begins that is not plainly an entry, or the text's size. What that
/// line is, an entry of another look or something else, is for the caller to find out; so is a NUL
/// byte that may follow it. Comments whose first word holds the separator are skipped as well.
std::size_t SkipPlainEntries(std::string_view text, std::size_t position, char separator);

/// Finds the first line whose text before its first separator is `key`.
/// text        the whole text
/// begin, end  the stretch to search; the line that holds `begin` is not looked at
/// Returns its value, or a view of nothing at all (null) when there is no such line.
std::string_view FindPlainEntry(std::string_view text, std::size_t begin, std::size_t end,
                                std::string_view key, char separator);
