#include "support/wide_time.h"

#include "support/log_stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "support/file_descriptor.h"
#include "support/postponed_cancellation.h"
#include "support/printable_text.h"
#include "support/system_call.h"
#include "support/text_format.h"

namespace {

// Returns how many bytes of the text were written, none on failure.
std::size_t Write(int file, std::string_view text) {
    const ssize_t count =
        support::RetryInterrupted([&] { return write(file, text.data(), text.size()); });
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

// Returns the size of a regular file, -1 where that cannot be told.
off_t SizeOf(int file) {
    struct stat status {};
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : -1;
}

}  // namespace

LogStream::LogStream(const char* name, bool append, bool create, int maxFileSize, int /*filesKept*/,
                     unsigned int bufferSize, bool syncAtFlush)
    : m_file(-1),
      m_maxFileSize(maxFileSize),
      m_process(getpid()),
      m_bufferSize(bufferSize),
      m_syncAtFlush(syncAtFlush),
      m_isTorn(false) {
    const support::PostponedCancellation postponed;
    m_pending.reserve(m_bufferSize);
    // O_NONBLOCK: opening a FIFO must not wait for its reader.
    const int flags = O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK |
                      (append ? 0 : O_TRUNC) | (create ? O_CREAT : 0);
    if (support::OccupyStandardStreams()) {
        m_file = support::RetryInterrupted([&] { return open(name, flags, 0640); });
    }
    if (m_file == -1) {
        support::ThrowSystemFailure(errno, name, "open log");
    }
    struct stat file {};
    if (fstat(m_file, &file) == 0 && S_ISFIFO(file.st_mode)) {
        (void)close(m_file);
        // A reader that goes away would have the kernel kill the process (SIGPIPE).
        support::ThrowSystemFailure(EINVAL, name, "open log (a pipe, not a file)");
    }
}

LogStream::~LogStream() {
    const support::PostponedCancellation postponed;
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
    ForgetTextOfParent();
    m_pending += support::PrintableLine(support::FormatText(format, arguments));
}

void LogStream::Flush() {
    const support::PostponedCancellation postponed;
    ForgetTextOfParent();
    if (m_pending.empty()) {
        return;
    }
    WritePending(StartAnewWhenFull());
    LimitPending();
    if (m_syncAtFlush) {
        (void)fdatasync(m_file);
    }
}

void LogStream::ForgetTextOfParent() {
    const int process = getpid();
    if (m_process != process) {
        m_process = process;
        m_pending.clear();
    }
}

// Returns the file's size afterwards, -1 where that cannot be told.
long long LogStream::StartAnewWhenFull() {
    const long long size = SizeOf(m_file);
    const auto added = static_cast<long long>(m_pending.size());
    // A file that cannot be emptied goes on growing.
    if (size + added <= m_maxFileSize ||
        support::RetryInterrupted([&] { return ftruncate(m_file, 0); }) != 0) {
        return size;
    }
    m_isTorn = false;
    return 0;
}

// The text goes to the kernel in one write. A part that gets through is continued only while no
// other process has written after it; else it is taken back, and the line waits whole.
void LogStream::WritePending(long long size) {
    if (m_isTorn) {  // a part could not be taken back: end that line, then write the whole one
        if (Write(m_file, "\n") == 0) {
            return;
        }
        size = SizeOf(m_file);
    }
    const std::string_view pending = m_pending;
    std::size_t written = 0;
    std::size_t count = 0;
    const auto endsWithOurs = [&] {
        return size >= 0 && SizeOf(m_file) == size + static_cast<long long>(written);
    };
    do {
        count = Write(m_file, pending.substr(written));
        written += count;
    } while (count > 0 && written < pending.size() && endsWithOurs());
    const std::size_t whole =
        written == pending.size() ? written : pending.substr(0, written).rfind('\n') + 1;
    const auto kept = static_cast<off_t>(size + static_cast<long long>(whole));
    m_isTorn = written > whole && !(endsWithOurs() && ftruncate(m_file, kept) == 0);
    m_pending.erase(0, whole);
}

// A full disk must not fill the memory as well. Whole lines stay, the oldest first.
void LogStream::LimitPending() {
    if (m_pending.size() <= m_bufferSize) {
        return;
    }
    const std::string_view pending = m_pending;
    const std::size_t fitting = pending.substr(0, m_bufferSize).rfind('\n');
    const std::size_t last = fitting != std::string::npos ? fitting : pending.find('\n');
    if (last != std::string::npos) {
        m_pending.erase(last + 1);
    } else {
        // A line without an end, cut, so that it does not grow with each try.
        m_pending.resize(std::max<std::size_t>(m_bufferSize, 1));
        m_pending.back() = '\n';
    }
}
