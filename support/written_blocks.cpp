#include "support/written_blocks.h"

#if defined(__SSE2__)
#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

#include "support/whole_file.h"

namespace support {

namespace {

constexpr std::size_t kPart = sizeof(__m128i);
constexpr std::size_t kBlock = 64;

// 64 bytes and what they are; bit i tells of byte i.
struct Block {
    Block(const char* bytes, __m128i separator) {
        const __m128i lineFeed = _mm_set1_epi8('\n');
        const __m128i blank = _mm_set1_epi8(' ');
        __m128i least = blank;
        for (std::size_t at = 0; at < kBlock; at += kPart) {
            const __m128i part = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + at));
            marks |=
                Bits(_mm_or_si128(_mm_cmpeq_epi8(part, lineFeed), _mm_cmpeq_epi8(part, separator)))
                << at;
            low |= Bits(_mm_cmpeq_epi8(_mm_min_epu8(part, blank), part)) << at;
            least = _mm_min_epu8(least, part);
        }
        holdsNul = Bits(_mm_cmpeq_epi8(least, _mm_setzero_si128())) != 0;
    }

    static std::uint64_t Bits(__m128i part) {
        return static_cast<unsigned int>(_mm_movemask_epi8(part));
    }

    std::uint64_t marks = 0;  // line feeds and separators
    std::uint64_t low = 0;    // line feeds and others up to ' '
    bool holdsNul;
};

}  // namespace

// A line needs no closer look when its first byte is above ' ' and no separator, and its first mark
// is a separator: it is an entry, or a comment, which may stand here as well. All lines of a block
// are looked at together: ~marks is 1 at each byte that is no mark, so a 1 added where a line
// begins is carried to the line's first mark. If that is a line feed, the line holds no separator.
const char* SkipWrittenBlocks(const char* line, const SectionGrammar& grammar,
                              Stretches& stretches) {
    const char* const textEnd = stretches.back().data() + stretches.back().size();
    const __m128i separator = _mm_set1_epi8(grammar.Separator());
    std::uint64_t beginsLine = 1;  // whether a line begins with the block
    std::uint64_t carry = 0;       // 1 when a line without a mark so far goes on in the block
    static_assert(kBlock <= kLineFeedsAfterText);  // the last block may go past the text
    for (const char* at = line; at <= textEnd; at += kBlock) {
        const Block block(at, separator);
        if (block.holdsNul) {
            return line;
        }
        const std::uint64_t lineFeeds = block.marks & block.low;
        const std::uint64_t begins = lineFeeds << 1U | beginsLine;
        std::uint64_t sum = 0;
        carry = __builtin_add_overflow(~block.marks, begins | carry, &sum) ? 1 : 0;
        // The ends of lines without a separator, and the first bytes of odd lines.
        std::uint64_t unusual = (sum & lineFeeds) | (begins & (block.low | block.marks));
        for (; unusual != 0; unusual &= unusual - 1) {
            const char* place = at + __builtin_ctzll(unusual);
            if (place < line) {
                continue;  // it is in the opener's line of a seam
            }
            // In a seam, the place is the line feed after a closer that is alone in its line.
            if (place[-2] != '\n' || !grammar.IsSeam(place - 1, textEnd)) {
                while (place[-1] != '\n') {
                    --place;
                }
                return place;
            }
            Cut(stretches, place + 1);
            line = place - 1 + grammar.Seam().size();
        }
        beginsLine = lineFeeds >> 63U;
    }
    return textEnd;
}

}  // namespace support

#endif
