#include "tools/siptrunkctl/device/lock.h"

#include <fcntl.h>
#include <sys/sem.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <csignal>
#include <cstring>
#include <string_view>

#include "src/foundation/database_syntax.h"
#include "tools/siptrunkctl/view/failure.h"
#include "tools/siptrunkctl/view/output.h"

using namespace raiklaik;

namespace {

constexpr double kNoteAfter = 2;  // seconds
volatile std::sig_atomic_t g_isNoteNext = 0;

/// A short text in memory of its own: the handler of a signal may not ask for any.
class ShortText {
  public:
    ShortText& operator<<(std::string_view text) {
        const std::size_t count = std::min(text.size(), m_text.size() - m_size);
        std::copy_n(text.data(), count, m_text.data() + m_size);
        m_size += count;
        return *this;
    }
    ShortText& operator<<(int number) {
        std::array<char, 16> digits{};
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number);
        return *this << std::string_view(digits.data(),
                                         static_cast<std::size_t>(end.ptr - digits.data()));
    }
    const char* NulEnded() {
        m_text.at(std::min(m_size, m_text.size() - 1)) = '\0';
        return m_text.data();
    }
    std::string_view View() const { return {m_text.data(), m_size}; }

  private:
    std::array<char, 256> m_text{};
    std::size_t m_size = 0;
};

// Adds the name of a process, " (sip-agent)"; a byte that could play with a terminal shows as "?".
void AppendProcessName(ShortText& text, int process) {
    ShortText path;
    path << "/proc/" << process << "/comm";
    const int file = open(path.NulEnded(), O_RDONLY | O_CLOEXEC);
    if (file == -1) {
        return;
    }
    std::array<char, 32> name{};
    const ssize_t size = read(file, name.data(), name.size());
    (void)close(file);
    if (size > 1) {
        std::replace_if(
            name.begin(), name.end(), [](char byte) { return byte < ' ' || byte > '~'; }, '?');
        text << " (" << std::string_view(name.data(), static_cast<std::size_t>(size) - 1) << ")";
    }
}

// The process that took the lock last is the one that holds it; it cannot be known when it runs in
// a container.
void AppendHolder(ShortText& text) {
    const int holder = semctl(semget(static_cast<key_t>(device_lock::kKey), 0, 0), 0, GETPID);
    if (holder <= 0) {
        text << "another process";
        return;
    }
    text << "process " << holder;
    AppendProcessName(text, holder);
}

extern "C" void TellOrGiveUp(int /*signal*/) {
    ShortText text;
    if (g_isNoteNext != 0) {
        g_isNoteNext = 0;
        text << "siptrunkctl: waiting for the device's lock, which ";
        AppendHolder(text);
        text << " holds\n";
        WriteError(text.View());
        return;
    }
    text << "siptrunkctl: the device's lock is still held by ";
    AppendHolder(text);
    text << " after the time of --wait; let it go on, or end it\n";
    WriteError(text.View());
    _exit(static_cast<int>(ExitCode::kFailed));
}

struct timeval TimeOf(double seconds) {
    struct timeval time {};
    time.tv_sec = static_cast<time_t>(seconds);
    time.tv_usec = static_cast<suseconds_t>((seconds - std::floor(seconds)) * 1e6);
    return time;
}

// first, second  seconds until the first signal, and from there to the next; 0 for none
void StartTimer(double first, double second) {
    const struct itimerval timer = {TimeOf(second), TimeOf(first)};
    (void)setitimer(ITIMER_REAL, &timer, nullptr);
}

}  // namespace

void WaitForLock(double limit) {
    const bool isLimited = limit >= 0;
    const double shortest = std::max(limit, 0.001);  // 0 would stop the timer
    g_isNoteNext = isatty(STDERR_FILENO) == 1 && (!isLimited || limit > kNoteAfter) ? 1 : 0;
    if (g_isNoteNext == 0 && !isLimited) {
        return;
    }
    // The lock is taken and given back before anything is looked at, so giving up changes nothing.
    (void)std::signal(SIGALRM, TellOrGiveUp);
    if (g_isNoteNext == 0) {
        StartTimer(shortest, 0);
    } else {
        StartTimer(kNoteAfter, isLimited ? limit - kNoteAfter : 0);
    }
    { const DeviceLock lock; }
    StartTimer(0, 0);
}

DeviceLock::DeviceLock() : m_lock(device_lock::kNumber, device_lock::kPath) { m_lock.Lock(true); }
