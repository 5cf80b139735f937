#include "tools/siptrunkctl/file/watch.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>

#include "support/system_call.h"

namespace {

using support::FileStatus;

constexpr std::uint32_t kComings = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE |
                                   IN_DELETE_SELF | IN_MOVE_SELF | IN_ATTRIB | IN_ONLYDIR;

std::string RealPath(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
    return real ? real.get() : path;
}

std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

FileStatus StatusOf(const std::string& path) {
    FileStatus status;
    if (!support::LookAt(AT_FDCWD, RealPath(path).c_str(), status)) {
        status = {};
    }
    return status;
}

bool IsSameFile(const FileStatus& a, const FileStatus& b) {
    return a.device == b.device && a.inode == b.inode;
}

}  // namespace

FileWatch::FileWatch(const std::string& path)
    : m_path(path), m_events(inotify_init1(IN_CLOEXEC)), m_file(StatusOf(path)) {
    const std::string folder = FolderOf(RealPath(m_path));
    if (m_events.Number() == -1 ||
        inotify_add_watch(m_events.Number(), folder.c_str(), kComings | IN_CLOSE_WRITE) == -1) {
        support::ThrowSystemFailure(errno, folder, "watch");
    }
    WatchAll();
}

// One that is not there cannot be watched; the one above tells when it comes. Two ways may lead to
// one folder, so the events are added to those that are watched for.
void FileWatch::Watch(const std::string& folder, std::uint32_t events) const {
    (void)inotify_add_watch(m_events.Number(), folder.c_str(), events | IN_MASK_ADD);
}

// The way as it is written, and the way as it really is, which differ where there are links.
void FileWatch::WatchAll() {
    std::set<std::string> folders;
    for (const std::string& way : {m_path, RealPath(m_path), RealPath(FolderOf(m_path)) + "/"}) {
        for (std::string folder = FolderOf(way);; folder = FolderOf(folder)) {
            folders.insert(folder);
            if (folder == "/" || folder == ".") {
                break;
            }
        }
    }
    const std::string last = FolderOf(RealPath(m_path));
    for (const std::string& folder : folders) {
        Watch(folder, folder == last ? kComings | IN_CLOSE_WRITE : kComings);
    }
    m_folder = StatusOf(last);
    m_name = RealPath(m_path).substr(RealPath(m_path).rfind('/') + 1);
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
        m_file = StatusOf(m_path);
        if (!IsSameFile(folderBefore, m_folder)) {
            return m_folder.mode == 0 ? News::kFolderGone : News::kFolderReplaced;
        }
        if (isAbout || !IsSameFile(fileBefore, m_file)) {
            return News::kFile;
        }
    }
}
