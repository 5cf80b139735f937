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

template <typename Test>
std::uint64_t Marks(const char* block, Test test) {
    return Bits(test(Load(block))) | Bits(test(Load(block + kPart))) << kPart |
           Bits(test(Load(block + 2 * kPart))) << 2 * kPart |
           Bits(test(Load(block + 3 * kPart))) << 3 * kPart;
}

auto Is(char byte) {
    return [wanted = _mm_set1_epi8(byte)](__m128i part) { return _mm_cmpeq_epi8(part, wanted); };
}

// A blank or a control byte, such as the line feed.
__m128i IsLow(__m128i part) {
    const __m128i blank = _mm_set1_epi8(' ');
    return _mm_cmpeq_epi8(_mm_max_epu8(part, blank), blank);
}

std::size_t FirstBit(std::uint64_t bits) { return static_cast<unsigned>(__builtin_ctzll(bits)); }

// The bits of the block at `block` for the bytes behind a seam.
std::uint64_t BitsBehind(std::size_t seamEnd, std::size_t block) {
    const std::size_t before = std::max(seamEnd, block) - block;
    return before < kBlock ? ~std::uint64_t{0} << before : 0;
}

// Collects the smallest byte of each lane, to find a NUL at the end of the walk.
__m128i Lowest(__m128i before, const char* block) {
    return _mm_min_epu8(
        before, _mm_min_epu8(_mm_min_epu8(Load(block), Load(block + kPart)),
                             _mm_min_epu8(Load(block + 2 * kPart), Load(block + 3 * kPart))));
}

bool HoldsNul(__m128i lowest) { return Bits(Is('\0')(lowest)) != 0; }

// A seam is met at the end of the closer's line, behind a line feed and the closer.
constexpr std::size_t kBeforeCloserEnd = 2;

bool IsSeam(std::string_view text, std::size_t closerEnd, std::string_view seam) {
    return closerEnd >= kBeforeCloserEnd &&
           IsSameText(text.substr(closerEnd - kBeforeCloserEnd, seam.size()), seam);
}

// Keys and values are short: a call of memchr would cost more than the search.
std::size_t FirstOf(std::string_view text, std::size_t position, char one, char other) {
    const auto isOne = Is(one);
    const auto isOther = Is(other);
    for (; text.size() - position >= kPart; position += kPart) {
        const __m128i part = Load(text.data() + position);
        const std::uint64_t places = Bits(_mm_or_si128(isOne(part), isOther(part)));
        if (places != 0) {
            return position + FirstBit(places);
        }
    }
    while (position < text.size() && text[position] != one && text[position] != other) {
        ++position;
    }
    return position;
}

}  // namespace

// Looks at all lines of a block at once. Adding the bits of the line starts to the bits of the key
// bytes carries each start over its key, onto the first byte that ends it; an entry is plain when
// that byte is the separator and not the start itself. A seam has two other ends.
std::size_t SkipPlainLines(std::string_view text, std::size_t position, char separator,
                           std::string_view seam, SectionEnds& ends) {
    const auto isLineFeed = Is('\n');
    const auto isSeparator = Is(separator);
    __m128i lowest = _mm_set1_epi8(' ');
    std::size_t seamEnd = position;  // of the seam that was found last
    std::uint64_t firstStart = 1;    // whether a line starts with the block
    std::uint64_t keyGoesOn = 0;     // whether a key reaches into the block
    for (; text.size() - position >= kBlock; position += kBlock) {
        const char* block = text.data() + position;
        lowest = Lowest(lowest, block);
        const std::uint64_t separators = Marks(block, isSeparator);
        const std::uint64_t lineFeeds = Marks(block, isLineFeed);
        const std::uint64_t keyBytes = ~(separators | Marks(block, IsLow));
        const std::uint64_t starts = (lineFeeds << 1U) | firstStart;
        std::uint64_t carried = 0;
        keyGoesOn = __builtin_add_overflow(keyBytes, starts | keyGoesOn, &carried) ? 1 : 0;
        const std::uint64_t keyEnds = carried & ~keyBytes;
        std::uint64_t unusual = keyEnds & (~separators | starts) & BitsBehind(seamEnd, position);
        while (unusual != 0) {
            const std::size_t place = position + FirstBit(unusual);
            if (!IsSeam(text, place, seam)) {
                return HoldsNul(lowest) ? std::string_view::npos : LineBegin(text, place);
            }
            ends.Add(place + 1);
            seamEnd = place + seam.size() - kBeforeCloserEnd;
            unusual &= BitsBehind(seamEnd, position);
        }
        firstStart = lineFeeds >> 63U;
    }
    if (HoldsNul(lowest)) {
        return std::string_view::npos;
    }
    return SkipPlainEntriesByLine(text, std::max(seamEnd, LineBegin(text, position)), separator);
}

// Looks at 32 places at a time: is there a line feed, and the separator a key's length behind it?
std::string_view FindPlainEntry(std::string_view text, std::size_t begin, std::size_t end,
                                std::string_view key, char separator) {
    const auto isLineFeed = Is('\n');
    const auto isSeparator = Is(separator);
    const std::size_t distance = key.size() + 1;
    const auto startsIn = [&](const char* bytes) {
        return _mm_and_si128(isLineFeed(Load(bytes)), isSeparator(Load(bytes + distance)));
    };
    for (; begin < end && text.size() - begin >= distance + 2 * kPart; begin += 2 * kPart) {
        const __m128i first = startsIn(text.data() + begin);
        const __m128i second = startsIn(text.data() + begin + kPart);
        if (Bits(_mm_or_si128(first, second)) == 0) {
            continue;
        }
        std::uint64_t places = Bits(first) | Bits(second) << kPart;
        for (; places != 0; places &= places - 1) {
            const std::size_t line = begin + FirstBit(places) + 1;
            if (line < end && IsSameText(text.substr(line, key.size()), key) &&
                FirstOf(text, line, separator, '\n') == line + key.size()) {
                const std::size_t value = line + distance;
                return text.substr(value, FirstOf(text, value, '\n', '\n') - value);
            }
        }
    }
    return FindPlainEntryByLine(text, begin, end, key, separator);
}

#endif
