#include "tools/siptrunkctl/file/watch.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
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

bool IsSameText(const FileStatus& a, const FileStatus& b) {
    return IsSameFile(a, b) && a.changeSeconds == b.changeSeconds &&
           a.changeNanoseconds == b.changeNanoseconds;
}

}  // namespace

FileWatch::FileWatch(const std::string& path)
    : m_path(path), m_events(inotify_init1(IN_CLOEXEC)), m_file(StatusOf(path)) {
    const std::string folder = FolderOf(RealPath(m_path));
    if (m_events.Number() == -1 ||
        inotify_add_watch(m_events.Number(), folder.c_str(), kComings | IN_CLOSE_WRITE) == -1) {
        ThrowSystemFailure(errno, folder, "watch");
    }
    WatchAll();
}

// One that is not there cannot be watched; the one above tells when it comes.
void FileWatch::Watch(const std::string& folder, std::uint32_t events) const {
    (void)inotify_add_watch(m_events.Number(), folder.c_str(), events);
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
}

void FileWatch::WaitForEvent() const {
    alignas(struct inotify_event) std::array<char, 4096> block{};
    if (RetryInterrupted([&] { return read(m_events.Number(), block.data(), block.size()); }) ==
        -1) {
        ThrowSystemFailure(errno, m_path, "watch");
    }
}

FileWatch::News FileWatch::Wait() {
    while (true) {
        WaitForEvent();
        const FileStatus folderBefore = m_folder;
        const FileStatus fileBefore = m_file;
        WatchAll();
        m_file = StatusOf(m_path);
        if (!IsSameFile(folderBefore, m_folder)) {
            return m_folder.mode == 0 ? News::kFolderGone : News::kFolderReplaced;
        }
        if (!IsSameText(fileBefore, m_file)) {
            return News::kFile;
        }
    }
}
