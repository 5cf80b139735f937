#include "support/wide_time.h"

#include "support/temporary_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>
#include <string>

#include "support/access_list.h"
#include "support/system_call.h"

namespace support {

namespace {

constexpr mode_t kOwnerOnly = 0600;
constexpr mode_t kPermissions = 07777;
constexpr std::size_t kSuffixLength = 6;

bool IsAlphanumeric(char byte) { return std::isalnum(static_cast<unsigned char>(byte)) != 0; }

// The suffix of a temporary file: a tilde, which mkstemp(3) never uses, and five letters or digits.
// So an operator's ".rc.conf.backup" or another program's ".rc.conf.aB3dE9" is never swept.
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

bool IsLeftover(std::string_view entry, std::string_view name) {
    return entry.size() == name.size() + 2 + kSuffixLength && entry.front() == '.' &&
           entry.substr(1, name.size()) == name && entry[1 + name.size()] == '.' &&
           IsTemporarySuffix(entry.substr(2 + name.size()));
}

struct FolderCloser {
    void operator()(DIR* folder) const { (void)closedir(folder); }  // it was only read
};

}  // namespace

TemporaryFile::TemporaryFile(const TargetFile& target) : m_target(target), m_file(Create()) {}

TemporaryFile::~TemporaryFile() {
    if (!m_renamed) {
        (void)unlinkat(m_target.Folder(), m_name, 0);  // the next save sweeps it
    }
}

FileDescriptor TemporaryFile::Create() {
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
        const int file =
            RetryInterrupted([&] { return openat(m_target.Folder(), m_name, flags, kOwnerOnly); });
        if (file != -1) {
            return FileDescriptor(file);
        }
        if (errno != EEXIST) {
            break;
        }
    }
    m_target.Fail("create temporary file");
}

void TemporaryFile::Write(const std::vector<std::string_view>& pieces) {
    std::array<struct iovec, 64> parts{};
    std::size_t used = 0;
    const char* end = nullptr;  // of the last part
    for (const std::string_view piece : pieces) {
        if (used > 0 && piece.data() == end) {
            parts.at(used - 1).iov_len += piece.size();
        } else {
            if (used == parts.size()) {
                WriteParts(parts.data(), used);
                used = 0;
            }
            // writev only reads, but its interface is not const.
            parts.at(used++) = {const_cast<char*>(piece.data()), piece.size()};
        }
        end = piece.data() + piece.size();
    }
    WriteParts(parts.data(), used);
}

void TemporaryFile::WriteParts(struct iovec* parts, std::size_t count) {
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

// The owner first: a change of owner clears bits of the mode (chown(2)), and the entries of a list
// for the owner and the group must not apply to another owner and group. The mode last: a list
// brings its own. Most often the temporary file has the right owner and mode from its birth.
void TemporaryFile::TakeOwnerAndMode() {
    const int file = m_file.Number();
    const FileStatus& old = m_target.Old();
    if (!LookAt(file, m_made)) {
        m_target.Fail("stat temporary file");
    }
    if ((m_made.user != old.user || m_made.group != old.group) &&
        RetryInterrupted([&] { return fchown(file, old.user, old.group); }) == -1) {
        m_target.Fail("keep owner and group (save as that user or as root)");
    }
    if (!WriteAccessList(file, m_target.OldAccessList())) {
        m_target.Fail("keep access list");
    }
    if (m_made.mode != old.mode &&
        RetryInterrupted([&] { return fchmod(file, old.mode & kPermissions); }) == -1) {
        m_target.Fail("keep mode");
    }
}

void TemporaryFile::SyncAndClose() {
    // After a failed sync the kernel may have dropped the text: a second sync would lie.
    if (RetryInterrupted([&] { return fsync(m_file.Number()); }) == -1) {
        m_target.Fail("sync");
    }
    if (!m_file.Close()) {
        m_target.Fail("close");
    }
}

void TemporaryFile::RenameToTarget() {
    const int folder = m_target.Folder();
    if (RetryInterrupted([&] { return renameat(folder, m_name, folder, m_target.Name()); }) == -1) {
        const bool isMountPoint = errno == EBUSY || errno == EXDEV;
        m_target.Fail(isMountPoint ? "rename (the file is a mount point: mount its folder)"
                                   : "rename");
    }
    m_renamed = true;
}

void SweepLeftovers(TargetFile& target) {
    const int folder = target.ReleaseFolder();
    const std::unique_ptr<DIR, FolderCloser> entries(fdopendir(folder));
    if (entries == nullptr) {
        const FileDescriptor unread(folder);
        return;
    }
    while (const struct dirent* entry = readdir(entries.get())) {
        if (IsLeftover(entry->d_name, target.Name())) {
            (void)unlinkat(folder, entry->d_name, 0);
        }
    }
}

}  // namespace support
