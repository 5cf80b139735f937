#include "tools/siptrunkctl/device/lock.h"

#include <sys/sem.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <fstream>

#include "support/system_call.h"
#include "tools/siptrunkctl/view/failure.h"
#include "tools/siptrunkctl/view/output.h"
#include "tools/siptrunkctl/view/text.h"

namespace {

constexpr double kNoteAfter = 2;  // seconds

// A missing set was never locked.
int LockSet() { return semget(static_cast<key_t>(raiklaik::device_lock::kKey), 0, 0); }

// Returns whether the lock is free within some seconds, counted anew when the process was stopped
// meanwhile. One that cannot be looked at counts as free: whoever takes it then learns why.
bool IsFreeWithin(double seconds) {
    struct timespec time {};
    time.tv_sec = static_cast<time_t>(seconds);
    time.tv_nsec = static_cast<long>((seconds - std::floor(seconds)) * 1e9);
    struct sembuf whenFree = {0, 0, 0};
    const int result =
        support::RetryInterrupted([&] { return semtimedop(LockSet(), &whenFree, 1, &time); });
    return result == 0 || errno != EAGAIN;
}

// The process that took the lock last is the one that holds it; it cannot be known when it runs in
// a container.
std::string Holder() {
    const int holder = semctl(LockSet(), 0, GETPID);
    if (holder <= 0) {
        return "another process";
    }
    const std::string process = "process " + std::to_string(holder);
    std::string name;
    std::getline(std::ifstream("/proc/" + std::to_string(holder) + "/comm"), name);
    return name.empty() ? process : process + " (" + Printable(name) + ")";
}

}  // namespace

void WaitForLock(double limit) {
    const bool isLimited = limit >= 0;
    double waited = 0;
    if (isatty(STDERR_FILENO) == 1 && (!isLimited || limit > kNoteAfter)) {
        if (IsFreeWithin(kNoteAfter)) {
            return;
        }
        Tell("waiting for the device's lock, which " + Holder() + " holds");
        waited = kNoteAfter;
    }
    if (isLimited && !IsFreeWithin(limit - waited)) {
        throw Failure("the device's lock is still held by " + Holder() +
                      " after the time of --wait; let it go on, or end it");
    }
}
