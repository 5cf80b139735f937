#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

#if defined(__ARM_FEATURE_SIMD32)
#include <arm_acle.h>
#endif

// Texts are read one machine word at a time. All that differs between processors stands here.
// Those that are not named go byte by byte, as those must that are big-endian or load words from
// aligned addresses only.

#if !defined(RAIKLAIK_WORD_BITS)  // tests set it, to see every kind of step
#if defined(__x86_64__) || (defined(__aarch64__) && defined(__AARCH64EL__))
#define RAIKLAIK_WORD_BITS 64
#elif defined(__i386__) || (defined(__ARM_FEATURE_UNALIGNED) && defined(__ARMEL__))
#define RAIKLAIK_WORD_BITS 32
#else
#define RAIKLAIK_WORD_BITS 8
#endif
#endif

namespace support {

#if RAIKLAIK_WORD_BITS == 64
using Word = std::uint64_t;
#elif RAIKLAIK_WORD_BITS == 32
using Word = std::uint32_t;
#else
using Word = std::uint8_t;
#endif

inline Word WordAt(const char* bytes) {
    Word word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

/// Finds bytes at or below a limit, which is an ASCII character.
class ByteLimit {
  public:
    constexpr explicit ByteLimit(char limit)
        : m_above(static_cast<Word>(kOnes * (static_cast<unsigned char>(limit) + 1U))) {}

    /// Returns the first byte from `at` on that is at or below the limit. There must be one, and
    /// after it a word's size of bytes, which may be read as well.
    const char* First(const char* at) const noexcept {
        Word hits = Hits(WordAt(at));
        while (hits == 0) {
            at += sizeof(Word);
            hits = Hits(WordAt(at));
        }
        const int bit = sizeof(Word) > 4 ? __builtin_ctzll(hits)
                                         : __builtin_ctz(static_cast<std::uint32_t>(hits));
        return at + static_cast<unsigned>(bit) / 8;
    }

  private:
    static constexpr Word kOnes = static_cast<Word>(~Word{0}) / 255;  // 0x01...01

    // The lowest bit that is set is in the first byte at or below the limit; 0 without such a byte.
    Word Hits(Word word) const {
#if defined(__ARM_FEATURE_SIMD32) && RAIKLAIK_WORD_BITS == 32
        return __uqsub8(m_above, word);  // 0 for each byte above the limit
#else
        // The subtraction sets the top bit of each byte below m_above's, unless it was set before.
        // It may set those of later bytes too, by borrowing from them; only the first one counts.
        return static_cast<Word>((word - m_above) & ~word & (kOnes * 0x80U));
#endif
    }

    Word m_above;  // the smallest byte above the limit, in each byte
};

/// Returns the first line feed or NUL from `at` on, and passes over other control bytes, such as
/// tabs. There must be one, and after it a word's size of bytes.
inline const char* LineEnd(const char* at) {
    constexpr ByteLimit kControl('\n');
    for (;; ++at) {
        at = kControl.First(at);
        if (__builtin_expect(*at == '\n', true) || *at == '\0') {
            return at;
        }
    }
}

/// Tells whether two texts are the same. For short ones, where the call of memcmp would cost more
/// than the comparison.
inline bool IsSame(std::string_view one, std::string_view other) {
    if (one.size() != other.size()) {
        return false;
    }
    std::size_t rest = one.size();
    while (rest > sizeof(Word)) {  // from the end on, since keys often differ there only
        rest -= sizeof(Word);
        if (WordAt(one.data() + rest) != WordAt(other.data() + rest)) {
            return false;
        }
    }
    if (one.size() >= sizeof(Word)) {
        return WordAt(one.data()) == WordAt(other.data());
    }
    while (rest > 0 && one[rest - 1] == other[rest - 1]) {
        --rest;
    }
    return rest == 0;
}

}  // namespace support
