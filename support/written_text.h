#pragma once

#include <cstddef>
#include <string_view>

#include "support/section_text.h"

namespace support {

/// Skips lines of a section that programs wrote, and notes the sections that end among them: a faster
/// way over most of a file. Nothing needs it; without it, the caller looks at every line by itself.
/// line      where a line begins
/// sections  the section of that line is open
/// Returns where the first line begins that needs a closer look, at most the text's size. A section
/// is open there again.
std::size_t SkipWrittenLines(std::string_view text, std::size_t line, const SectionGrammar& grammar,
                             SectionList& sections);

}  // namespace support
