#include <fcntl.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <string_view>
#include <utility>

#include "tests/faults/disturbed_calls.h"
#include "tests/faults/failing_allocations.h"
#include "tests/faults/replaced_function.h"

// What stands in place of libc's functions, under the names that the library calls: it is built for
// large files, so that many end in 64.

namespace {

using Outcome = DisturbedCalls::Outcome;

// Makes one call, disturbed or not.
// failure  the result of the call when it fails
// make     makes the call; told whether it may do only a part of its work
// note     called with the watch after a call that succeeded
template <typename Result, typename Make, typename Note>
Result Pass(CallKind kind, Result failure, const Make& make, const Note& note) {
    DisturbedCalls* watch = DisturbedCalls::Current();
    if (watch == nullptr) {
        return make(false);
    }
    const Outcome outcome = watch->Enter(kind);
    Result result = failure;
    if (outcome != Outcome::kFail) {
        result = make(outcome == Outcome::kShorten);
        if (result != failure) {
            const int kept = errno;
            const MemoryForTests memory;
            note(*watch, result);
            errno = kept;
        }
    }
    watch->Leave();
    return result;
}

template <typename Result, typename Make>
Result Pass(CallKind kind, Result failure, const Make& make) {
    return Pass(kind, failure, make, [](DisturbedCalls&, const Result&) {});
}

// A part of a transfer that makes some progress, and never all of it where that can be helped.
std::size_t PartOf(std::size_t size) { return (size + 1) / 2; }

}  // namespace

REPLACEMENT(fstat64, int, (int file, struct stat64* status)) {
    return Pass(CallKind::kStatus, -1, [&](bool) { return REAL(fstat64)(file, status); });
}

REPLACEMENT(lstat64, int, (const char* path, struct stat64* status)) {
    return Pass(CallKind::kStatus, -1, [&](bool) { return REAL(lstat64)(path, status); });
}

// The same with 64-bit time, where time has 32 bits otherwise.

REPLACEMENT(__fstat64_time64, int, (int file, void* status)) {
    return Pass(CallKind::kStatus, -1, [&](bool) { return REAL(__fstat64_time64)(file, status); });
}

REPLACEMENT(__lstat64_time64, int, (const char* path, void* status)) {
    return Pass(CallKind::kStatus, -1, [&](bool) { return REAL(__lstat64_time64)(path, status); });
}

namespace {

ino_t InodeOf(int file) {
    struct stat64 status {};
    return REAL(fstat64)(file, &status) == 0 ? status.st_ino : 0;
}

DiskEffect EffectOn(DiskEffect::Kind kind, int file) {
    DiskEffect effect{kind};
    effect.inode = InodeOf(file);
    return effect;
}

bool Exists(int folder, const char* path) {
    struct stat64 status {};
    return fstatat64(folder, path, &status, AT_SYMLINK_NOFOLLOW) == 0;
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
            struct stat64 status {};
            const std::string_view whole = path;
            const std::size_t nameBegin = whole.rfind('/') + 1;
            DiskEffect effect = EffectOn(DiskEffect::Kind::kCreate, file);
            (void)REAL(fstat64)(file, &status);
            effect.mode = status.st_mode & 07777U;
            effect.user = status.st_uid;
            effect.group = status.st_gid;
            effect.name = whole.substr(nameBegin);
            const std::string folderPath(nameBegin == 0 ? "." : whole.substr(0, nameBegin));
            (void)fstatat64(folder, folderPath.c_str(), &status, 0);
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

REPLACEMENT(open64, int, (const char* path, int flags, ...)) {
    TAKE_MODE(flags, mode)
    return PassOpen(AT_FDCWD, path, flags, [&] { return REAL(open64)(path, flags, mode); });
}

REPLACEMENT(openat64, int, (int folder, const char* path, int flags, ...)) {
    TAKE_MODE(flags, mode)
    return PassOpen(folder, path, flags, [&] { return REAL(openat64)(folder, path, flags, mode); });
}

REPLACEMENT(__open64_2, int, (const char* path, int flags)) {
    return PassOpen(AT_FDCWD, path, flags, [&] { return REAL(__open64_2)(path, flags); });
}

REPLACEMENT(__openat64_2, int, (int folder, const char* path, int flags)) {
    return PassOpen(folder, path, flags, [&] { return REAL(__openat64_2)(folder, path, flags); });
}

REPLACEMENT(close, int, (int file)) {
    DisturbedCalls* watch = DisturbedCalls::Current();
    if (watch == nullptr) {
        return REAL(close)(file);
    }
    const Outcome outcome = watch->Enter(CallKind::kClose);
    const int error = errno;
    int result = REAL(close)(file);
    watch->AddDescriptors(result == 0 ? -1 : 0);
    if (outcome == Outcome::kFail) {
        errno = error;
        result = -1;
    }
    watch->Leave();
    return result;
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
    const off64_t offset = lseek64(file, 0, SEEK_CUR);
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
    const off64_t offset = lseek64(file, 0, SEEK_CUR);
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

REPLACEMENT(fchown, int, (int file, uid_t user, gid_t group)) {
    return Pass(
        CallKind::kChangeOwner, -1, [&](bool) { return REAL(fchown)(file, user, group); },
        [&](DisturbedCalls& watch, int) {
            DiskEffect effect = EffectOn(DiskEffect::Kind::kOwner, file);
            effect.user = user;
            effect.group = group;
            watch.AddEffect(std::move(effect));
        });
}

REPLACEMENT(fchmod, int, (int file, mode_t mode)) {
    return Pass(
        CallKind::kChangeMode, -1, [&](bool) { return REAL(fchmod)(file, mode); },
        [&](DisturbedCalls& watch, int) {
            DiskEffect effect = EffectOn(DiskEffect::Kind::kMode, file);
            effect.mode = mode;
            watch.AddEffect(std::move(effect));
        });
}

REPLACEMENT(ftruncate64, int, (int file, off64_t size)) {
    return Pass(
        CallKind::kTruncate, -1, [&](bool) { return REAL(ftruncate64)(file, size); },
        [&](DisturbedCalls& watch, int) {
            DiskEffect effect = EffectOn(DiskEffect::Kind::kTruncate, file);
            effect.offset = size;
            watch.AddEffect(std::move(effect));
        });
}

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
            struct stat64 status {};
            (void)fstatat64(newFolder, newName, &status, AT_SYMLINK_NOFOLLOW);
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

REPLACEMENT(getdents64, ssize_t, (int folder, void* entries, size_t size)) {
    return Pass(CallKind::kListFolder, ssize_t{-1},
                [&](bool) { return REAL(getdents64)(folder, entries, size); });
}

REPLACEMENT(semget, int, (key_t key, int size, int flags)) {
    return Pass(CallKind::kObtainLock, -1, [&](bool) { return REAL(semget)(key, size, flags); });
}

REPLACEMENT(semop, int, (int set, struct sembuf* steps, size_t count)) {
    const int change = steps[count - 1].sem_op;
    const CallKind kind = change > 0 ? CallKind::kTakeLock : CallKind::kReleaseLock;
    return Pass(
        kind, -1, [&](bool) { return REAL(semop)(set, steps, count); },
        [&](DisturbedCalls& watch, int) { watch.AddLocks(change); });
}
