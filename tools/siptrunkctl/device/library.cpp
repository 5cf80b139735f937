#include "tools/siptrunkctl/device/library.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <string_view>

#include "support/entry.h"
#include "support/line_scanner.h"
#include "support/system_call.h"
#include "tools/siptrunkctl/device/cause.h"

namespace {

constexpr std::size_t kTimePrefix = 14;  // "14:05:09.042  "
constexpr std::string_view kErrorMark = "ERROR: ";

std::string PathOf(const support::FileDescriptor& file) {
    return "/proc/self/fd/" + std::to_string(file.Number());
}

}  // namespace

CSIPTrunkConfig& Library::Config() {
    if (!m_config) {
        OpenLogs();
        WaitForLock(m_options.wait);
        m_config.emplace(&*m_logger);
    }
    return *m_config;
}

void Library::OpenLogs() {
    m_memory = support::FileDescriptor(memfd_create("siptrunkctl", MFD_CLOEXEC));
    if (m_memory.Number() == -1) {
        support::ThrowSystemFailure(errno, "log in memory", "open");
    }
    if (!m_options.logFile.empty()) {
        const int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
        m_logFile = support::FileDescriptor(support::RetryInterrupted(
            [&] { return open(m_options.logFile.c_str(), flags, 0640); }));
        if (m_logFile.Number() == -1) {
            support::ThrowSystemFailure(errno, m_options.logFile, "open log");
        }
    }
    m_logger.emplace(PathOf(m_memory).c_str());
}

std::string Library::TakeLines() {
    std::ifstream memory(PathOf(m_memory), std::ios::binary);
    std::string lines{std::istreambuf_iterator<char>(memory), std::istreambuf_iterator<char>()};
    (void)ftruncate(m_memory.Number(), 0);  // otherwise the same lines would come again
    return lines;
}

void Library::ThrowLogged() {
    const std::string lines = TakeLines();
    if (m_logFile.Number() != -1 && !lines.empty()) {
        // As the library has it: a log that takes no line changes nothing in an operation's result.
        (void)support::RetryInterrupted(
            [&] { return write(m_logFile.Number(), lines.data(), lines.size()); });
    }
    std::string cause;
    for (support::LineScanner scanner(lines); scanner.Next();) {
        const std::string_view line = scanner.Line();
        if (line.compare(std::min(kTimePrefix, line.size()), kErrorMark.size(), kErrorMark) == 0) {
            cause = support::WithoutTrailingBlanks(line.substr(kTimePrefix + kErrorMark.size()));
        }
    }
    if (!cause.empty()) {
        throw FailureOf(cause);
    }
}

void Library::Require(bool result, const std::string& otherwise) {
    if (!Checked(result)) {
        throw Failure(otherwise);
    }
}
