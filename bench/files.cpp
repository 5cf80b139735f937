#include "bench/files.h"

#include <fcntl.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace {

// One semaphore for a program and the processes that it forks, which leave with _exit.
class LockSet {
  public:
    LockSet() : m_set(semget(IPC_PRIVATE, 1, 0600)) {}
    ~LockSet() { (void)semctl(m_set, 0, IPC_RMID); }
    LockSet(const LockSet&) = delete;
    LockSet& operator=(const LockSet&) = delete;

    int Operate(struct sembuf* operations, std::size_t count) const {
        return semop(m_set, operations, count);
    }

  private:
    int m_set;
};

const LockSet lockSet;

}  // namespace

ScratchFolder::ScratchFolder(const std::string& parent) : m_path(parent + "/bench-XXXXXX") {
    if (mkdtemp(m_path.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), m_path);
    }
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

BenchLock::BenchLock() {
    struct sembuf take[] = {{0, 0, 0}, {0, 1, SEM_UNDO}};
    if (lockSet.Operate(take, 2) != 0) {
        throw std::system_error(errno, std::generic_category(), "semop");
    }
}

BenchLock::~BenchLock() {
    struct sembuf release = {0, -1, SEM_UNDO | IPC_NOWAIT};
    (void)lockSet.Operate(&release, 1);
}

void WriteText(const std::string& path, std::string_view text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file || chmod(path.c_str(), 0600) != 0) {
        throw std::runtime_error(path + " cannot be written");
    }
}

void ReplaceDurably(const std::string& folder, const std::string& path, std::string_view text) {
    const std::string temporary = path + ".new";
    const int directory = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
        fsync(file) != 0 || close(file) != 0 || rename(temporary.c_str(), path.c_str()) != 0 ||
        fsync(directory) != 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    (void)close(directory);
}

std::string DatabaseText(int trunks) {
    std::string text = "section {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=1\n}\n";
    for (int i = 0; i < trunks; ++i) {
        text += i % 8 == 7 ? "# the next one is for the branch office\nsection {\n" : "section {\n";
        for (const auto& [key, value] : TrunkEntries(i)) {
            text.append(key).append("=").append(value).append("\n");
        }
        text += "}\n";
    }
    return text;
}
