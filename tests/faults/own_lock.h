#pragma once

/// Gives this process and its later children a lock of the device of their own, in an IPC namespace
/// of their own, so that other test programs neither wait for them nor hold them up. Where the
/// system does not permit that, they share the lock with everybody, and it works all the same.
/// Made before the service objects.
class OwnLock {
  public:
    OwnLock();
};
