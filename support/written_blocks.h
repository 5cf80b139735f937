#pragma once

#include "support/section_text.h"

namespace support {

/// Passes over most lines of sections that programs wrote, and cuts the text before those sections
/// that begin among them: 64 bytes at a step, where the processor can. Nothing needs it but speed.
/// @param line a line of the last stretch's section
/// @param stretches those so far; the last one goes to the end of the text
/// @return a line of the last stretch's section, or a place after the text.
const char* SkipWrittenBlocks(const char* line, const SectionGrammar& grammar,
                              Stretches& stretches);

}  // namespace support
