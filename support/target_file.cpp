#include "support/target_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

#include "support/access_list.h"
#include "support/system_call.h"

namespace support {

TargetFile::TargetFile(const char* path, FileIdentity& loaded) : m_path(path), m_loaded(loaded) {
    std::string file = FollowLinks(path, "resolve", m_old);
    if (m_old.mode == 0) {
        Fail("stat", ENOENT);
    }
    CheckRegular(path, m_old.mode);
    CheckLoaded(m_old);
    const std::size_t nameBegin = file.rfind('/') + 1;
    m_name = file.substr(nameBegin);
    file.resize(nameBegin);
    m_folder = OpenFolder(nameBegin == 0 ? "." : file.c_str());
    if (m_loaded.file.Number() == -1) {
        OpenOld();
    }
}

void TargetFile::Fail(const char* step, int error) const {
    ThrowSystemFailure(error, m_path, step);
}

FileDescriptor TargetFile::OpenFolder(const char* folder) const {
    // The sweep reads the folder, and its time of access would be one more thing to write to the
    // disk; only the folder's owner and root may prevent that (open(2)).
    const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    if (!OccupyStandardStreams()) {
        Fail("open folder");
    }
    int opened = RetryInterrupted([&] { return open(folder, flags | O_NOATIME); });
    if (opened == -1 && errno == EPERM) {
        opened = RetryInterrupted([&] { return open(folder, flags); });
    }
    if (opened == -1) {
        Fail("open folder");
    }
    return FileDescriptor(opened);
}

// Only an object's second save comes here: the file is then the one that its first save made.
void TargetFile::OpenOld() {
    const int flags = O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    FileDescriptor file(RetryInterrupted([&] { return openat(Folder(), Name(), flags); }));
    FileStatus status;
    if (file.Number() == -1 || !LookAt(file.Number(), status)) {
        Fail("open");
    }
    CheckLoaded(status);
    m_loaded.file = std::move(file);
}

void TargetFile::CheckLoaded(const FileStatus& status) const {
    if (!status.IsOf(m_loaded)) {
        throw std::runtime_error(std::string(m_path) + ": save: was replaced meanwhile");
    }
}

std::string TargetFile::OldAccessList() const {
    std::string list;
    if (!ReadAccessList(m_loaded.file.Number(), list)) {
        Fail("read access list");
    }
    return list;
}

bool TargetFile::HasChanged() {
    const FileStatus before = m_old;
    if (!LookAt(Folder(), Name(), m_old)) {
        Fail("stat");
    }
    CheckLoaded(m_old);
    return m_old.mode != before.mode || m_old.user != before.user || m_old.group != before.group ||
           m_old.changed != before.changed;
}

void TargetFile::SyncFolder() const {
    if (RetryInterrupted([&] { return fsync(Folder()); }) == 0) {
        return;
    }
    // This is what file systems without a sync for folders answer (fsync(2)).
    if (errno != EINVAL && errno != ENOSYS) {
        Fail("sync folder (the new file is in place; a power cut may undo it)");
    }
}

}  // namespace support
