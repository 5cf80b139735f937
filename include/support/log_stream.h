#pragma once

#include <cstdarg>
#include <string>

/// A log file that several threads' and processes' lines reach whole.
///
/// TRACE collects text in memory; Flush hands it to the kernel in one write at the end of the file.
/// Control characters in a message are written as \xNN, so that no text from outside can forge a
/// line. An object is used by one thread at a time; any number of processes may log to one file.
class LogStream {
  public:
    /// Opens the log.
    /// name          path of the file; a new one gets the mode 0640 less the umask
    /// append        true keeps what the file holds, false empties it
    /// create        true creates a missing file, false makes that a failure
    /// maxFileSize   in bytes: a file that would outgrow it starts anew, empty
    /// filesKept     how many files the log has: 1, since a full one starts anew
    /// bufferSize    in bytes: memory kept ready for lines, and the most that is kept for another
    ///               try after a failed write, or else the oldest line; no limit for a line
    /// syncAtFlush   true makes each Flush wait until the text is on the disk
    /// Throws std::system_error, whose text names the path, when the file cannot be opened or is a
    /// pipe.
    LogStream(const char* name, bool append, bool create, int maxFileSize, int filesKept,
              unsigned int bufferSize, bool syncAtFlush);
    /// Flushes and closes.
    ~LogStream();
    LogStream(const LogStream&) = delete;
    LogStream& operator=(const LogStream&) = delete;

    /// Adds the text of a printf-style format and its arguments, without a line break of its own.
    /// All levels are written. Throws a std::exception when the text cannot be made.
    __attribute__((format(printf, 3, 4))) void TRACE(unsigned char level, const char* format, ...);

    /// The same with an argument list of the caller's, which is used up. The last argument is 0.
    __attribute__((format(printf, 3, 0))) void TRACE(unsigned char level, const char* format,
                                                     va_list& arguments, unsigned char);

    /// Writes what was added. A write that fails is tried anew at the next Flush, and never
    /// reported.
    void Flush();

  private:
    int m_file;
    long long m_maxFileSize;
    std::string::size_type m_bufferSize;
    bool m_syncAtFlush;
    std::string m_pending;  // added and not yet written
};
