#pragma once

#include <cstdint>
#include <exception>

#include "src/foundation/database_syntax.h"
#include "src/foundation/trace.h"
#include "support/postponed_cancellation.h"
#include "support/process_semaphore.h"
#include "support/smart_buffer.h"

// The frame that every operation on the device's files runs in. Its promises:
// 1. The work runs under the lock of the device, and what it makes is gone before the lock goes;
//    but CheckTrunk keeps its copy until the lock is free.
// 2. The lock is free again on every way out: result, failure, or an exception of another family.
// 3. A std::exception, also one from the lock or the buffer, becomes the operation's failure value
//    and one ERROR line, which is written without the lock.

namespace raiklaik {

/// Where the values that an operation reads are put.
struct ValueBuffer {
    char* text;
    unsigned int capacity;  ///< in bytes, the NUL included
};

/// A value buffer on the stack: no allocation that could fail, at the price of 1 KiB of the
/// caller's stack. Whether an operation uses this or a SmartBuffer is part of what it promises.
struct LocalBuffer {
    char m_data[kValueCapacity] = "";
    std::uint32_t m_capacity = sizeof(m_data);
};

class HeldLock {
  public:
    explicit HeldLock(Semaphore& semaphore) : m_semaphore(semaphore) {
        m_semaphore.Lock(true);  // GCOVR_EXCL_BR_LINE: unwinding, in a copy that the linker dropped
    }
    ~HeldLock() { m_semaphore.Unlock(); }
    HeldLock(const HeldLock&) = delete;
    HeldLock& operator=(const HeldLock&) = delete;

  private:
    const support::PostponedCancellation m_postponed;
    Semaphore& m_semaphore;
};

/// Runs the work of one operation.
/// @tparam Buffer SmartBuffer or LocalBuffer
/// @param onFailure the operation's result when a std::exception ended the work
/// @param work called with a ValueBuffer; opens the file it needs; its result is the operation's
template <typename Buffer, typename Result, typename Work>
Result RunLocked(Semaphore& semaphore, CSIPTrunkLogger* logger, Result onFailure,
                 const Work& work) {
    try {
        Buffer buffer;
        const HeldLock lock(semaphore);
        return work(ValueBuffer{buffer.m_data, buffer.m_capacity});
    } catch (const std::exception& failure) {
        TraceError(logger, failure.what());  // unwinding has already released the lock
        return onFailure;
    }
}

}  // namespace raiklaik
