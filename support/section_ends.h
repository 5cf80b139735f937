#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

/// Where the first sections of a text end, so that a walk over it need not search for them again. As
/// many as a device has trunks, and no more memory than that; the ends behind them are searched for.
struct SectionEnds {
    std::size_t count = 0;
    std::uint16_t lengths[4096];  ///< from the end before, or the begin of the text, to each end

    /// Adds the end of the next section. One that is too far off is not kept, nor any behind it.
    void Add(std::size_t end) {
        if (count < std::size(lengths) && end - m_last <= UINT16_MAX) {
            lengths[count++] = static_cast<std::uint16_t>(end - m_last);
            m_last = end;
        }
    }

  private:
    std::size_t m_last = 0;
};
