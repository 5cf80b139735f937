#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <string_view>
#include <utility>

#include "tests/faults/pass_call.h"
#include "tests/faults/replaced_function.h"

// What stands in place of libc's functions, under the names that the library calls. It is built for
// large files: with glibc many names end in 64, and off_t and struct stat are theirs; with musl
// there is one name for each.

namespace {

// A part of a transfer that makes some progress, and never all of it where that can be helped.
std::size_t PartOf(std::size_t size) { return (size + 1) / 2; }

}  // namespace

#define STATUS_REPLACEMENT(symbol)                                                            \
    REPLACEMENT(symbol, int, (int file, void* status)) {                                      \
        return Pass(CallKind::kStatus, -1, [&](bool) { return REAL(symbol)(file, status); }); \
    }
#define ENTRY_STATUS_REPLACEMENT(symbol)                                                \
    REPLACEMENT(symbol, int, (int folder, const char* path, void* status, int flags)) { \
        return Pass(CallKind::kStatus, -1,                                              \
                    [&](bool) { return REAL(symbol)(folder, path, status, flags); });   \
    }

#ifdef __GLIBC__
STATUS_REPLACEMENT(fstat64)
ENTRY_STATUS_REPLACEMENT(fstatat64)
// With 64-bit time, where time has 32 bits otherwise.
STATUS_REPLACEMENT(__fstat64_time64)
ENTRY_STATUS_REPLACEMENT(__fstatat64_time64)
#define REAL_FSTAT REAL(fstat64)
#define REAL_FSTATAT REAL(fstatat64)
#else
STATUS_REPLACEMENT(fstat)
ENTRY_STATUS_REPLACEMENT(fstatat)
#define REAL_FSTAT REAL(fstat)
#define REAL_FSTATAT REAL(fstatat)
#endif

REPLACEMENT(poll, int, (struct pollfd * streams, nfds_t count, int timeout)) {
    return Pass(CallKind::kStatus, -1, [&](bool) { return REAL(poll)(streams, count, timeout); });
}

REPLACEMENT(__poll_chk, int, (struct pollfd * streams, nfds_t count, int timeout, size_t room)) {
    return Pass(CallKind::kStatus, -1,
                [&](bool) { return REAL(__poll_chk)(streams, count, timeout, room); });
}

namespace {

ino_t InodeOf(int file) {
    struct stat status {};
    return REAL_FSTAT(file, &status) == 0 ? status.st_ino : 0;
}

}  // namespace

DiskEffect EffectOn(DiskEffect::Kind kind, int file) {
    DiskEffect effect{kind};
    effect.inode = InodeOf(file);
    return effect;
}

namespace {

bool Exists(int folder, const char* path) {
    struct stat status {};
    return REAL_FSTATAT(folder, path, &status, AT_SYMLINK_NOFOLLOW) == 0;
}

// Opens through `open`, and tells the watch what has been made or emptied. A path that is opened
// through AT_FDCWD is an absolute one here.
template <typename Open>
int PassOpen(int folder, const char* path, int flags, const Open& open) {
    const bool isNew = (flags & O_CREAT) != 0 && !Exists(folder, path);
    return Pass(
        CallKind::kOpen, -1, [&](bool) { return open(); },
        [&](DisturbedCalls& watch, int file) {
            watch.AddDescriptors(1);
            if (!isNew) {
                if ((flags & O_TRUNC) != 0) {
                    watch.AddEffect(EffectOn(DiskEffect::Kind::kTruncate, file));
                }
                return;
            }
            struct stat status {};
            const std::string_view whole = path;
            const std::size_t nameBegin = whole.rfind('/') + 1;
            DiskEffect effect = EffectOn(DiskEffect::Kind::kCreate, file);
            (void)REAL_FSTAT(file, &status);
            effect.mode = status.st_mode & 07777U;
            effect.user = status.st_uid;
            effect.group = status.st_gid;
            effect.name = whole.substr(nameBegin);
            const std::string folderPath(nameBegin == 0 ? "." : whole.substr(0, nameBegin));
            (void)REAL_FSTATAT(folder, folderPath.c_str(), &status, 0);
            effect.folder = status.st_ino;
            watch.AddEffect(std::move(effect));
        });
}

}  // namespace

