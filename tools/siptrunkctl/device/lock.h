#pragma once

#include "support/process_semaphore.h"

/// The time that a command waits for the device's lock when nothing limits it.
constexpr double kForEver = -1;

/// Waits until the device's lock is free. On a terminal it says after two seconds whom it waits
/// for.
/// @param limit seconds, after which the process ends with a message; kForEver for none
void WaitForLock(double limit);

/// The device's lock, held for as long as the object lives.
class DeviceLock {
  public:
    DeviceLock();
    ~DeviceLock() { m_lock.Unlock(); }
    DeviceLock(const DeviceLock&) = delete;
    DeviceLock& operator=(const DeviceLock&) = delete;

  private:
    Semaphore m_lock;
};
