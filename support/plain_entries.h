#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "support/section_ends.h"

// The fast walk over a file that programs wrote: lines that begin with the key, have the separator
// right behind it, and no NUL byte. All else is left to the caller, line by line.
//
// Where the compiler knows SSE2, plain_entries_blocks.cpp looks at blocks of 64 bytes at once; elsewhere
// the walk goes from line to line. Both give the same answers.

/// Skips the lines that are plainly entries: a key of ASCII characters without blanks and control
/// bytes, the separator, and a value without NUL bytes. May also skip the seams between sections.
/// text       the whole text
/// position   where a line inside of a section begins, behind the section's opener
/// separator  the mark between key and value, such a character itself
/// seam       the lines between the entries of two sections, and the line feed before them
/// ends       receives where the sections end whose seams were skipped
/// Returns where the first line begins that is not plainly an entry, or the text's size; the line is
/// inside of a section again. What it is, an entry of another look or something else, is for the
/// caller to find out. Comments whose first word holds the separator are skipped as well.
/// Returns npos instead when there is a NUL byte to find, from `position` on.
std::size_t SkipPlainLines(std::string_view text, std::size_t position, char separator,
                           std::string_view seam, SectionEnds& ends);

/// Finds the first line that begins with `key` and the separator.
/// stretch  what to search, a section; its first line is not looked at
/// textEnd  where the text ends that the stretch is a part of
/// key      holds neither the separator nor a line feed
/// Returns its value, or a view of nothing at all (null) when there is no such line.
std::string_view FindPlainEntry(std::string_view stretch, const char* textEnd, std::string_view key,
                                char separator);

// The same from line to line; no seam is skipped.
std::size_t SkipPlainEntriesByLine(std::string_view text, std::size_t position, char separator);
std::string_view FindPlainEntryByLine(std::string_view stretch, std::string_view key,
                                      char separator);
