#include "support/plain_entries.h"

#include <cstdint>
#include <cstring>

#include "support/line_scanner.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

bool IsPlainEntry(std::string_view line, char separator) {
    std::size_t keyEnd = 0;
    while (keyEnd < line.size() && static_cast<unsigned char>(line[keyEnd]) > ' ' &&
           line[keyEnd] != separator) {
        ++keyEnd;
    }
    return keyEnd > 0 && keyEnd < line.size() && line[keyEnd] == separator &&
           std::memchr(line.data(), '\0', line.size()) == nullptr;
}

std::size_t SkipLineByLine(std::string_view text, std::size_t position, char separator) {
    LineScanner lines(text, position);
    while (lines.Next()) {
        if (!IsPlainEntry(lines.Line(), separator)) {
            return lines.Begin();
        }
    }
    return text.size();
}

// Of the line that holds `begin`, only the rest is looked at, and that is no entry.
std::string_view FindLineByLine(std::string_view text, std::size_t begin, std::string_view key,
                                char separator) {
    LineScanner lines(text, begin);
    (void)lines.Next();
    while (lines.Next()) {
        const std::string_view line = lines.Line();
        if (line.substr(0, key.size()) == key && line.find(separator) == key.size()) {
            return line.substr(key.size() + 1);
        }
    }
    return {};
}

#if defined(__SSE2__)

constexpr std::size_t kBlock = 64;

// What stands where in a block: bit i tells of byte i.
struct BlockMarks {
    std::uint64_t lineFeeds;
    std::uint64_t separators;
    std::uint64_t low;  // blanks and control bytes, line feeds among them
};

template <typename Test>
std::uint64_t MarkBytes(const __m128i (&bytes)[4], const Test& test) {
    const auto bits = [&](int i) {
        return static_cast<std::uint64_t>(_mm_movemask_epi8(test(bytes[i])));
    };
    return bits(0) | bits(1) << 16U | bits(2) << 32U | bits(3) << 48U;
}

__m128i Load(const char* bytes) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)); }

// `lowest` collects the smallest byte of each lane, to find a NUL at the end of the walk.
BlockMarks MarkBlock(const char* block, __m128i separator, __m128i& lowest) {
    const __m128i lineFeed = _mm_set1_epi8('\n');
    const __m128i blank = _mm_set1_epi8(' ');
    const __m128i bytes[] = {Load(block), Load(block + 16), Load(block + 32), Load(block + 48)};
    lowest = _mm_min_epu8(
        lowest, _mm_min_epu8(_mm_min_epu8(bytes[0], bytes[1]), _mm_min_epu8(bytes[2], bytes[3])));
    return {MarkBytes(bytes, [&](__m128i part) { return _mm_cmpeq_epi8(part, lineFeed); }),
            MarkBytes(bytes, [&](__m128i part) { return _mm_cmpeq_epi8(part, separator); }),
            MarkBytes(bytes, [&](__m128i part) {
                return _mm_cmpeq_epi8(_mm_max_epu8(part, blank), blank);
            })};
}

bool HoldsNul(__m128i lowest) {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(lowest, _mm_setzero_si128())) != 0;
}

#endif

}  // namespace

#if defined(__SSE2__)

// Looks at 64 bytes at a time, all their lines at once. Adding the bits of the line starts to the
// bits of the key bytes carries each start over its key, onto the first byte that ends it; an entry
// is plain when that byte is the separator and not the start itself.
std::size_t SkipPlainEntries(std::string_view text, std::size_t position, char separator) {
    const std::size_t begin = position;
    const __m128i separators = _mm_set1_epi8(separator);
    __m128i lowest = _mm_set1_epi8(' ');
    std::size_t lineStart = position;  // of the line that the block ends in
    std::uint64_t firstStart = 1;      // whether a line starts with the block
    std::uint64_t keyGoesOn = 0;       // whether a key reaches into the block
    for (; text.size() - position >= kBlock; position += kBlock) {
        const BlockMarks marks = MarkBlock(text.data() + position, separators, lowest);
        const std::uint64_t keyBytes = ~(marks.separators | marks.low);
        const std::uint64_t starts = (marks.lineFeeds << 1U) | firstStart;
        std::uint64_t carried = 0;
        keyGoesOn = __builtin_add_overflow(keyBytes, starts | keyGoesOn, &carried) ? 1 : 0;
        const std::uint64_t keyEnds = carried & ~keyBytes;
        const std::uint64_t unusual = keyEnds & (~marks.separators | starts);
        // The starts up to the first unusual end; all of them when there is none.
        const std::uint64_t passed = starts & (unusual ^ (unusual - 1));
        if (passed != 0) {
            lineStart = position + 63U - static_cast<unsigned int>(__builtin_clzll(passed));
        }
        if (unusual != 0) {
            return HoldsNul(lowest) ? SkipLineByLine(text, begin, separator) : lineStart;
        }
        firstStart = marks.lineFeeds >> 63U;
    }
    return SkipLineByLine(text, HoldsNul(lowest) ? begin : lineStart, separator);
}

// Keys and values are short: a call of memchr would cost more than the search.
std::size_t FirstOf(std::string_view text, std::size_t position, char one, char other) {
    const __m128i ones = _mm_set1_epi8(one);
    const __m128i others = _mm_set1_epi8(other);
    for (; text.size() - position >= sizeof(__m128i); position += sizeof(__m128i)) {
        const __m128i bytes = Load(text.data() + position);
        const auto places = static_cast<unsigned int>(_mm_movemask_epi8(
            _mm_or_si128(_mm_cmpeq_epi8(bytes, ones), _mm_cmpeq_epi8(bytes, others))));
        if (places != 0) {
            return position + static_cast<unsigned int>(__builtin_ctz(places));
        }
    }
    while (position < text.size() && text[position] != one && text[position] != other) {
        ++position;
    }
    return position;
}

// Looks at 16 places at a time: is there a line feed, and the separator a key's length behind it?
std::string_view FindPlainEntry(std::string_view text, std::size_t begin, std::size_t end,
                                std::string_view key, char separator) {
    const __m128i lineFeed = _mm_set1_epi8('\n');
    const __m128i separators = _mm_set1_epi8(separator);
    const std::size_t distance = key.size() + 1;
    for (; begin < end && text.size() - begin >= distance + sizeof(__m128i);
         begin += sizeof(__m128i)) {
        const __m128i lineEnds = _mm_cmpeq_epi8(Load(text.data() + begin), lineFeed);
        const __m128i keyEnds = _mm_cmpeq_epi8(Load(text.data() + begin + distance), separators);
        auto places =
            static_cast<unsigned int>(_mm_movemask_epi8(_mm_and_si128(lineEnds, keyEnds)));
        for (; places != 0; places &= places - 1) {
            const std::size_t line = begin + static_cast<unsigned int>(__builtin_ctz(places)) + 1;
            if (line < end && std::memcmp(text.data() + line, key.data(), key.size()) == 0 &&
                FirstOf(text, line, separator, '\n') == line + key.size()) {
                const std::size_t value = line + distance;
                return text.substr(value, FirstOf(text, value, '\n', '\n') - value);
            }
        }
    }
    return FindLineByLine(text.substr(0, end), begin, key, separator);
}

#else

std::size_t SkipPlainEntries(std::string_view text, std::size_t position, char separator) {
    return SkipLineByLine(text, position, separator);
}

std::string_view FindPlainEntry(std::string_view text, std::size_t begin, std::size_t end,
                                std::string_view key, char separator) {
    return FindLineByLine(text.substr(0, end), begin, key, separator);
}

#endif
