#include "support/wide_time.h"

#include "support/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>
#include <utility>

#include "support/file_status.h"
#include "support/system_call.h"

namespace support {

namespace {

constexpr mode_t kOwnerOnly = 0600;

int OpenOrCreate(const char* path, int flags, bool createIfMissing) {
    const int found = RetryInterrupted([&] { return open(path, flags); });
    if (found != -1 || errno != ENOENT || !createIfMissing) {
        return found;
    }
    const int made = RetryInterrupted([&] { return open(path, flags | O_CREAT, kOwnerOnly); });
    if (made != -1) {
        (void)fchmod(made, kOwnerOnly);  // gives back what a strict umask took
    }
    return made;
}

int OpenForReading(const char* path, bool createIfMissing) {
    if (!OccupyStandardStreams()) {
        return -1;
    }
    // O_NONBLOCK: opening a FIFO must not wait for its other end. Regular files ignore it.
    const int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    const int file = OpenOrCreate(path, flags | O_NOFOLLOW, createIfMissing);
    if (file != -1 || errno != ELOOP) {
        return file;
    }
    if (geteuid() != 0) {
        return OpenOrCreate(path, flags, createIfMissing);  // by the kernel's rules for links
    }
    FileStatus status;
    const std::string followed = FollowLinks(path, "open", status);
    return OpenOrCreate(followed.c_str(), flags | O_NOFOLLOW, createIfMissing);
}

void EndText(FileText& text, std::size_t size) {
    text.size = size;
    std::fill_n(text.bytes.get() + size, kLineFeedsAfterText, '\n');
}

}  // namespace

void CheckRegular(const char* path, mode_t mode) {
    if (S_ISDIR(mode)) {
        ThrowSystemFailure(EISDIR, path, "open");
    }
    if (!S_ISREG(mode)) {
        ThrowSystemFailure(EINVAL, path, "open (a FIFO or device, not a regular file)");
    }
}

FileText MakeText(std::size_t size) {
    FileText text;
    text.bytes.reset(new char[size + kLineFeedsAfterText]);  // not set: each byte is overwritten
    EndText(text, size);
    return text;
}

FileText ReadWholeFile(const char* path, bool createIfMissing) {
    FileDescriptor file(OpenForReading(path, createIfMissing));
    if (file.Number() == -1) {
        ThrowSystemFailure(errno, path, "open");
    }
    struct stat status {};
    if (RetryInterrupted([&] { return fstat(file.Number(), &status); }) == -1) {
        ThrowSystemFailure(errno, path, "stat");
    }
    CheckRegular(path, status.st_mode);
    if (status.st_size > PTRDIFF_MAX - static_cast<off_t>(kLineFeedsAfterText)) {
        ThrowSystemFailure(EFBIG, path, "read");
    }
    FileText text = MakeText(static_cast<std::size_t>(status.st_size));
    std::size_t filled = 0;
    while (filled < text.size) {
        const ssize_t count = RetryInterrupted(
            [&] { return read(file.Number(), text.bytes.get() + filled, text.size - filled); });
        if (count == -1) {
            ThrowSystemFailure(errno, path, "read");
        }
        if (count == 0) {
            break;  // somebody without the lock has cut the file meanwhile
        }
        filled += static_cast<std::size_t>(count);
    }
    EndText(text, filled);
    text.identity = {status.st_dev, status.st_ino, std::move(file)};
    return text;
}

}  // namespace support
