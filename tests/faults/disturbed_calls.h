#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tests/fixture/call_observer.h"

// Every call that the library makes to the operating system, counted and disturbed; what it leaves
// open, locked and on the disk.

/// What goes wrong, and at which call.
struct Fault {
    enum class Effect {
        kNone,
        kError,          ///< the call fails with `error`
        kShortTransfer,  ///< a read or write moves a part only; other calls do not count
        kKill,           ///< SIGKILL before the call; in the midst of it for a read or write
    };
    Effect effect = Effect::kNone;
    int error = 0;
    unsigned times = 1;   ///< how many calls in a row are disturbed
    unsigned number = 1;  ///< the first of them, from 1

    static constexpr unsigned kAlways = ~0U;

    std::string Text() const;
};

/// Disturbs the calls of this thread, and of a child that it forks, for as long as it lives.
class DisturbedCalls : public CallObserver {
  public:
    /// Called after each call; what it calls itself is not observed.
    using Observer = std::function<void()>;

    explicit DisturbedCalls(const Fault& fault = {}, Observer observer = {});

    /// Whether any call was disturbed.
    bool IsFaultMet() const { return m_count >= m_fault.number; }
    /// Whether a file was kept from being removed.
    bool HasHinderedRemoval() const { return m_hasHinderedRemoval; }
    /// How many descriptors were opened and not closed.
    int OpenDescriptors() const { return m_descriptors; }
    /// How many times the device's lock was taken and not released.
    int LocksHeld() const { return m_locks; }
    const std::vector<DiskEffect>& Effects() const { return m_effects; }

  private:
    CallFate Before(Call call, std::size_t size) override;
    void After(Call call, bool hasSucceeded) override;
    void Note(const DiskEffect& effect) override { m_effects.push_back(effect); }
    bool IsConcerned(Call call) const;

    Fault m_fault;
    Observer m_observer;
    unsigned m_count = 0;
    bool m_hasHinderedRemoval = false;
    bool m_isToDie = false;
    int m_descriptors = 0;
    int m_locks = 0;
    std::vector<DiskEffect> m_effects;
};
