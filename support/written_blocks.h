#pragma once

#include "support/section_text.h"

namespace support {

/// Passes over lines of a section, and of the sections after it, that programs wrote: 64 bytes at a
/// time. Cuts the text before the sections that begin among them. Nothing but speed needs it.
/// @param line a line of the last stretch's section
/// @param stretches those so far; the last one goes to the end of the text
/// @return a line of the last stretch's section, or a place after the text.
const char* SkipWrittenBlocks(const char* line, const SectionGrammar& grammar,
                              Stretches& stretches);

}  // namespace support
