#include "tools/siptrunkctl/commands/password.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <csignal>

#include "tools/siptrunkctl/commands/define.h"
#include "tools/siptrunkctl/commands/trunk_values.h"
#include "tools/siptrunkctl/file/input.h"
#include "tools/siptrunkctl/file/values.h"
#include "tools/siptrunkctl/view/failure.h"
#include "tools/siptrunkctl/view/output.h"

namespace {

constexpr std::size_t kLongestInput = 4 * kLongestValue;  // enough to tell that it is too long

extern "C" void Interrupt(int /*signal*/) {}  // so that ppoll(2) ends, and not the process

/// Keeps the terminal from showing what is typed, also when a signal ends the question.
class SilentTerminal {
  public:
    SilentTerminal() {
        sigset_t signals;
        (void)sigemptyset(&signals);
        struct sigaction interrupt {};
        interrupt.sa_handler = Interrupt;
        for (std::size_t i = 0; i < kSignals.size(); ++i) {
            (void)sigaddset(&signals, kSignals.at(i));
            (void)sigaction(kSignals.at(i), &interrupt, &m_actions.at(i));
        }
        (void)sigprocmask(SIG_BLOCK, &signals, &m_signals);
        (void)tcgetattr(STDIN_FILENO, &m_before);
        struct termios silent = m_before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        silent.c_lflag |= NOFLSH;  // a key that interrupts would take the message with it
        (void)tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~SilentTerminal() {
        (void)tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
        for (std::size_t i = 0; i < kSignals.size(); ++i) {
            (void)sigaction(kSignals.at(i), &m_actions.at(i), nullptr);
        }
        (void)sigprocmask(SIG_SETMASK, &m_signals, nullptr);
    }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;

    /// Waits for a typed byte; false at the end, and when a signal came instead.
    bool Read(char& byte) const {
        struct pollfd input = {STDIN_FILENO, POLLIN, 0};
        return ppoll(&input, 1, nullptr, &m_signals) == 1 && read(STDIN_FILENO, &byte, 1) == 1;
    }

  private:
    static constexpr std::array<int, 5> kSignals = {SIGINT, SIGQUIT, SIGTSTP, SIGTERM, SIGHUP};

    struct termios m_before {};
    sigset_t m_signals{};
    std::array<struct sigaction, kSignals.size()> m_actions{};
};

void Check(const std::string& password) {
    if (password.find('\0') != std::string::npos) {
        throw UsageFailure("password: it holds a NUL byte, which the database cannot store");
    }
    if (!password.empty()) {
        CheckValue("password", password);
    }
}

// The end of one line, of either kind, does not count.
std::string ReadFromFile(const std::string& name) {
    std::string password = ReadInput(name, kLongestInput);
    if (!password.empty() && password.back() == '\n') {
        password.pop_back();
        if (!password.empty() && password.back() == '\r') {
            password.pop_back();
        }
    }
    if (password.empty() && name == "-") {
        Tell("warning: the password from the standard input is empty");
    }
    return password;
}

std::string AskOnce(const SilentTerminal& terminal, const std::string& question) {
    WriteError(question);
    std::string answer;
    char byte = '\0';
    bool isThere = terminal.Read(byte);
    for (; isThere && byte != '\n'; isThere = terminal.Read(byte)) {
        if (answer.size() < kLongestInput) {
            answer += byte;
        }
    }
    WriteError("\n");
    if (!isThere) {
        throw Failure(ExitCode::kFailed, "no password given; nothing was changed");
    }
    return answer;
}

std::string Ask() {
    if (isatty(STDIN_FILENO) != 1) {
        throw UsageFailure(
            "a password is needed, and there is no terminal to ask at; use --password-file FILE, "
            "or - for the standard input");
    }
    const SilentTerminal silent;
    std::string password = AskOnce(silent, "Password: ");
    if (AskOnce(silent, "Once more: ") != password) {
        throw Failure(ExitCode::kFailed, "the two passwords differ; nothing was changed");
    }
    return password;
}

}  // namespace

void AddPasswordOptions(Context& context, CLI::App& app, PasswordOptions& options) {
    CLI::Option* file = AddValue(app, "--password-file", options.file, "FILE",
                                 "read the password from FILE, - for the standard input");
    CompleteWith(context, file, {{kFiles, ""}});
    app.add_flag("--ask-password", options.ask, "ask for the password")->excludes(file);
}

std::optional<std::string> ReadPassword(const PasswordOptions& options, bool needed) {
    std::optional<std::string> password;
    if (!options.file.empty()) {
        password = ReadFromFile(options.file);
    } else if (options.ask || needed) {
        password = Ask();
    }
    if (password) {
        Check(*password);
    }
    return password;
}
