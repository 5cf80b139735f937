#include "support/process_semaphore.h"

#include <pthread.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "support/system_call.h"

// Every process of the device shares the lock, whatever its user; a device that wants less narrows
// it at build time.
#ifndef RAIKLAIK_LOCK_MODE
#define RAIKLAIK_LOCK_MODE 0666
#endif

namespace {

constexpr int kMostRemovals = 8;

// 32-bit FNV-1a (draft-eastlake-fnv, section 2): the key depends on the text alone, so that an
// update that replaces the named file does not split the lock in two, as ftok(3) would.
key_t KeyOf(const std::string& name) {
    std::uint32_t hash = 2166136261U;
    for (const char byte : name) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619U;
    }
    const auto key = static_cast<key_t>(hash);
    return key == IPC_PRIVATE ? 1 : key;  // IPC_PRIVATE would be a lock shared with nobody
}

// The calling thread, 0 while it is not known. In the room that exists before a thread runs, so that
// its first use takes no memory.
thread_local pid_t callingThread __attribute__((tls_model("initial-exec"))) = 0;

// Whether the child of a fork asks anew. Arranged when the library is loaded, since a fork meanwhile
// would leave the child with a task that nobody ends.
bool isForkWatched = false;

[[gnu::constructor]] void WatchForks() {
    isForkWatched = pthread_atfork(nullptr, nullptr, [] { callingThread = 0; }) == 0;
}

// Every operation needs the thread twice, so the kernel is asked once.
pid_t CallingThread() {
    if (callingThread == 0 || !isForkWatched) {  // GCOVR_EXCL_BR_LINE: only without memory
        callingThread = gettid();
    }
    return callingThread;
}

// The calling thread and the set that it holds.
std::uint64_t Holding(int set) {
    return static_cast<std::uint64_t>(CallingThread()) << 32U | static_cast<std::uint32_t>(set);
}

const char* StepText(int error) {
    switch (error) {
        case ENOSPC:
            return "take (the kernel's limit on semaphores is reached, see kernel.sem)";
        case EACCES:
            return "take (the lock was made for other users)";
        default:
            return "take";
    }
}

[[noreturn]] void ThrowLockFailure(int error, const std::string& name) {
    ThrowSystemFailure(error, "lock " + name, StepText(error));
}

}  // namespace

Semaphore::Semaphore(int number, const char* path)
    : m_name(std::to_string(number) + ":" + path), m_set(-1) {
    Obtain();
}

Semaphore::~Semaphore() = default;

void Semaphore::Obtain() {
    const int set = semget(KeyOf(m_name), 1, IPC_CREAT | RAIKLAIK_LOCK_MODE);
    if (set == -1) {
        ThrowLockFailure(errno, m_name);
    }
    m_set = set;
}

void Semaphore::Lock(bool) {
    // One indivisible step: wait for zero, then add one and have the kernel undo that at exit.
    struct sembuf take[] = {{0, 0, 0}, {0, 1, SEM_UNDO}};
    for (int removals = 0;; ++removals) {
        const int set = m_set;
        if (RetryInterrupted([&] { return semop(set, take, 2); }) == 0) {
            m_held = Holding(set);
            return;
        }
        const bool removed = errno == EIDRM || errno == EINVAL;
        if (!removed || removals == kMostRemovals) {
            ThrowLockFailure(errno, m_name);
        }
        Obtain();
    }
}

void Semaphore::Unlock() noexcept {
    std::uint64_t held = m_held;
    const int set = static_cast<int>(held & 0xffffffffU);
    if (held != Holding(set)) {
        return;
    }
    // Forgotten before the release: the next holder may be another thread on this same handle. Where
    // the set was removed it may be there already, with another set, and is not forgotten.
    (void)m_held.compare_exchange_strong(held, 0);
    struct sembuf release = {0, -1, SEM_UNDO | IPC_NOWAIT};
    // A set that was removed while held has nothing left to release.
    (void)RetryInterrupted([&] { return semop(set, &release, 1); });
}
