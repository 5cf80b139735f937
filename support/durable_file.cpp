#include "support/wide_time.h"

#include "support/durable_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>

#include "support/file_descriptor.h"
#include "support/system_call.h"
#include "support/whole_file.h"

namespace {

constexpr mode_t kOwnerOnly = 0600;
constexpr std::size_t kSuffixLength = 6;
constexpr int kMostLinks = 40;  // as many as the kernel follows (path_resolution(7))

bool IsAlphanumeric(char byte) { return std::isalnum(static_cast<unsigned char>(byte)) != 0; }

// The suffix of a temporary file: a tilde, which mkstemp(3) never uses, and five letters or digits.
// So a ".rc.conf.backup" of an operator's or a ".rc.conf.aB3dE9" of another program is never swept.
bool IsTemporarySuffix(std::string_view suffix) {
    return suffix.front() == '~' && std::all_of(suffix.begin() + 1, suffix.end(), IsAlphanumeric);
}

std::string NextSuffix(std::uint64_t& seed) {
    static const std::string_view kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    std::string suffix(kSuffixLength, '~');
    for (std::size_t i = 1; i < kSuffixLength; ++i) {
        seed = seed * 6364136223846793005U + 1442695040888963407U;  // Knuth, TAOCP 3.3.4
        suffix[i] = kAlphabet[static_cast<std::size_t>((seed >> 33U) % kAlphabet.size())];
    }
    return suffix;
}

// Returns the path with the link at its end followed, and the link at that one's end, and so on; links
// in the folders are left to the kernel.
// status  receives what is known of the file that the returned path names
std::string FollowLinks(const char* path, struct stat& status) {
    std::string followed = path;
    for (int links = 0;; ++links) {
        if (RetryInterrupted([&] { return lstat(followed.c_str(), &status); }) == -1) {
            ThrowSystemFailure(errno, path, "stat");
        }
        if (!S_ISLNK(status.st_mode)) {
            return followed;
        }
        char target[PATH_MAX] = "";
        const ssize_t length =
            RetryInterrupted([&] { return readlink(followed.c_str(), target, sizeof(target)); });
        if (length == -1 || links == kMostLinks) {
            ThrowSystemFailure(length == -1 ? errno : ELOOP, path, "resolve");
        }
        // A relative target begins in the folder of its link.
        followed.erase(target[0] == '/' ? 0 : followed.rfind('/') + 1);
        followed.append(target, static_cast<std::size_t>(length));
    }
}

// The file that is replaced, seen from its folder.
class Target {
  public:
    explicit Target(const char* path)
        : m_path(path),
          m_file(FollowLinks(path, m_old)),
          m_nameBegin(m_file.rfind('/') + 1),
          m_folder(OpenFolder()) {
        CheckRegular(path, m_old.st_mode);
    }

    [[noreturn]] void Fail(const char* step) const { ThrowSystemFailure(errno, m_path, step); }

    int Folder() const { return m_folder.Number(); }
    const char* Name() const { return m_file.c_str() + m_nameBegin; }
    /// The file's status before it is replaced.
    const struct stat& Old() const { return m_old; }

    void SyncFolder() const {
        if (RetryInterrupted([&] { return fsync(Folder()); }) == 0) {
            return;
        }
        // File systems without a sync for folders answer so (fsync(2)).
        if (errno != EINVAL && errno != ENOSYS) {
            Fail("sync folder (the new file is in place; a power cut may undo it)");
        }
    }

  private:
    int OpenFolder() {
        const char* folder = m_nameBegin == 0 ? "." : "/";
        if (m_nameBegin > 1) {
            folder = m_file.c_str();
            m_file[m_nameBegin - 1] = '\0';  // two texts in one from now on: folder and name
        }
        // The sweep reads the folder, and a time of access would be one more thing to write to the
        // disk; only the folder's owner and root may do without it (open(2)).
        const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
        int opened = RetryInterrupted([&] { return open(folder, flags | O_NOATIME); });
        if (opened == -1 && errno == EPERM) {
            opened = RetryInterrupted([&] { return open(folder, flags); });
        }
        if (opened == -1) {
            Fail("open folder");
        }
        return opened;
    }

