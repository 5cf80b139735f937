#include "tests/faults/disturbed_calls.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

namespace {

// Plain types without constructors, so that a call during the program's start finds them ready.
thread_local DisturbedCalls* current = nullptr;
thread_local bool isObserving = false;

bool IsTransfer(CallKind kind) { return kind == CallKind::kRead || kind == CallKind::kWrite; }

}  // namespace

std::string Fault::Text() const {
    std::string text;
    switch (effect) {
        case Effect::kNone:
            return "nothing";
        case Effect::kError:
            text = std::strerror(error);
            break;
        case Effect::kShortTransfer:
            text = "short transfer";
            break;
        case Effect::kKill:
            text = "kill";
            break;
    }
    return text + " at call " + std::to_string(number) + (times > 1 ? " and later ones" : "");
}

DisturbedCalls::DisturbedCalls(const Fault& fault, Observer observer)
    : m_fault(fault), m_observer(std::move(observer)) {
    current = this;
}

DisturbedCalls::~DisturbedCalls() { current = nullptr; }

DisturbedCalls* DisturbedCalls::Current() { return isObserving ? nullptr : current; }

// Some calls cannot go wrong in some ways, and the library need not bear that.
bool DisturbedCalls::IsConcerned(CallKind kind) const {
    switch (m_fault.effect) {
        case Fault::Effect::kNone:
            return false;
        case Fault::Effect::kShortTransfer:
            return IsTransfer(kind);
        case Fault::Effect::kKill:
            return true;
        case Fault::Effect::kError:
            break;
    }
    // The kernel has set aside what a release needs when the lock was taken (semop(2), SEM_UNDO).
    return kind != CallKind::kReleaseLock || m_fault.error == EINTR;
}

DisturbedCalls::Outcome DisturbedCalls::Enter(CallKind kind) {
    if (!IsConcerned(kind)) {
        return Outcome::kMake;
    }
    ++m_count;
    if (m_count < m_fault.number || m_count - m_fault.number >= m_fault.times) {
        return Outcome::kMake;
    }
    m_disturbed |= Bit(kind);
    switch (m_fault.effect) {
        case Fault::Effect::kError:
            errno = m_fault.error;
            return Outcome::kFail;
        case Fault::Effect::kKill:
            if (!IsTransfer(kind)) {
                (void)raise(SIGKILL);
            }
            m_isToDie = true;
            break;
        default:
            break;
    }
    return Outcome::kShorten;
}

void DisturbedCalls::Leave() {
    if (m_isToDie) {
        (void)raise(SIGKILL);
    }
    if (m_observer) {
        const int kept = errno;
        isObserving = true;
        m_observer();
        isObserving = false;
        errno = kept;
    }
}