// The mode is there only for a call that may make a file.
#define TAKE_MODE(flags, mode)         \
    mode_t mode = 0;                   \
    if (((flags)&O_CREAT) != 0) {      \
        va_list more;                  \
        va_start(more, flags);         \
        mode = va_arg(more, unsigned); \
        va_end(more);                  \
    }

#define OPEN_REPLACEMENT(symbol)                                                                 \
    REPLACEMENT(symbol, int, (const char* path, int flags, ...)) {                               \
        TAKE_MODE(flags, mode)                                                                   \
        return PassOpen(AT_FDCWD, path, flags, [&] { return REAL(symbol)(path, flags, mode); }); \
    }
#define ENTRY_OPEN_REPLACEMENT(symbol)                                            \
    REPLACEMENT(symbol, int, (int folder, const char* path, int flags, ...)) {    \
        TAKE_MODE(flags, mode)                                                    \
        return PassOpen(folder, path, flags,                                      \
                        [&] { return REAL(symbol)(folder, path, flags, mode); }); \
    }

#ifdef __GLIBC__
OPEN_REPLACEMENT(open64)
ENTRY_OPEN_REPLACEMENT(openat64)

REPLACEMENT(__open64_2, int, (const char* path, int flags)) {
    return PassOpen(AT_FDCWD, path, flags, [&] { return REAL(__open64_2)(path, flags); });
}

REPLACEMENT(__openat64_2, int, (int folder, const char* path, int flags)) {
    return PassOpen(folder, path, flags, [&] { return REAL(__openat64_2)(folder, path, flags); });
}
#else
OPEN_REPLACEMENT(open)
ENTRY_OPEN_REPLACEMENT(openat)
#endif

namespace {

// Closes through `close`, also when it is made to fail.
template <typename Close>
int PassClose(const Close& close) {
    DisturbedCalls* watch = DisturbedCalls::Current();
    if (watch == nullptr) {
        return close();
    }
    const DisturbedCalls::Outcome outcome = watch->Enter(CallKind::kClose);
    const int error = errno;
    int result = close();
    watch->AddDescriptors(result == 0 ? -1 : 0);
    if (outcome == DisturbedCalls::Outcome::kFail) {
        errno = error;
        result = -1;
    }
    watch->Leave();
    return result;
}

}  // namespace

REPLACEMENT(close, int, (int file)) {
    return PassClose([&] { return REAL(close)(file); });
}

REPLACEMENT(closedir, int, (void* folder)) {
    return PassClose([&] { return REAL(closedir)(folder); });
}

REPLACEMENT(read, ssize_t, (int file, void* bytes, size_t size)) {
    return Pass(CallKind::kRead, ssize_t{-1},
                [&](bool isPart) { return REAL(read)(file, bytes, isPart ? PartOf(size) : size); });
}

REPLACEMENT(writev, ssize_t, (int file, const struct iovec* parts, int count)) {
    const MemoryForTests memory;
    std::string bytes;
    for (int i = 0; i < count; ++i) {
        bytes.append(static_cast<const char*>(parts[i].iov_base), parts[i].iov_len);
    }
    const off_t offset = lseek(file, 0, SEEK_CUR);
    return Pass(
        CallKind::kWrite, ssize_t{-1},
        [&](bool isPart) {
            struct iovec part {
                bytes.data(), PartOf(bytes.size())
            };
            return isPart ? REAL(writev)(file, &part, 1) : REAL(writev)(file, parts, count);
        },
        [&](DisturbedCalls& watch, ssize_t written) {
            DiskEffect effect = EffectOn(DiskEffect::Kind::kWrite, file);
            effect.bytes = bytes.substr(0, static_cast<std::size_t>(written));
            effect.offset = offset;
            watch.AddEffect(std::move(effect));
        });
}

