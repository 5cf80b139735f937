#pragma once

#include <cstdarg>
#include <string>
#include <type_traits>

/// A log file. Lines from several threads and processes reach it whole.
///
/// TRACE collects text in memory; Flush hands it to the kernel in one write at the end of the file.
/// Control characters in a message, and marks that turn the direction of writing, are written as
/// `\xNN` for each of their bytes, so that no text from outside can forge a line. An object is used
/// by one thread at a time; any number of processes may log to one file. A thread that is cancelled
/// during a call goes on until the call returns.
class LogStream {
    // A worse match for a number than a number's own type.
    struct Number {
        Number(int number);  // NOLINT(google-explicit-constructor)
    };

  public:
    /// Opens the log.
    /// @param name path of the file; a new one gets the mode 0640 less the umask
    /// @param append true keeps what the file holds, false empties it
    /// @param create true creates a missing file, false makes that a failure
    /// @param maxFileSize in bytes: a file that would outgrow it starts anew, empty
    /// @param filesKept how many files the log has: 1, since a full one starts anew
    /// @param bufferSize in bytes: memory kept ready for lines. After a failed write at most so
    /// much is kept for another try, or else the oldest line. A line may be longer, but one without
    /// a line feed is cut to this size when it has to wait
    /// @param syncAtFlush true makes each Flush wait until the text is on the disk
    ///
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

    /// The same with an argument list of the caller's, which is used up. The last argument is 0. A
    /// list that is a parameter of the caller's is another type on some processors (an array became
    /// a pointer), and does not compile there: make a copy with va_copy.
    __attribute__((format(printf, 3, 0))) void TRACE(unsigned char level, const char* format,
                                                     va_list& arguments, unsigned char);
    // Else such a list would count as one of the arguments of the first TRACE. Where a list is a
    // pointer everywhere, nothing tells it from other pointers.
    template <bool isPointer = std::is_pointer_v<va_list>, typename = std::enable_if_t<!isPointer>>
    void TRACE(unsigned char, const char*, va_list, Number) = delete;

    /// Writes what was added. A write that fails is not reported, and tried again at the next
    /// Flush. A line that was written in part is cut off again, or, where the file cannot be cut,
    /// ended by a line feed. What a process added before it forked is not written by its child.
    void Flush();

  private:
    void ForgetTextOfParent();
    long long StartAnewWhenFull();
    void WritePending(long long size);
    void LimitPending();

    // Programs hold this class by value, so its size and the places of its members stay.
    int m_file;
    alignas(long long) int m_maxFileSize;
    int m_process;  // the one that added what is pending
    std::string::size_type m_bufferSize;
    bool m_syncAtFlush;
    bool m_isTorn;          // the file may end in a part of the line that is pending
    std::string m_pending;  // added and not yet written
};
