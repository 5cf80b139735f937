#include "tests/faults/disturbed_calls.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

namespace {

bool IsTransfer(Call call) {
    return call == Call::kRead || call == Call::kWrite || call == Call::kWritev;
}

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
    : CallObserver(true), m_fault(fault), m_observer(std::move(observer)) {}

// Some calls cannot go wrong in some ways, and the library need not bear that.
bool DisturbedCalls::IsConcerned(Call call) const {
    switch (m_fault.effect) {
        case Fault::Effect::kNone:
            return false;
        case Fault::Effect::kShortTransfer:
            return IsTransfer(call);
        case Fault::Effect::kKill:
            return call != Call::kNew;
        case Fault::Effect::kError:
            break;
    }
    // The kernel has set aside what a release needs when the lock was taken (semop(2), SEM_UNDO).
    const bool isRelease = call == Call::kFreeingSemop;
    return call != Call::kNew && (!isRelease || m_fault.error == EINTR);
}

CallFate DisturbedCalls::Before(Call call, std::size_t size) {
    if (!IsConcerned(call)) {
        return {};
    }
    ++m_count;
    if (m_count < m_fault.number || m_count - m_fault.number >= m_fault.times) {
        return {};
    }
    if (m_fault.effect == Fault::Effect::kError) {
        m_hasHinderedRemoval |= call == Call::kUnlinkat;
        return {m_fault.error};
    }
    m_isToDie = m_fault.effect == Fault::Effect::kKill;
    if (m_isToDie && !IsTransfer(call)) {
        (void)raise(SIGKILL);
    }
    // A part of a transfer that makes some progress, and never all of it where that can be helped.
    return {0, (size + 1) / 2};
}

void DisturbedCalls::After(Call call, bool hasSucceeded) {
    if (m_isToDie) {
        (void)raise(SIGKILL);
    }
    if (hasSucceeded) {
        m_descriptors += call == Call::kOpen || call == Call::kOpenat ? 1 : 0;
        m_descriptors -= call == Call::kClose || call == Call::kClosedir ? 1 : 0;
        m_locks += call == Call::kTakingSemop ? 1 : 0;
        m_locks -= call == Call::kFreeingSemop ? 1 : 0;
    }
    if (m_observer && call != Call::kNew) {
        m_observer();
    }
}
