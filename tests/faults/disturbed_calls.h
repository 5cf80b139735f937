#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// Every call that the library makes to the operating system, seen, counted and disturbed. The test
// program defines these functions in place of libc's and hands each call on that no test disturbs.

enum class CallKind {
    kOpen,
    kClose,  // one that is made to fail does close, as on Linux
    kRead,
    kWrite,
    kStatus,
    kChangeOwner,
    kChangeMode,
    kChangeList,
    kTruncate,
    kSync,
    kRename,
    kRemove,
    kResolve,
    kListFolder,
    kObtainLock,
    kTakeLock,
    kReleaseLock,
};

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

/// Something that a call did to the disk, as a file system would have to remember it.
struct DiskEffect {
    enum class Kind {
        kCreate,
        kWrite,
        kTruncate,
        kOwner,
        kMode,
        kAccessList,
        kSync,
        kRename,
        kRemove
    };
    Kind kind;
    ino_t inode = 0;   ///< what was changed, or synced: a file or a folder
    ino_t folder = 0;  ///< where the entry `name` was made or removed, or was before a rename
    std::string name{};
    ino_t newFolder = 0;  ///< where the entry is after a rename
    std::string newName{};
    std::string bytes{};  ///< what was written; the access list
    off_t offset = 0;     ///< where it was written; the new size of a truncation
    mode_t mode = 0;
    uid_t user = 0;
    gid_t group = 0;
};

/// Watches and disturbs the calls of this thread, and of a child that it forks, from its making to
/// its end. One at a time.
class DisturbedCalls {
  public:
    /// Called after each call; what it calls itself is not watched.
    using Observer = std::function<void()>;

    explicit DisturbedCalls(const Fault& fault = {}, Observer observer = {});
    ~DisturbedCalls();
    DisturbedCalls(const DisturbedCalls&) = delete;
    DisturbedCalls& operator=(const DisturbedCalls&) = delete;

    /// Whether any call was disturbed.
    bool IsFaultMet() const { return m_disturbed != 0; }
    /// Whether a call of this kind was made to fail.
    bool HasDisturbed(CallKind kind) const { return (m_disturbed & Bit(kind)) != 0; }
    /// How many descriptors were opened and not closed.
    int OpenDescriptors() const { return m_descriptors; }
    /// How many times the device's lock was taken and not released.
    int LocksHeld() const { return m_locks; }
    const std::vector<DiskEffect>& Effects() const { return m_effects; }

    // For the replaced functions.

    enum class Outcome { kMake, kFail, kShorten };
    /// Counts a call and tells what becomes of it; sets errno for kFail.
    Outcome Enter(CallKind kind);
    /// Takes note of a call that is over, and kills the process if it was to die in its midst.
    void Leave();
    void AddDescriptors(int count) { m_descriptors += count; }
    void AddLocks(int count) { m_locks += count; }
    void AddEffect(DiskEffect effect) { m_effects.push_back(std::move(effect)); }
    /// The watch of this thread; null when there is none, or in the observer.
    static DisturbedCalls* Current();

  private:
    static std::uint32_t Bit(CallKind kind) { return 1U << static_cast<unsigned>(kind); }
    bool IsConcerned(CallKind kind) const;

    Fault m_fault;
    Observer m_observer;
    unsigned m_count = 0;
    std::uint32_t m_disturbed = 0;
    bool m_isToDie = false;
    int m_descriptors = 0;
    int m_locks = 0;
    std::vector<DiskEffect> m_effects;
};