    const char* m_path;  // as the caller gave it, for messages
    struct stat m_old {};
    std::string m_file;  // with the links at its end followed; the name behind the folder
    std::size_t m_nameBegin;
    FileDescriptor m_folder;
};

// A file beside the target, removed unless it has become the target.
class TemporaryFile {
  public:
    explicit TemporaryFile(const Target& target) : m_target(target), m_file(Create()) {}
    ~TemporaryFile() {
        if (!m_renamed) {
            (void)unlinkat(m_target.Folder(), m_name, 0);  // the next save sweeps it
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    // The owner first: a change of owner clears bits of the mode (chown(2)). Most often the temporary
    // file has what it needs from its birth.
    void TakeOwnerAndMode() {
        const struct stat& old = m_target.Old();
        struct stat made {};
        if (RetryInterrupted([&] { return fstat(m_file.Number(), &made); }) == -1) {
            m_target.Fail("stat temporary file");
        }
        if ((made.st_uid != old.st_uid || made.st_gid != old.st_gid) &&
            RetryInterrupted([&] { return fchown(m_file.Number(), old.st_uid, old.st_gid); }) ==
                -1) {
            m_target.Fail("keep owner and group (save as that user or as root)");
        }
        if (made.st_mode != old.st_mode &&
            RetryInterrupted([&] { return fchmod(m_file.Number(), old.st_mode & 07777U); }) == -1) {
            m_target.Fail("keep mode");
        }
    }

    void Write(const TextPieces& pieces) {
        std::array<struct iovec, 64> parts{};
        std::size_t used = 0;
        for (const std::string_view piece : pieces) {
            if (piece.empty()) {
                continue;
            }
            // writev only reads, but its interface is not const.
            parts.at(used++) = {const_cast<char*>(piece.data()), piece.size()};
            if (used == parts.size()) {
                WriteParts(parts.data(), used);
                used = 0;
            }
        }
        WriteParts(parts.data(), used);
    }

    void SyncAndClose() {
        // After a failed sync the kernel may have dropped the text: a second sync would lie.
        if (RetryInterrupted([&] { return fsync(m_file.Number()); }) == -1) {
            m_target.Fail("sync");
        }
        if (!m_file.Close()) {
            m_target.Fail("close");
        }
    }

    void RenameToTarget() {
        const int folder = m_target.Folder();
        if (RetryInterrupted([&] { return renameat(folder, m_name, folder, m_target.Name()); }) ==
            -1) {
            const bool isMountPoint = errno == EBUSY || errno == EXDEV;
            m_target.Fail(isMountPoint ? "rename (the file is a mount point: mount its folder)"
                                       : "rename");
        }
        m_renamed = true;
    }

  private:
    int Create() {
        struct timespec now {};
        (void)clock_gettime(CLOCK_REALTIME, &now);
        auto seed = static_cast<std::uint64_t>(now.tv_nsec);
        const int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        for (int attempt = 0; attempt < 100; ++attempt) {
            if (std::snprintf(m_name, sizeof(m_name), ".%s.%s", m_target.Name(),
                              NextSuffix(seed).c_str()) >= static_cast<int>(sizeof(m_name))) {
                errno = ENAMETOOLONG;
                break;
            }
            const int file = RetryInterrupted(
                [&] { return openat(m_target.Folder(), m_name, flags, kOwnerOnly); });
            if (file != -1) {
                return file;
            }
            if (errno != EEXIST) {
                break;
            }
        }
        m_target.Fail("create temporary file");
    }

    void WriteParts(struct iovec* parts, std::size_t count) {
        while (count > 0) {
            const ssize_t written = RetryInterrupted(
                [&] { return writev(m_file.Number(), parts, static_cast<int>(count)); });
            if (written == -1) {
                m_target.Fail("write");
            }
            auto rest = static_cast<std::size_t>(written);
            for (; count > 0 && rest >= parts->iov_len; ++parts, --count) {
                rest -= parts->iov_len;
            }
            if (count > 0) {
                parts->iov_base = static_cast<char*>(parts->iov_base) + rest;
                parts->iov_len -= rest;
            }
        }
    }

    const Target& m_target;
    char m_name[NAME_MAX + 1] = "";
    FileDescriptor m_file;
    bool m_renamed = false;
};

bool IsLeftover(std::string_view entry, std::string_view name) {
    return entry.size() == name.size() + 2 + kSuffixLength && entry.front() == '.' &&
           entry.substr(1, name.size()) == name && entry[1 + name.size()] == '.' &&
           IsTemporarySuffix(entry.substr(2 + name.size()));
}

// The save is done by now: what cannot be swept stays for the next save. Read with getdents64(2),
// since readdir would allocate 32 KiB for a folder of two files.
void SweepLeftovers(const Target& target) {
    alignas(struct dirent64) char entries[2048];
    for (;;) {
        const ssize_t filled = getdents64(target.Folder(), entries, sizeof(entries));
        if (filled <= 0) {
            return;
        }
        for (ssize_t offset = 0; offset < filled;) {
            const auto* entry = reinterpret_cast<const struct dirent64*>(entries + offset);
            if (IsLeftover(entry->d_name, target.Name())) {
                (void)unlinkat(target.Folder(), entry->d_name, 0);
            }
            offset += entry->d_reclen;
        }
    }
}

}  // namespace

void ReplaceFile(const char* path, FileIdentity& /*loaded*/, const TextPieces& pieces) {
    const Target target(path);
    TemporaryFile temporary(target);
    temporary.TakeOwnerAndMode();
    temporary.Write(pieces);
    temporary.SyncAndClose();
    temporary.RenameToTarget();
    target.SyncFolder();
    SweepLeftovers(target);
}
