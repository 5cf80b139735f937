#pragma once

#include "src/foundation/database_syntax.h"
#include "support/process_semaphore.h"

/// The time that a command waits for the device's lock when nothing limits it.
constexpr double kForEver = -1;

/// Waits until the device's lock is free, and leaves it so. After two seconds it says on a terminal
/// whom it waits for.
/// @param limit seconds, after which it throws a Failure; kForEver for none
void WaitForLock(double limit);

/// The device's lock, held for as long as the object lives.
class DeviceLock {
  public:
    DeviceLock() { m_lock.Lock(true); }
    ~DeviceLock() { m_lock.Unlock(); }
    DeviceLock(const DeviceLock&) = delete;
    DeviceLock& operator=(const DeviceLock&) = delete;

  private:
    Semaphore m_lock{raiklaik::device_lock::kNumber, raiklaik::device_lock::kPath};
};
