#include "tools/siptrunkctl/device/cause.h"

#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "src/foundation/paths.h"

using namespace raiklaik;

namespace {

bool BeginsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

bool HasReason(const std::string& cause, int error) {
    const std::string ending = ": " + std::generic_category().message(error);
    return cause.size() >= ending.size() &&
           cause.compare(cause.size() - ending.size(), ending.size(), ending) == 0;
}

// "PATH:LINE: reason" of the database.
bool IsMalformed(const std::string& cause) {
    const std::string path = DatabasePath() + ":";
    return BeginsWith(cause, path) && cause.size() > path.size() &&
           std::isdigit(static_cast<unsigned char>(cause[path.size()])) != 0;
}

std::string MissingFileCure(const std::string& cause) {
    const std::string base = BaseDirectory();
    if (!base.empty() && base.back() != '/') {
        return std::string("; ") + kBaseDirectoryVariable + " must end in \"/\"";
    }
    if (access((base + "siptrunkdb").c_str(), F_OK) == 0) {
        return "; name the directory above that one with -C";
    }
    if (BeginsWith(cause, StartFilePath() + ":")) {
        return "; the system makes this file; -C names another directory";
    }
    if (!BeginsWith(cause, DatabasePath() + ":")) {
        return "";
    }
    const std::string folder = DatabasePath().substr(0, DatabasePath().rfind('/'));
    if (access(folder.c_str(), F_OK) != 0) {
        return "; make its folder (mkdir -p " + folder + "), or name another directory with -C";
    }
    return "; \"agents set\" or \"add\" makes it, and -C names another directory";
}

}  // namespace

void UseDirectory(const std::string& directory) {
    const std::string path = directory.back() == '/' ? directory : directory + "/";
    (void)setenv(kBaseDirectoryVariable, path.c_str(), 1);
}

bool HasDatabase() { return access(DatabasePath().c_str(), F_OK) == 0 || errno != ENOENT; }

Failure FailureOf(const std::string& cause) {
    if (IsMalformed(cause)) {
        return {ExitCode::kMalformed, cause + "; \"siptrunkctl validate\" lists every problem"};
    }
    if (HasReason(cause, EROFS)) {
        return {ExitCode::kNotPermitted, cause + "; mount the file system writable"};
    }
    if (HasReason(cause, EACCES) || HasReason(cause, EPERM)) {
        return {ExitCode::kNotPermitted, cause + "; run this as root or as the file's owner"};
    }
    if (HasReason(cause, ENOENT)) {
        return Failure(cause + MissingFileCure(cause));
    }
    if (HasReason(cause, ENOTDIR) && BeginsWith(cause, BaseDirectory())) {
        return Failure(cause +
                       "; a file stands for one of its folders; -C names another directory");
    }
    if (HasReason(cause, ENOSPC) && !BeginsWith(cause, "lock ")) {
        return Failure(cause + "; make room on that file system");
    }
    return Failure(cause);
}