REPLACEMENT(write, ssize_t, (int file, const void* bytes, size_t size)) {
    const off_t offset = lseek(file, 0, SEEK_CUR);
    return Pass(
        CallKind::kWrite, ssize_t{-1},
        [&](bool isPart) { return REAL(write)(file, bytes, isPart ? PartOf(size) : size); },
        [&](DisturbedCalls& watch, ssize_t written) {
            DiskEffect effect = EffectOn(DiskEffect::Kind::kWrite, file);
            effect.bytes.assign(static_cast<const char*>(bytes), static_cast<size_t>(written));
            effect.offset = offset;
            watch.AddEffect(std::move(effect));
        });
}

#define TRUNCATE_REPLACEMENT(symbol)                                                 \
    REPLACEMENT(symbol, int, (int file, off_t size)) {                               \
        return Pass(                                                                 \
            CallKind::kTruncate, -1, [&](bool) { return REAL(symbol)(file, size); }, \
            [&](DisturbedCalls& watch, int) {                                        \
                DiskEffect effect = EffectOn(DiskEffect::Kind::kTruncate, file);     \
                effect.offset = size;                                                \
                watch.AddEffect(std::move(effect));                                  \
            });                                                                      \
    }

#ifdef __GLIBC__
TRUNCATE_REPLACEMENT(ftruncate64)
#else
TRUNCATE_REPLACEMENT(ftruncate)
#endif

REPLACEMENT(fsync, int, (int file)) {
    return Pass(
        CallKind::kSync, -1, [&](bool) { return REAL(fsync)(file); },
        [&](DisturbedCalls& watch, int) {
            watch.AddEffect(EffectOn(DiskEffect::Kind::kSync, file));
        });
}

REPLACEMENT(fdatasync, int, (int file)) {
    return Pass(CallKind::kSync, -1, [&](bool) { return REAL(fdatasync)(file); });
}

REPLACEMENT(renameat, int, (int folder, const char* name, int newFolder, const char* newName)) {
    return Pass(
        CallKind::kRename, -1,
        [&](bool) { return REAL(renameat)(folder, name, newFolder, newName); },
        [&](DisturbedCalls& watch, int) {
            struct stat status {};
            (void)REAL_FSTATAT(newFolder, newName, &status, AT_SYMLINK_NOFOLLOW);
            DiskEffect effect{DiskEffect::Kind::kRename};
            effect.inode = status.st_ino;
            effect.folder = InodeOf(folder);
            effect.name = name;
            effect.newFolder = InodeOf(newFolder);
            effect.newName = newName;
            watch.AddEffect(std::move(effect));
        });
}

REPLACEMENT(unlinkat, int, (int folder, const char* name, int flags)) {
    return Pass(
        CallKind::kRemove, -1, [&](bool) { return REAL(unlinkat)(folder, name, flags); },
        [&](DisturbedCalls& watch, int) {
            DiskEffect effect{DiskEffect::Kind::kRemove};
            effect.folder = InodeOf(folder);
            effect.name = name;
            watch.AddEffect(std::move(effect));
        });
}

REPLACEMENT(readlink, ssize_t, (const char* path, char* target, size_t size)) {
    return Pass(CallKind::kResolve, ssize_t{-1},
                [&](bool) { return REAL(readlink)(path, target, size); });
}

REPLACEMENT(__readlink_chk, ssize_t, (const char* path, char* target, size_t size, size_t most)) {
    return Pass(CallKind::kResolve, ssize_t{-1},
                [&](bool) { return REAL(__readlink_chk)(path, target, size, most); });
}

REPLACEMENT(fdopendir, void*, (int folder)) {
    return Pass(CallKind::kListFolder, static_cast<void*>(nullptr),
                [&](bool) { return REAL(fdopendir)(folder); });
}

#define READ_FOLDER_REPLACEMENT(symbol)                                 \
    REPLACEMENT(symbol, void*, (void* folder)) {                        \
        return Pass(CallKind::kListFolder, static_cast<void*>(nullptr), \
                    [&](bool) { return REAL(symbol)(folder); });        \
    }

#ifdef __GLIBC__
READ_FOLDER_REPLACEMENT(readdir64)
#else
READ_FOLDER_REPLACEMENT(readdir)
#endif
