#include "support/wide_time.h"

#include "support/file_status.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "support/system_call.h"

namespace support {

namespace {

constexpr int kMostLinks = 40;  // as many as the kernel follows (path_resolution(7))

FileStatus StatusFrom(const struct stat& status) {
    const std::int64_t changed = std::int64_t{status.st_ctim.tv_sec} * 1000000000;
    return {status.st_dev,  status.st_ino, changed + status.st_ctim.tv_nsec,
            status.st_mode, status.st_uid, status.st_gid};
}

// Replaces a path that ends in a link by the one that the link leads to.
void FollowLink(std::string& path, const char* asked, const char* step) {
    char target[PATH_MAX] = "";
    const ssize_t length =
        RetryInterrupted([&] { return readlink(path.c_str(), target, sizeof(target)); });
    if (length == -1) {
        ThrowSystemFailure(errno, asked, step);
    }
    // A relative target begins in the folder of its link.
    path.erase(target[0] == '/' ? 0 : path.rfind('/') + 1);
    path.append(target, static_cast<std::size_t>(length));
}

}  // namespace

bool LookAt(int folder, const char* name, FileStatus& status) {
    struct stat seen {};
    const int result =
        RetryInterrupted([&] { return fstatat(folder, name, &seen, AT_SYMLINK_NOFOLLOW); });
    status = StatusFrom(seen);
    return result == 0;
}

bool LookAt(int file, FileStatus& status) {
    struct stat seen {};
    const int result = RetryInterrupted([&] { return fstat(file, &seen); });
    status = StatusFrom(seen);
    return result == 0;
}

std::string FollowLinks(const char* path, const char* step, FileStatus& status) {
    std::string followed = path;
    for (int links = 0;; ++links) {
        if (!LookAt(AT_FDCWD, followed.c_str(), status) && errno != ENOENT) {
            ThrowSystemFailure(errno, path, "stat");
        }
        if (!S_ISLNK(status.mode)) {
            return followed;
        }
        if (links == kMostLinks) {
            ThrowSystemFailure(ELOOP, path, step);
        }
        if (status.user != 0 && geteuid() == 0) {
            ThrowSystemFailure(
                EACCES, path,
                std::string(step) + " (another user's link, which root does not follow)");
        }
        FollowLink(followed, path, step);
    }
}

}  // namespace support
