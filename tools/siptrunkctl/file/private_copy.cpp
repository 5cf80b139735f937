#include "tools/siptrunkctl/file/private_copy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "support/file_descriptor.h"
#include "support/system_call.h"
#include "tools/siptrunkctl/file/input.h"
#include "tools/siptrunkctl/view/failure.h"

namespace {

const char* VariableOr(const char* name, const char* otherwise) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : otherwise;
}

std::string MakeFolder() {
    std::string folder = std::string(VariableOr("TMPDIR", "/tmp")) + "/siptrunkctl.XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {  // with mode 0700
        support::ThrowSystemFailure(errno, folder, "make folder");
    }
    return folder;
}

/// Leaves the keys that interrupt to the editor, as system(3) does.
class IgnoredInterrupts {
  public:
    IgnoredInterrupts() {
        m_interrupt = std::signal(SIGINT, SIG_IGN);
        m_quit = std::signal(SIGQUIT, SIG_IGN);
    }
    ~IgnoredInterrupts() { Restore(); }
    IgnoredInterrupts(const IgnoredInterrupts&) = delete;
    IgnoredInterrupts& operator=(const IgnoredInterrupts&) = delete;

    void Restore() const {
        (void)std::signal(SIGINT, m_interrupt);
        (void)std::signal(SIGQUIT, m_quit);
    }

  private:
    void (*m_interrupt)(int);
    void (*m_quit)(int);
};

}  // namespace

PrivateCopy::PrivateCopy(const std::string& text)
    : m_folder(MakeFolder()), m_path(m_folder + "/siptrunkdb") {
    const support::FileDescriptor file(support::RetryInterrupted(
        [&] { return open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600); }));
    for (std::size_t done = 0; file.Number() != -1 && done < text.size();) {
        const ssize_t count = support::RetryInterrupted(
            [&] { return write(file.Number(), text.data() + done, text.size() - done); });
        if (count == -1) {
            const int error = errno;
            (void)std::filesystem::remove_all(m_folder);
            support::ThrowSystemFailure(error, m_path, "write");
        }
        done += static_cast<std::size_t>(count);
    }
    if (file.Number() == -1) {
        const int error = errno;
        (void)rmdir(m_folder.c_str());
        support::ThrowSystemFailure(error, m_path, "open");
    }
}

PrivateCopy::~PrivateCopy() {
    if (!m_isKept) {
        std::error_code ignored;  // what an editor has left may be gone already
        (void)std::filesystem::remove_all(m_folder, ignored);
    }
}

std::string PrivateCopy::Text() const { return ReadInput(m_path); }

void RunEditor(const std::string& path) {
    const std::string editor = VariableOr("VISUAL", VariableOr("EDITOR", "vi"));
    const std::string command = editor + " \"$0\"";
    const IgnoredInterrupts ignored;
    const pid_t process = fork();
    if (process == 0) {
        ignored.Restore();
        (void)umask(077);
        (void)execl("/bin/sh", "sh", "-c", command.c_str(), path.c_str(), nullptr);
        _exit(127);
    }
    int status = 0;
    if (process == -1 ||
        support::RetryInterrupted([&] { return waitpid(process, &status, 0); }) == -1) {
        support::ThrowSystemFailure(errno, editor, "start");
    }
    if (WIFSIGNALED(status)) {
        throw Failure(ExitCode::kFailed, "editor \"" + editor + "\": signal " +
                                             std::to_string(WTERMSIG(status)) +
                                             " ended it; nothing was stored");
    }
    if (WEXITSTATUS(status) != 0) {
        throw Failure(ExitCode::kFailed,
                      "editor \"" + editor + "\": exit code " +
                          std::to_string(WEXITSTATUS(status)) + "; nothing was stored" +
                          (WEXITSTATUS(status) == 127 ? "; set VISUAL or EDITOR" : ""));
    }
}
