#pragma once

#include <cstdint>

/// Stops the clock that the library reads at one moment for as long as the object lives.
class StoppedClock {
  public:
    explicit StoppedClock(std::int64_t seconds);
    ~StoppedClock();
    StoppedClock(const StoppedClock&) = delete;
    StoppedClock& operator=(const StoppedClock&) = delete;
};
