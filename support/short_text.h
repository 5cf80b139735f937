#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// Keys and values have a few bytes: a call of memcmp or memcpy would cost more than its work. And what
// has been copied just now is read with the widths that it was written with, lest the processor wait.

/// Whether the words at an offset of two texts are the same. They lie inside of the texts.
template <typename Word>
bool IsSameWord(std::string_view one, std::string_view other, std::size_t offset) noexcept {
    Word word = 0;
    Word otherWord = 0;
    std::memcpy(&word, one.data() + offset, sizeof(Word));
    std::memcpy(&otherWord, other.data() + offset, sizeof(Word));
    return word == otherWord;
}

/// Whether two texts are the same; from the end on, since keys often differ there only.
inline bool IsSameText(std::string_view one, std::string_view other) noexcept {
    std::size_t rest = one.size();
    if (rest != other.size()) {
        return false;
    }
    if (rest >= sizeof(std::uint64_t)) {
        for (; rest > sizeof(std::uint64_t); rest -= sizeof(std::uint64_t)) {
            if (!IsSameWord<std::uint64_t>(one, other, rest - sizeof(std::uint64_t))) {
                return false;
            }
        }
        return IsSameWord<std::uint64_t>(one, other, 0);
    }
    if (rest >= sizeof(std::uint32_t)) {
        return IsSameWord<std::uint32_t>(one, other, rest - sizeof(std::uint32_t)) &&
               IsSameWord<std::uint32_t>(one, other, 0);
    }
    return rest == 0 || (one.back() == other.back() && one[rest / 2] == other[rest / 2] &&
                         one.front() == other.front());
}

/// Copies the words at an offset. They lie inside of the text and of its room.
template <typename Word>
void CopyWord(std::string_view text, char* target, std::size_t offset) {
    Word word = 0;
    std::memcpy(&word, text.data() + offset, sizeof(Word));
    std::memcpy(target + offset, &word, sizeof(Word));
}

/// Copies a text. `target` has room for it and does not overlap it.
inline void CopyText(std::string_view text, char* target) {
    const std::size_t size = text.size();
    if (size > 2 * sizeof(std::uint64_t)) {
        text.copy(target, size);
    } else if (size >= sizeof(std::uint64_t)) {
        CopyWord<std::uint64_t>(text, target, 0);
        CopyWord<std::uint64_t>(text, target, size - sizeof(std::uint64_t));
    } else if (size >= sizeof(std::uint32_t)) {
        CopyWord<std::uint32_t>(text, target, 0);
        CopyWord<std::uint32_t>(text, target, size - sizeof(std::uint32_t));
    } else if (size > 0) {
        target[0] = text.front();
        target[size / 2] = text[size / 2];
        target[size - 1] = text.back();
    }
}
