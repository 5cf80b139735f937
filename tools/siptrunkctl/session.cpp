#include "tools/siptrunkctl/session.h"

#include <sys/sem.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <csignal>
#include <cstdlib>

#include "support/process_semaphore.h"
#include "tools/siptrunkctl/device.h"
#include "tools/siptrunkctl/json.h"

namespace {

constexpr key_t kLockKey = static_cast<key_t>(0xef7b2cd0);  // of 43:/bin/ls, see README.md

// Runs as the handler of a signal, where memory cannot be asked for.
void WriteError(std::string_view text) { (void)!write(STDERR_FILENO, text.data(), text.size()); }

// The process that took the lock last, which is the one that holds it; 0 when it cannot be known, as
// when it runs in a container.
int LockHolder() { return std::max(semctl(semget(kLockKey, 0, 0), 0, GETPID), 0); }

extern "C" void GiveUp(int /*signal*/) {
    WriteError("siptrunkctl: lock 43:/bin/ls: ");
    std::array<char, 16> number{};
    const int holder = LockHolder();
    if (holder == 0) {
        WriteError("another process");
    } else {
        WriteError("process ");
        const auto end = std::to_chars(number.data(), number.data() + number.size(), holder);
        WriteError({number.data(), static_cast<std::size_t>(end.ptr - number.data())});
    }
    WriteError(" still holds it after the time of --wait; let it go on, or end it\n");
    _exit(static_cast<int>(ExitCode::kFailed));
}

void StartTimer(double seconds) {
    struct itimerval timer {};
    timer.it_value.tv_sec = static_cast<time_t>(seconds);
    timer.it_value.tv_usec = static_cast<suseconds_t>((seconds - std::floor(seconds)) * 1e6);
    (void)setitimer(ITIMER_REAL, &timer, nullptr);
}

}  // namespace

void WaitForLock(const Arguments& arguments) {
    if (arguments.wait.empty()) {
        return;
    }
    // The lock is taken and given back before anything is looked at, so giving up changes nothing.
    (void)std::signal(SIGALRM, GiveUp);
    StartTimer(std::max(std::strtod(arguments.wait.c_str(), nullptr), 0.001));
    Semaphore lock(43, "/bin/ls");
    lock.Lock(true);
    StartTimer(0);
    lock.Unlock();
}

const std::string& Session::Word(std::size_t place) const {
    static const std::string kNone;
    return place < m_arguments.words.size() ? m_arguments.words[place] : kNone;
}

CSIPTrunkConfig& Session::Service() {
    if (!m_service) {
        m_log = std::make_unique<OperationLog>(m_arguments.logFile);
        WaitForLock(m_arguments);
        m_service = std::make_unique<CSIPTrunkConfig>(&m_log->Logger());
    }
    return *m_service;
}

void Session::ThrowLogged() {
    const std::optional<std::string> cause = m_log->TakeCause();
    if (cause) {
        throw FailureOf(*cause);
    }
}

void Session::Require(bool result, const std::string& otherwise) {
    if (!Checked(result)) {
        throw Failure(ExitCode::kFailed, otherwise);
    }
}

void Session::PrintList(const std::vector<Record>& records, const char* noun) {
    m_output += m_arguments.json ? JsonText(ToJson(records, m_arguments.showSecrets))
                                 : TableText(records, noun, LayoutOf(m_arguments));
}

void Session::PrintOne(const Record& record) {
    m_output += m_arguments.json ? JsonText(ToJson(record, m_arguments.showSecrets))
                                 : PageText(record, LayoutOf(m_arguments));
}

void Session::Confirm(const std::string& text, const Record& record) {
    if (m_arguments.json) {
        m_output += JsonText(ToJson(record, m_arguments.showSecrets));
    } else if (!m_arguments.quiet) {
        m_output += text + "\n";
    }
}

void Session::Flush() {
    WriteAnswer(m_output);
    m_output.clear();
}
