#pragma once

#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <system_error>
#include <vector>

// Access lists as the kernel takes them (linux/posix_acl_xattr.h).

struct AccessEntry {
    enum Kind : std::uint16_t {
        kOwner = 1,
        kUser = 2,
        kGroup = 4,
        kOtherGroup = 8,
        kLimit = 16,
        kOthers = 32
    };
    Kind kind;
    std::uint16_t permissions;
    std::uint32_t id = 0xffffffff;
};

inline std::string AccessList(const std::vector<AccessEntry>& entries) {
    std::string list("\x02\0\0\0", 4);  // the version
    const auto append = [&list](std::uint32_t number, int bytes) {
        for (int i = 0; i < bytes; ++i) {
            list.push_back(static_cast<char>((number >> (8U * static_cast<unsigned>(i))) & 0xffU));
        }
    };
    for (const AccessEntry& entry : entries) {
        append(entry.kind, 2);
        append(entry.permissions, 2);
        append(entry.id, 4);
    }
    return list;
}

/// A user and a group that a list may name; an ordinary user's tests may know no other.
inline std::uint32_t SomeUser() { return geteuid() == 0 ? 2345 : geteuid(); }
inline std::uint32_t SomeGroup() { return geteuid() == 0 ? 3456 : getegid(); }

/// A user may read beside the owner, and the group may not.
inline std::string BackupList() {
    return AccessList({{AccessEntry::kOwner, 6},
                       {AccessEntry::kUser, 4, SomeUser()},
                       {AccessEntry::kGroup, 0},
                       {AccessEntry::kLimit, 4},
                       {AccessEntry::kOthers, 0}});
}

constexpr const char* kListOfFile = "system.posix_acl_access";
constexpr const char* kListForNewFiles = "system.posix_acl_default";

/// Gives a file, or a folder, a list; false where the file system has none.
inline bool GiveList(const std::string& path, const std::string& list,
                     const char* name = kListOfFile) {
    if (setxattr(path.c_str(), name, list.data(), list.size(), 0) == 0) {
        return true;
    }
    if (errno != EOPNOTSUPP) {
        throw std::system_error(errno, std::system_category(), path + ": access list");
    }
    return false;
}

/// The access list of a file; empty for none.
inline std::string ListOf(const std::string& path) {
    std::string list(65536, '\0');
    const ssize_t size = getxattr(path.c_str(), kListOfFile, list.data(), list.size());
    list.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return list;
}
