// A bare program to compare with, not a lower bound: the system calls of a job on the device's
// path, and one memchr for each line of the file.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "bench/contestant.h"
#include "bench/files.h"

namespace {

class Floor final : public Contestant {
  public:
    Floor(const std::string& folder, int trunks)
        : m_folder(folder + "/telephony"), m_path(m_folder + "/siptrunkdb") {
        std::filesystem::create_directory(m_folder);
        m_text = DatabaseText(trunks);
        WriteText(m_path, m_text);
        m_lines = std::count(m_text.begin(), m_text.end(), '\n');
    }

    Record Find(const std::string& /*trunkName*/) override {
        const BenchLock lock;
        Load();
        return {};
    }

    std::list<Record> List() override {
        const BenchLock lock;
        Load();
        return {};
    }

    void Store(Record& /*record*/) override {
        const BenchLock lock;
        Load();
        ReplaceDurably(m_folder, m_path, m_text);
    }

    bool Answers() const override { return false; }

  private:
    void Load() {
        const int file = open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status {};
        (void)fstat(file, &status);
        m_text.resize(static_cast<std::size_t>(status.st_size));
        const ssize_t length = read(file, m_text.data(), m_text.size());
        (void)close(file);
        if (length != status.st_size || CountLines() != m_lines) {
            throw std::runtime_error("the floor has not read the file");
        }
    }

    long CountLines() const {
        long lines = 0;
        const char* end = m_text.data() + m_text.size();
        for (const char* line = m_text.data(); line < end; ++lines) {
            const void* lineFeed = std::memchr(line, '\n', static_cast<std::size_t>(end - line));
            line = lineFeed == nullptr ? end : static_cast<const char*>(lineFeed) + 1;
        }
        return lines;
    }

    std::string m_folder;
    std::string m_path;
    std::string m_text;  // kept from job to job, so that a read fills memory that is there
    long m_lines;
};

const ContestantKind kFloor("floor", MakeContestant<Floor>);

}  // namespace
