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
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "support/file_descriptor.h"
#include "support/system_call.h"
#include "support/whole_file.h"

namespace {

constexpr mode_t kOwnerOnly = 0600;
constexpr std::size_t kSuffixLength = 6;

bool IsAlphanumeric(char byte) { return std::isalnum(static_cast<unsigned char>(byte)) != 0; }

// The suffix of a temporary file: a tilde, which mkstemp(3) never uses, and five letters or digits.
// So a ".rc.conf.backup" of an operator's or a ".rc.conf.aB3dE9" of another program is never swept.
bool IsTemporarySuffix(std::string_view suffix) {
    return suffix.size() == kSuffixLength && suffix.front() == '~' &&
           std::all_of(suffix.begin() + 1, suffix.end(), IsAlphanumeric);
}

std::string NextSuffix(std::uint64_t& seed) {
    static const std::string_view kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    std::string suffix(kSuffixLength, '~');
    for (std::size_t i = 1; i < kSuffixLength; ++i) {
        seed = seed * 6364136223846793005U + 1442695040888963407U;  // Knuth, TAOCP 3.3.4
        suffix[i] = kAlphabet[(seed >> 33U) % kAlphabet.size()];
    }
    return suffix;
}

// The folder of the file that is replaced, the file's name in it, and its owner and mode.
class Target {
  public:
    explicit Target(const char* path) : m_path(path), m_real(Resolve(path)) {
        const std::size_t slash = m_real.rfind('/');
        m_name = m_real.substr(slash + 1);
        const std::string folder = m_real.substr(0, slash + 1);
        const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
        m_folder = RetryInterrupted([&] { return open(folder.c_str(), flags); });
        if (m_folder == -1) {
            ThrowSystemFailure(errno, m_path, "open folder");
        }
    }
    ~Target() { (void)close(m_folder); }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    [[noreturn]] void Fail(const char* step) const { ThrowSystemFailure(errno, m_path, step); }

    struct stat Status() const {
        struct stat file {};
        if (RetryInterrupted([&] {
                return fstatat(m_folder, m_name.c_str(), &file, AT_SYMLINK_NOFOLLOW);
            }) == -1) {
            Fail("stat");
        }
        CheckRegular(m_path, file);
        return file;
    }

    int Folder() const { return m_folder; }
    const std::string& Name() const { return m_name; }

    void SyncFolder() const {
        if (RetryInterrupted([&] { return fsync(m_folder); }) == 0) {
            return;
        }
        // File systems without a sync for folders answer so (fsync(2)).
        if (errno != EINVAL && errno != ENOSYS) {
            Fail("sync folder (the new file is in place; a power cut may undo it)");
        }
    }

  private:
    static std::string Resolve(const char* path) {
        std::unique_ptr<char, void (*)(void*)> real(nullptr, std::free);
        const int resolved = RetryInterrupted([&] {
            real.reset(realpath(path, nullptr));
            return real ? 0 : -1;
        });
        if (resolved == -1) {
            ThrowSystemFailure(errno, path, "resolve");
        }
        return real.get();
    }

    const char* m_path;  // as the caller gave it, for messages
    std::string m_real;
    std::string m_name;
    int m_folder = -1;
};

// A file beside the target, removed unless it has become the target.
class TemporaryFile {
  public:
    explicit TemporaryFile(const Target& target) : m_target(target), m_file(Create()) {}
    ~TemporaryFile() {
        if (!m_renamed) {
            (void)unlinkat(m_target.Folder(), m_name.c_str(), 0);  // the next save sweeps it
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    // The owner first: a change of owner clears bits of the mode (chown(2)).
    void TakeOwnerAndMode(const struct stat& old) {
        if (RetryInterrupted([&] { return fchown(m_file.Number(), old.st_uid, old.st_gid); }) ==
            -1) {
            m_target.Fail("keep owner (save as that user or as root)");
        }
        if (RetryInterrupted([&] { return fchmod(m_file.Number(), old.st_mode & 07777U); }) == -1) {
            m_target.Fail("keep mode");
        }
    }

    void Write(const std::vector<std::string_view>& pieces) {
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
        if (RetryInterrupted([&] {
                return renameat(folder, m_name.c_str(), folder, m_target.Name().c_str());
            }) == -1) {
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
        auto seed =
            static_cast<std::uint64_t>(now.tv_nsec) ^ (static_cast<std::uint64_t>(getpid()) << 32U);
        const int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        for (int attempt = 0; attempt < 100; ++attempt) {
            m_name = "." + m_target.Name() + "." + NextSuffix(seed);
            const int file = RetryInterrupted(
                [&] { return openat(m_target.Folder(), m_name.c_str(), flags, kOwnerOnly); });
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
    std::string m_name;
    FileDescriptor m_file;
    bool m_renamed = false;
};

bool IsLeftover(std::string_view entry, const std::string& name) {
    return entry.size() == name.size() + 2 + kSuffixLength && entry.front() == '.' &&
           entry.substr(1, name.size()) == name && entry[1 + name.size()] == '.' &&
           IsTemporarySuffix(entry.substr(2 + name.size()));
}

// The save is done by now: what cannot be swept stays for the next save.
void SweepLeftovers(const Target& target) {
    const int folder = openat(target.Folder(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder == -1) {
        return;
    }
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(fdopendir(folder), closedir);
    if (!entries) {
        (void)close(folder);
        return;
    }
    while (const struct dirent* entry = readdir(entries.get())) {
        if (IsLeftover(entry->d_name, target.Name())) {
            (void)unlinkat(target.Folder(), entry->d_name, 0);
        }
    }
}

}  // namespace

void ReplaceFile(const char* path, const std::vector<std::string_view>& pieces) {
    const Target target(path);
    const struct stat old = target.Status();
    TemporaryFile temporary(target);
    temporary.TakeOwnerAndMode(old);
    temporary.Write(pieces);
    temporary.SyncAndClose();
    temporary.RenameToTarget();
    target.SyncFolder();
    SweepLeftovers(target);
}
