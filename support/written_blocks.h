#pragma once

#include "support/section_text.h"

namespace support {

/// Passes, 64 bytes at a time, over lines of a section, and of the sections after it, that look as
/// programs write them. Cuts the text before the sections that begin among them. Only speed needs
/// it: the files written_blocks can be deleted, with their lines in CMakeLists.txt and
/// tests/CMakeLists.txt and the call in section_text.cpp.
/// @param line a line of the last stretch's section
/// @param stretches those so far; the last one goes to the end of the text
/// @return a line of the last stretch's section, or a place after the text.
const char* SkipWrittenBlocks(const char* line, const SectionGrammar& grammar,
                              Stretches& stretches);

}  // namespace support
