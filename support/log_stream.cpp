#include "support/wide_time.h"

#include "support/log_stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "support/system_call.h"
#include "support/text_format.h"

namespace {

bool IsControl(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return code < 0x20 || code == 0x7f;
}

void AppendEscaped(std::string& text, const std::string& message) {
    static const char* const kDigits = "0123456789abcdef";
    for (std::size_t i = 0; i < message.size(); ++i) {
        const char byte = message[i];
        const bool endsLine = byte == '\n' && i + 1 == message.size();
        if (!IsControl(byte) || endsLine) {
            text.push_back(byte);
            continue;
        }
        const auto code = static_cast<unsigned char>(byte);
        text.append("\\x").append(1, kDigits[code >> 4U]).append(1, kDigits[code & 0xfU]);
    }
}

}  // namespace

LogStream::LogStream(const char* name, bool append, bool create, int maxFileSize, int /*filesKept*/,
                     unsigned int bufferSize, bool syncAtFlush)
    : m_file(-1), m_maxFileSize(maxFileSize), m_bufferSize(bufferSize), m_syncAtFlush(syncAtFlush) {
    m_pending.reserve(m_bufferSize);
    // O_NONBLOCK: opening a FIFO must not wait for its reader.
    const int flags = O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK |
                      (append ? 0 : O_TRUNC) | (create ? O_CREAT : 0);
    m_file = RetryInterrupted([&] { return open(name, flags, 0640); });
    if (m_file == -1) {
        ThrowSystemFailure(errno, name, "open log");
    }
    struct stat file {};
    if (fstat(m_file, &file) == 0 && S_ISFIFO(file.st_mode)) {
        (void)close(m_file);
        // A reader that goes away would have the kernel kill the process (SIGPIPE).
        ThrowSystemFailure(EINVAL, name, "open log (a pipe, not a file)");
    }
}

LogStream::~LogStream() {
    Flush();
    (void)close(m_file);  // nothing is left that a failure could tell about
}

void LogStream::TRACE(unsigned char level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    try {
        TRACE(level, format, arguments, 0);
    } catch (...) {
        va_end(arguments);
        throw;
    }
    va_end(arguments);
}

void LogStream::TRACE(unsigned char /*level*/, const char* format, va_list& arguments,
                      unsigned char) {
    AppendEscaped(m_pending, FormatText(format, arguments));
}

void LogStream::Flush() {
    if (m_pending.empty()) {
        return;
    }
    struct stat file {};
    const auto size = static_cast<long long>(m_pending.size());
    if (fstat(m_file, &file) == 0 && S_ISREG(file.st_mode) && file.st_size + size > m_maxFileSize) {
        // One that cannot start anew goes on growing.
        (void)RetryInterrupted([&] { return ftruncate(m_file, 0); });
    }
    std::string::size_type written = 0;
    while (written < m_pending.size()) {
        const ssize_t count = RetryInterrupted(
            [&] { return write(m_file, m_pending.data() + written, m_pending.size() - written); });
        if (count <= 0) {
            break;
        }
        written += static_cast<std::string::size_type>(count);
    }
    m_pending.erase(0, written);
    if (m_pending.size() > m_bufferSize) {
        // A full disk must not fill the memory as well. What stays are whole lines from the oldest
        // on, so that the rest of a line that was written in part is not lost.
        const std::string::size_type fitting =
            std::string_view(m_pending).substr(0, m_bufferSize).rfind('\n');
        const std::string::size_type last =
            fitting != std::string::npos ? fitting : m_pending.find('\n');
        m_pending.erase(std::min(last, m_pending.size() - 1) + 1);
    }
    if (m_syncAtFlush) {
        (void)fdatasync(m_file);
    }
}
