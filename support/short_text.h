#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

/// Whether two texts are the same. For keys and values: they have a few bytes, often differ at their
/// ends only, and may have been copied just now, so that memcmp, which reads wider than memcpy wrote,
/// would wait for them.
inline bool IsSameText(std::string_view one, std::string_view other) {
    const auto word = [](const char* bytes) {
        std::uint64_t value = 0;
        std::memcpy(&value, bytes, sizeof(value));
        return value;
    };
    std::size_t rest = one.size();
    if (rest != other.size()) {
        return false;
    }
    if (rest < sizeof(std::uint64_t)) {
        while (rest > 0 && one[rest - 1] == other[rest - 1]) {
            --rest;
        }
        return rest == 0;
    }
    for (; rest > sizeof(std::uint64_t); rest -= sizeof(std::uint64_t)) {
        const std::size_t at = rest - sizeof(std::uint64_t);
        if (word(one.data() + at) != word(other.data() + at)) {
            return false;
        }
    }
    return word(one.data()) == word(other.data());
}
