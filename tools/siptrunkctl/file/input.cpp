#include "tools/siptrunkctl/file/input.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "support/system_call.h"
#include "tools/siptrunkctl/view/failure.h"

namespace {

constexpr std::size_t kLongestLine = 4096;  // which is what a terminal has

// Holds back the signals that end or stop a process; they can be read from the descriptor.
int HoldSignals(sigset_t& before) {
    sigset_t signals;
    (void)sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGQUIT, SIGTSTP, SIGTERM, SIGHUP}) {
        (void)sigaddset(&signals, signal);
    }
    (void)sigprocmask(SIG_BLOCK, &signals, &before);
    return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

}  // namespace

std::string ReadInput(const std::string& name, std::size_t limit) {
    const bool isStandardInput = name == "-";
    const std::string shown = isStandardInput ? "standard input" : name;
    const support::FileDescriptor file(support::RetryInterrupted([&] {
        return isStandardInput ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                               : open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    }));
    if (file.Number() == -1) {
        support::ThrowSystemFailure(errno, shown, "open");
    }
    std::string text;
    std::array<char, 4096> block{};
    while (true) {
        const ssize_t count = support::RetryInterrupted(
            [&] { return read(file.Number(), block.data(), block.size()); });
        if (count == -1) {
            support::ThrowSystemFailure(errno, shown, "read");
        }
        if (count == 0) {
            return text;
        }
        text.append(block.data(), static_cast<std::size_t>(count));
        if (text.size() > limit) {
            throw Failure(shown + ": it has more than " + std::to_string(limit) + " bytes");
        }
    }
}

Person::Person() : m_arrived(HoldSignals(m_signals)) {}

Person::~Person() {
    struct signalfd_siginfo taken {};  // one that stays would end the tool before its message
    while (read(m_arrived.Number(), &taken, sizeof taken) > 0) {
    }
    (void)sigprocmask(SIG_SETMASK, &m_signals, nullptr);
}

// Waits for a byte; false at the end, and when a signal came instead.
bool Person::Read(char& byte) const {
    struct pollfd either[] = {{m_arrived.Number(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    return poll(either, 2, -1) > 0 && either[0].revents == 0 && read(STDIN_FILENO, &byte, 1) == 1;
}

std::optional<std::string> Person::ReadLine() const {
    std::string line;
    for (char byte = '\0'; Read(byte);) {
        if (byte == '\n') {
            return line;
        }
        if (line.size() < kLongestLine) {
            line += byte;
        }
    }
    return std::nullopt;
}
