#include "support/access_list.h"

#include <linux/limits.h>
#include <sys/types.h>
#include <sys/xattr.h>

#include <cerrno>

#include "support/system_call.h"

namespace support {

namespace {

constexpr const char* kName = "system.posix_acl_access";
constexpr std::size_t kUsualSize = 256;  // a list of 31 entries

// Whether a call failed because there is no list, or because the file system has no such thing.
bool HasNoList() { return errno == ENODATA || errno == EOPNOTSUPP || errno == ENOSYS; }

}  // namespace

bool ReadAccessList(int file, std::string& list) {
    char usual[kUsualSize];
    ssize_t size = RetryInterrupted([&] { return fgetxattr(file, kName, usual, sizeof(usual)); });
    if (size != -1) {
        list.assign(usual, static_cast<std::size_t>(size));
        return true;
    }
    if (errno != ERANGE) {
        return HasNoList();
    }
    list.resize(XATTR_SIZE_MAX);
    size = RetryInterrupted([&] { return fgetxattr(file, kName, list.data(), list.size()); });
    list.resize(size == -1 ? 0 : static_cast<std::size_t>(size));
    return size != -1;
}

bool WriteAccessList(int file, const std::string& list) {
    if (list.empty()) {
        return RetryInterrupted([&] { return fremovexattr(file, kName); }) == 0 || HasNoList();
    }
    return RetryInterrupted([&] { return fsetxattr(file, kName, list.data(), list.size(), 0); }) ==
           0;
}

}  // namespace support
