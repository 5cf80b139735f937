#include "tools/siptrunkctl/commands/password.h"

#include <termios.h>
#include <unistd.h>

#include "tools/siptrunkctl/commands/trunk_values.h"
#include "tools/siptrunkctl/file/check.h"
#include "tools/siptrunkctl/file/input.h"

namespace {

constexpr std::size_t kLongestInput = 4 * kLongestValue;  // enough to tell that it is too long

/// Keeps the terminal from showing what is typed, also when a signal ends the question.
class SilentTerminal {
  public:
    SilentTerminal() {
        (void)tcgetattr(STDIN_FILENO, &m_before);
        struct termios silent = m_before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        silent.c_lflag |= NOFLSH;  // a key that interrupts would take the message with it
        (void)tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~SilentTerminal() { (void)tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before); }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;

    std::optional<std::string> ReadLine() const { return m_person.ReadLine(); }

  private:
    Person m_person;
    struct termios m_before {};
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
    for (const char end : {'\n', '\r'}) {
        if (password.empty() || password.back() != end) {
            break;
        }
        password.pop_back();
    }
    if (password.empty() && name == "-") {
        Tell("warning: the password from the standard input is empty");
    }
    return password;
}

std::string AskOnce(const SilentTerminal& terminal, const std::string& question) {
    WriteError(question);
    const std::optional<std::string> answer = terminal.ReadLine();
    WriteError("\n");
    if (!answer) {
        throw Failure("no password given; nothing was changed");
    }
    return *answer;
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
        throw Failure("the two passwords differ; nothing was changed");
    }
    return password;
}

}  // namespace

Command& AddPasswordOptions(Command& command) {
    Arguments& given = command.Given();
    return command
        .Value("--password-file", given.passwordFile, "FILE",
               "the password is in FILE; - is the standard input", These({{kFiles}}))
        .Flag("--ask-password", given.askPassword, "ask for the password")
        .Excluding("--password-file");
}

std::optional<std::string> ReadPassword(const Arguments& given, bool needed) {
    if (given.passwordFile.empty() && !given.askPassword && !needed) {
        return std::nullopt;
    }
    std::string password = given.passwordFile.empty() ? Ask() : ReadFromFile(given.passwordFile);
    Check(password);
    return password;
}
