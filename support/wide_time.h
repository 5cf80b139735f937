#pragma once

// A source file that includes this before everything else sees time with 64 bits, even where the
// platform's own time_t has 32 and ends in January 2038 (glibc from 2.34 on has both; an older one
// takes no notice). Only for files that pass no time_t, and no struct that holds one, to another
// file.

#undef _FILE_OFFSET_BITS
#undef _TIME_BITS
// NOLINTNEXTLINE(bugprone-reserved-identifier): the C library's names
#define _FILE_OFFSET_BITS 64  // glibc has _TIME_BITS only with it
#define _TIME_BITS 64         // NOLINT(bugprone-reserved-identifier)
