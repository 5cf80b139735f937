#include "tools/siptrunkctl/file/private_copy.h"

#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "support/system_call.h"
#include "tools/siptrunkctl/file/input.h"
#include "tools/siptrunkctl/view/failure.h"

namespace {

constexpr const char* kEditedFile = "SIPTRUNKCTL_FILE";

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

// What an editor has left may be gone already.
void RemoveFolderOf(const std::string& path) {
    std::error_code ignored;
    (void)std::filesystem::remove_all(std::filesystem::path(path).parent_path(), ignored);
}

}  // namespace

PrivateCopy::PrivateCopy(const std::string& text) : m_path(MakeFolder() + "/siptrunkdb") {
    (void)umask(077);  // for the editor's own files as well
    if (!(std::ofstream(m_path, std::ios::binary) << text << std::flush)) {
        const int error = errno;
        RemoveFolderOf(m_path);
        support::ThrowSystemFailure(error, m_path, "write");
    }
}

PrivateCopy::~PrivateCopy() {
    if (!m_isKept) {
        RemoveFolderOf(m_path);
    }
}

std::string PrivateCopy::Text() const { return ReadInput(m_path); }

bool PrivateCopy::IsOther(const std::string& text) const {
    std::error_code gone;
    const std::uintmax_t size = std::filesystem::file_size(m_path, gone);
    return !gone && (size != text.size() || Text() != text);
}

void RunEditor(const std::string& path) {
    const std::string editor = VariableOr("VISUAL", VariableOr("EDITOR", "vi"));
    (void)setenv(kEditedFile, path.c_str(), 1);  // where no shell takes it apart
    const std::string command = editor + " \"$" + kEditedFile + "\"";
    // The variables are command lines, which whoever set them wants to run.
    const int status = std::system(command.c_str());  // NOLINT(cert-env33-c)
    if (status == -1) {
        support::ThrowSystemFailure(errno, editor, "start");
    }
    const std::string subject = "editor \"" + editor + "\": ";
    if (WIFSIGNALED(status)) {
        throw Failure(subject + "signal " + std::to_string(WTERMSIG(status)) +
                      " ended it; nothing was stored");
    }
    if (WEXITSTATUS(status) != 0) {
        throw Failure(subject + "exit code " + std::to_string(WEXITSTATUS(status)) +
                      "; nothing was stored" +
                      (WEXITSTATUS(status) == 127 ? "; set VISUAL or EDITOR" : ""));
    }
}
