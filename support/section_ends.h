#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

/// Where the first sections of a text end, so that a walk over it need not search for them again. As
/// many as a device has trunks, and no more memory than that; the ends behind them are searched for.
struct SectionEnds {
    std::size_t count = 0;
    std::uint32_t offsets[1024];

    void Add(std::size_t end) {
        if (count < std::size(offsets) && end <= UINT32_MAX) {
            offsets[count++] = static_cast<std::uint32_t>(end);
        }
    }
};
