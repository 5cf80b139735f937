#pragma once

#include <mutex>

/// Mutual exclusion between the threads of one process. Not re-entrant.
class ThreadMutex {
  public:
    /// Makes a mutex that no thread holds.
    ThreadMutex();
    /// No thread may hold the mutex any more.
    ~ThreadMutex();
    ThreadMutex(const ThreadMutex&) = delete;
    ThreadMutex& operator=(const ThreadMutex&) = delete;

    /// Blocks until the calling thread holds the mutex. Throws std::system_error when the system
    /// cannot lock it.
    void Lock();
    /// Releases the mutex; only the thread that holds it may call this.
    void Unlock();

  private:
    std::mutex m_mutex;
};
