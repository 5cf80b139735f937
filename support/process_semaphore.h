#pragma once

#include <sys/types.h>

#include <atomic>
#include <string>

/// A lock that all processes of the device share.
///
/// Objects made with the same number and path, in whatever process, are handles on one lock. The
/// kernel frees the lock of a process that dies, however it dies; one that calls exec instead holds
/// it until its new program ends (semop(2)). Not re-entrant: a thread that locks one handle twice
/// gets a failure; by two handles it would wait for itself for ever. All members may be called from
/// any thread.
///
/// It is a System V semaphore set of one: 0 is free, 1 is held. A new set is born with 0 (Linux,
/// semget(2)), and one semop takes the lock, so no process ever sees it half made. The set is never
/// removed, for other processes use it. Processes in another IPC namespace (containers) have
/// another lock.
class Semaphore {
  public:
    /// Finds the pair's lock in the system, or makes it; does not take it.
    /// @param number,path together the lock's identity; the path is a name only and is never opened
    ///
    /// Throws std::system_error, whose text names the lock and the cause, when the kernel refuses.
    Semaphore(int number, const char* path);
    /// Gives up the handle; the lock itself stays in the system.
    ~Semaphore();
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    /// Blocks until this handle holds the lock, through any number of signals. A set that somebody
    /// removed in the meantime is obtained again.
    /// The argument is not used: it always waits.
    /// Throws std::system_error, without the lock, when the kernel refuses; also, with EDEADLK,
    /// when the calling thread has the lock by this handle already, as in a signal handler; it
    /// keeps it. A handler that runs after the kernel has given the lock and before this object has
    /// noted it would wait for its own thread: handlers should not lock.
    void Lock(bool);

    /// Releases the lock that the calling thread took through this handle. Does nothing when there
    /// is none, as in the child of a fork, and never releases what another holder has. Never
    /// throws.
    void Unlock() noexcept;

  private:
    void Obtain();

    std::string m_name;              // "NUMBER:PATH"
    std::atomic<int> m_set;          // the set's identifier; another one after a removal
    std::atomic<pid_t> m_holder{0};  // the thread that holds the lock by this handle, 0 for none
    std::atomic<int> m_heldSet{-1};  // the set that it holds
};
