#pragma once

#include <cstddef>
#include <string_view>

#include "support/section_text.h"

namespace support {

/// Skips lines of a section that programs wrote, and notes the sections that end among them: a
/// faster way over most of a file. Nothing needs it; without it, the caller looks at every line by
/// itself.
/// @param line where a line begins
/// @param sections those so far; the last one is that line's, and has no end yet
/// @return where the first line begins that needs a closer look, or a place after the text. That
/// line is in the last section, which has no end yet.
std::size_t SkipWrittenLines(std::string_view text, std::size_t line, const SectionGrammar& grammar,
                             std::vector<Section>& sections);

}  // namespace support
