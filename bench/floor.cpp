// What any implementation has to pay: the system calls of a job on the device's path, and for the floor
// one pass of memchr over the lines. The library is measured against the floor.

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

class SystemCalls : public Contestant {
  public:
    SystemCalls(const std::string& folder, int trunks)
        : m_folder(folder + "/telephony"), m_path(m_folder + "/siptrunkdb") {
        std::filesystem::create_directory(m_folder);
        const std::string text = DatabaseText(trunks);
        WriteText(m_path, text);
        m_lines = std::count(text.begin(), text.end(), '\n');
    }

    Record Find(const std::string& /*trunkName*/) override {
        const BenchLock lock;
        PassLines(Load());
        return {};
    }

    std::list<Record> List() override {
        (void)Find({});
        return {};
    }

    void Store(const Record& /*record*/) override {
        const BenchLock lock;
        const Text text = Load();
        PassLines(text);
        ReplaceDurably(m_folder, m_path, {text.bytes.get(), text.size});
    }

    bool Answers() const override { return false; }

  protected:
    struct Text {
        std::unique_ptr<char[]> bytes;
        std::size_t size;
    };

    virtual void PassLines(const Text& /*text*/) const {}

    long Lines() const { return m_lines; }

  private:
    Text Load() const {
        const int file = open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status {};
        (void)fstat(file, &status);
        const auto size = static_cast<std::size_t>(status.st_size);
        Text text{std::unique_ptr<char[]>(new char[size]), size};
        if (read(file, text.bytes.get(), size) != status.st_size) {
            throw std::runtime_error("short read");
        }
        (void)close(file);
        return text;
    }

    std::string m_folder;
    std::string m_path;
    long m_lines;
};

class Floor final : public SystemCalls {
  public:
    using SystemCalls::SystemCalls;

  protected:
    void PassLines(const Text& text) const override {
        long lines = 0;
        const char* end = text.bytes.get() + text.size;
        for (const char* line = text.bytes.get(); line < end; ++lines) {
            const void* lineFeed = std::memchr(line, '\n', static_cast<std::size_t>(end - line));
            line = lineFeed == nullptr ? end : static_cast<const char*>(lineFeed) + 1;
        }
        if (lines != Lines()) {
            throw std::runtime_error("wrong number of lines");
        }
    }
};

const ContestantKind kLimit("limit", MakeContestant<SystemCalls>);
const ContestantKind kFloor("floor", MakeContestant<Floor>);

}  // namespace
