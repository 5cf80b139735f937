#include <sys/sem.h>

#include "tests/faults/pass_call.h"
#include "tests/faults/replaced_function.h"

// What stands in place of libc's functions for the lock of the device.

REPLACEMENT(semget, int, (key_t key, int size, int flags)) {
    return Pass(CallKind::kObtainLock, -1, [&](bool) { return REAL(semget)(key, size, flags); });
}

REPLACEMENT(semop, int, (int set, struct sembuf* steps, size_t count)) {
    const int change = steps[count - 1].sem_op;
    const CallKind kind = change > 0 ? CallKind::kTakeLock : CallKind::kReleaseLock;
    return Pass(
        kind, -1, [&](bool) { return REAL(semop)(set, steps, count); },
        [&](DisturbedCalls& watch, int) { watch.AddLocks(change); });
}
