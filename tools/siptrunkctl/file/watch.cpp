#include "tools/siptrunkctl/file/watch.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "support/system_call.h"

namespace {

using support::FileStatus;

constexpr std::uint32_t kNews = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE |
                                IN_DELETE_SELF | IN_MOVE_SELF | IN_ATTRIB | IN_CLOSE_WRITE |
                                IN_ONLYDIR;

// Returns the path without links, as far as it is there.
std::filesystem::path RealPath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path real = std::filesystem::weakly_canonical(path, error);
    return error ? std::filesystem::path(path) : real;
}

bool IsSameFile(const FileStatus& a, const FileStatus& b) {
    return a.device == b.device && a.inode == b.inode;
}

}  // namespace

FileWatch::FileWatch(const std::string& path) : m_path(path), m_events(inotify_init1(IN_CLOEXEC)) {
    const std::string folder = RealPath(path).parent_path();
    if (m_events.Number() == -1 ||
        inotify_add_watch(m_events.Number(), folder.c_str(), kNews) == -1) {
        support::ThrowSystemFailure(errno, folder, "watch");
    }
    WatchAll();
}

// The way as it is written, and the way as it really is, which differ where there are links. A
// folder that is not there cannot be watched; the one above tells when it comes.
void FileWatch::WatchAll() {
    const std::filesystem::path real = RealPath(m_path);
    for (std::filesystem::path folder : {std::filesystem::path(m_path), real}) {
        while (folder.has_relative_path()) {
            folder = folder.parent_path();
            (void)inotify_add_watch(m_events.Number(), folder.empty() ? "." : folder.c_str(),
                                    kNews);
        }
    }
    m_name = real.filename();
    (void)support::LookAt(AT_FDCWD, real.parent_path().c_str(), m_folder);
    (void)support::LookAt(AT_FDCWD, real.c_str(), m_file);
}

// Returns whether one of the events is about the file; its times are too coarse to tell.
bool FileWatch::WaitForEvent() const {
    alignas(struct inotify_event) std::array<char, 4096> block{};
    const ssize_t count = support::RetryInterrupted(
        [&] { return read(m_events.Number(), block.data(), block.size()); });
    if (count == -1) {
        support::ThrowSystemFailure(errno, m_path, "watch");
    }
    bool isAbout = false;
    struct inotify_event event {};
    for (std::size_t at = 0; at < static_cast<std::size_t>(count);
         at += sizeof(event) + event.len) {
        std::memcpy(&event, block.data() + at, sizeof(event));
        const bool isNamed = event.len > 0 && m_name == block.data() + at + sizeof(event);
        isAbout = isAbout || isNamed || (event.mask & IN_Q_OVERFLOW) != 0;
    }
    return isAbout;
}

FileWatch::News FileWatch::Wait() {
    while (true) {
        const bool isAbout = WaitForEvent();
        const FileStatus folderBefore = m_folder;
        const FileStatus fileBefore = m_file;
        WatchAll();
        if (!IsSameFile(folderBefore, m_folder)) {
            return m_folder.mode == 0 ? News::kFolderGone : News::kFolderReplaced;
        }
        if (isAbout || !IsSameFile(fileBefore, m_file)) {
            return News::kFile;
        }
    }
}
