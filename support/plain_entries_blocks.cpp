#include "support/plain_entries.h"

#if defined(__SSE2__)
#include <emmintrin.h>

#include <algorithm>

#include "support/line_scanner.h"
#include "support/short_text.h"

namespace {

constexpr std::size_t kPart = sizeof(__m128i);
constexpr std::size_t kBlock = 4 * kPart;

__m128i Load(const char* bytes) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)); }

// Of 16 or 64 bytes: bit i tells of byte i.
std::uint64_t Bits(__m128i part) { return static_cast<unsigned int>(_mm_movemask_epi8(part)); }

std::uint64_t Bits(__m128i first, __m128i second, __m128i third, __m128i fourth) {
    return Bits(first) | Bits(second) << kPart | Bits(third) << 2 * kPart |
           Bits(fourth) << 3 * kPart;
}

__m128i Is(__m128i part, __m128i wanted) { return _mm_cmpeq_epi8(part, wanted); }

__m128i IsEither(__m128i part, __m128i one, __m128i other) {
    return _mm_or_si128(Is(part, one), Is(part, other));
}

// A blank, a control byte, or one of another alphabet (which are negative).
__m128i IsLow(__m128i part) { return _mm_cmplt_epi8(part, _mm_set1_epi8(' ' + 1)); }

std::size_t FirstBit(std::uint64_t bits) { return static_cast<unsigned>(__builtin_ctzll(bits)); }

struct BlockBits {
    std::uint64_t marks;  // line feeds and separators
    std::uint64_t low;    // line feeds and other low bytes
};

// Looks at 64 bytes. `lowest` keeps the smallest byte of each lane so far.
BlockBits LookAt(const char* block, __m128i lineFeed, __m128i mark, __m128i& lowest) {
    const __m128i first = Load(block);
    const __m128i second = Load(block + kPart);
    const __m128i third = Load(block + 2 * kPart);
    const __m128i fourth = Load(block + 3 * kPart);
    lowest = _mm_min_epu8(lowest,
                          _mm_min_epu8(_mm_min_epu8(first, second), _mm_min_epu8(third, fourth)));
    return {Bits(IsEither(first, lineFeed, mark), IsEither(second, lineFeed, mark),
                 IsEither(third, lineFeed, mark), IsEither(fourth, lineFeed, mark)),
            Bits(IsLow(first), IsLow(second), IsLow(third), IsLow(fourth))};
}

// A seam is met at the end of the closer's line, behind a line feed and the closer. Before the first
// line inside of a section there is at least as much: the section's opener.
constexpr std::size_t kBeforeCloserEnd = 2;

// Values are short: a call of memchr would cost more than the search. There are at least as many bytes
// as a part has before `end`.
const char* FindByte(const char* from, const char* end, __m128i wanted) {
    for (; end - from >= std::ptrdiff_t{kPart}; from += kPart) {
        const std::uint64_t places = Bits(Is(Load(from), wanted));
        if (places != 0) {
            return from + FirstBit(places);
        }
    }
    const std::uint64_t places = Bits(Is(Load(end - kPart), wanted)) >> (from - (end - kPart));
    return places == 0 ? end : from + FirstBit(places);
}

}  // namespace

// Looks at all lines of a block at once. Adding the bits of the line starts to the bits of the key
// bytes carries each start over its key, onto the first byte that ends it; an entry is plain when
// that byte is the separator and not the start itself. A seam has two other ends.
std::size_t SkipPlainLines(std::string_view text, std::size_t position, char separator,
                           std::string_view seam, SectionEnds& ends) {
    if (seam.size() > kBlock) {
        return SkipPlainEntriesByLine(text, position, separator);
    }
    const __m128i lineFeed = _mm_set1_epi8('\n');
    const __m128i mark = _mm_set1_epi8(separator);
    __m128i lowest = lineFeed;  // the smallest byte of each lane so far, to find a NUL
    const std::uint64_t behindCloser = (std::uint64_t{1} << (seam.size() - kBeforeCloserEnd)) - 1;
    const auto holdsNul = [&] { return Bits(Is(lowest, _mm_setzero_si128())) != 0; };
    std::size_t seamEnd = position;  // of the seam that was found last
    std::uint64_t seamGoesOn = 0;    // the bytes of the block that belong to it, from before
    std::uint64_t firstStart = 1;    // whether a line starts with the block
    std::uint64_t keyGoesOn = 0;     // whether a key reaches into the block
    for (; text.size() - position >= kBlock + seam.size(); position += kBlock) {
        const char* block = text.data() + position;
        const BlockBits bits = LookAt(block, lineFeed, mark, lowest);
        const std::uint64_t lineFeeds = bits.marks & bits.low;
        const std::uint64_t keyBytes = ~(bits.marks | bits.low);
        const std::uint64_t starts = (lineFeeds << 1U) | firstStart;
        std::uint64_t carried = 0;
        keyGoesOn = __builtin_add_overflow(keyBytes, starts | keyGoesOn, &carried) ? 1 : 0;
        std::uint64_t unusual = carried & ~keyBytes & (bits.low | starts);
        unusual = unusual == 0 ? 0 : unusual & ~seamGoesOn;
        seamGoesOn = 0;
        while (unusual != 0) {
            const std::size_t bit = FirstBit(unusual);
            if (!IsSameText({block + bit - kBeforeCloserEnd, seam.size()}, seam)) {
                return holdsNul() ? std::string_view::npos : LineBegin(text, position + bit);
            }
            ends.Add(position + bit + 1);
            seamEnd = position + bit + seam.size() - kBeforeCloserEnd;
            unusual &= ~(behindCloser << bit);
            seamGoesOn = behindCloser >> 1U >> (63U - bit);
        }
        firstStart = lineFeeds >> 63U;
    }
    if (holdsNul()) {
        return std::string_view::npos;
    }
    return SkipPlainEntriesByLine(text, std::max(seamEnd, LineBegin(text, position)), separator);
}

// Looks at 32 places at a time: is there a line feed, and the separator a key's length behind it?
std::string_view FindPlainEntry(std::string_view stretch, const char* textEnd, std::string_view key,
                                char separator) {
    const __m128i lineFeed = _mm_set1_epi8('\n');
    const __m128i mark = _mm_set1_epi8(separator);
    const std::size_t distance = key.size() + 1;
    const auto startsIn = [&](const char* bytes) {
        return _mm_and_si128(Is(Load(bytes), lineFeed), Is(Load(bytes + distance), mark));
    };
    const char* at = stretch.data();
    const char* const end = at + stretch.size();
    const auto looked = static_cast<std::ptrdiff_t>(distance + 2 * kPart);  // bytes from a place on
    for (; at < end && textEnd - at >= looked; at += 2 * kPart) {
        std::uint64_t places = Bits(startsIn(at)) | Bits(startsIn(at + kPart)) << kPart;
        for (; places != 0; places &= places - 1) {
            const char* line = at + FirstBit(places) + 1;
            if (line < end && IsSameText({line, key.size()}, key)) {
                const char* value = line + distance;
                return {value,
                        static_cast<std::size_t>(FindByte(value, textEnd, lineFeed) - value)};
            }
        }
    }
    const std::size_t rest = at < end ? static_cast<std::size_t>(end - at) : 0;
    return FindPlainEntryByLine({at, rest}, key, separator);
}

#endif
