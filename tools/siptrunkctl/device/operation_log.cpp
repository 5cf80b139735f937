#include "tools/siptrunkctl/device/operation_log.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include "support/line_scanner.h"
#include "support/system_call.h"

namespace {

constexpr std::size_t kTimePrefix = 14;  // "14:05:09.042  "
constexpr std::string_view kErrorMark = "ERROR: ";
constexpr std::string_view kErrorEnd = " ";

int OpenMemory() {
    const int memory = memfd_create("siptrunkctl", MFD_CLOEXEC);
    if (memory == -1) {
        support::ThrowSystemFailure(errno, "log in memory", "open");
    }
    return memory;
}

int OpenFile(const std::string& name) {
    if (name.empty()) {
        return -1;
    }
    const int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    const int file = support::RetryInterrupted([&] { return open(name.c_str(), flags, 0640); });
    if (file == -1) {
        support::ThrowSystemFailure(errno, name, "open log");
    }
    return file;
}

}  // namespace

OperationLog::OperationLog(const std::string& file)
    : m_memory(OpenMemory()), m_file(OpenFile(file)) {
    m_logger.emplace(("/proc/self/fd/" + std::to_string(m_memory.Number())).c_str());
}

std::string OperationLog::TakeLines() {
    std::string lines;
    std::array<char, 4096> block{};
    ssize_t count = 0;
    while ((count = support::RetryInterrupted([&] {
                return pread(m_memory.Number(), block.data(), block.size(),
                             static_cast<off_t>(lines.size()));
            })) > 0) {
        lines.append(block.data(), static_cast<std::size_t>(count));
    }
    (void)ftruncate(m_memory.Number(), 0);  // otherwise the same lines would come again
    return lines;
}

std::optional<std::string> OperationLog::TakeCause() {
    const std::string lines = TakeLines();
    if (m_file.Number() != -1 && !lines.empty()) {
        // As the library has it: a log that takes no line changes nothing in an operation's result.
        (void)support::RetryInterrupted(
            [&] { return write(m_file.Number(), lines.data(), lines.size()); });
    }
    std::optional<std::string> cause;
    for (support::LineScanner scanner(lines); scanner.Next();) {
        std::string_view line = scanner.Line().substr(std::min(kTimePrefix, scanner.Line().size()));
        if (line.substr(0, kErrorMark.size()) != kErrorMark) {
            continue;
        }
        line.remove_prefix(kErrorMark.size());
        if (line.size() >= kErrorEnd.size() && line.back() == ' ') {
            line.remove_suffix(kErrorEnd.size());
        }
        cause = line;
    }
    return cause;
}
