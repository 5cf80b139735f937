#pragma once

#include <cerrno>

#include "tests/faults/disturbed_calls.h"
#include "tests/faults/failing_allocations.h"

// How the functions that stand in place of libc's pass a call on.

/// Makes one call, disturbed or not.
/// @param failure the result of the call when it fails
/// @param make makes the call; told whether it may do only a part of its work
/// @param note called with the watch after a call that succeeded
template <typename Result, typename Make, typename Note>
Result Pass(CallKind kind, Result failure, const Make& make, const Note& note) {
    DisturbedCalls* watch = DisturbedCalls::Current();
    if (watch == nullptr) {
        return make(false);
    }
    const DisturbedCalls::Outcome outcome = watch->Enter(kind);
    Result result = failure;
    if (outcome != DisturbedCalls::Outcome::kFail) {
        result = make(outcome == DisturbedCalls::Outcome::kShorten);
        if (result != failure) {
            const int kept = errno;
            const MemoryForTests memory;
            note(*watch, result);
            errno = kept;
        }
    }
    watch->Leave();
    return result;
}

template <typename Result, typename Make>
Result Pass(CallKind kind, Result failure, const Make& make) {
    return Pass(kind, failure, make, [](DisturbedCalls&, const Result&) {});
}

/// An effect of this kind on an open file.
DiskEffect EffectOn(DiskEffect::Kind kind, int file);
