#include "support/process_semaphore.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/syscall.h>
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

// The kernel is asked each time, so that the child of a fork, made by whatever call, does not take
// itself for the thread that forked. glibc before 2.30 has no gettid().
pid_t CallingThread() { return static_cast<pid_t>(syscall(SYS_gettid)); }

const char* StepText(int error) {
    switch (error) {
        case ENOSPC:
            return "take (the kernel's limit on semaphores is reached, see kernel.sem)";
        case EACCES:
            return "take (the lock was made for other users)";
        case EDEADLK:
            return "take (this thread holds it already)";
        default:
            return "take";
    }
}

[[noreturn]] void ThrowLockFailure(int error, const std::string& name) {
    support::ThrowSystemFailure(error, "lock " + name, StepText(error));
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
    const pid_t thread = CallingThread();
    if (m_holder == thread) {
        ThrowLockFailure(EDEADLK, m_name);
    }
    // One indivisible step: wait for zero, then add one and have the kernel undo that at exit.
    struct sembuf take[] = {{0, 0, 0}, {0, 1, SEM_UNDO}};
    for (int removals = 0;; ++removals) {
        const int set = m_set;
        if (support::RetryInterrupted([&] { return semop(set, take, 2); }) == 0) {
            m_holder = thread;  // before the set, see Unlock
            m_heldSet = set;
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
    // When somebody removes the set while it is held (ipcrm), another thread may take a new set by
    // this handle at any moment. Lock writes m_holder, then m_heldSet: a thread that reads them in
    // the other order and finds itself has read its own set, never the new one.
    const int set = m_heldSet;
    pid_t thread = CallingThread();
    if (m_holder != thread) {
        return;
    }
    struct sembuf release = {0, -1, SEM_UNDO | IPC_NOWAIT};  // cancels the undo of Lock
    (void)support::RetryInterrupted([&] { return semop(set, &release, 1); });
    // Forgotten after the release, so that a signal handler in between does not wait for this
    // thread. By now the next holder may be another thread on this same handle: it is not
    // forgotten.
    (void)m_holder.compare_exchange_strong(thread, 0);
}
