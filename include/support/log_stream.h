#pragma once

#include <cstdarg>
#include <string>
#include <type_traits>

/// A log file in which the lines of several threads and processes stay whole.
///
/// TRACE collects text in memory; Flush hands it to the kernel in one write at the end of the file.
/// Control characters in a message, and marks that change the direction of writing, are written as
/// `\xNN` for each of their bytes, so that no text from outside can forge a line. An object is used
/// by one thread at a time; any number of processes may log to one file. A thread that is canceled
/// during a call goes on until the call returns.
class LogStream {
    // Converts from a number, so that a call with a number prefers the TRACE with a list.
    struct Number {
        Number(int number);  // NOLINT(google-explicit-constructor)
    };

  public:
    /// Opens the log.
    /// @param name path of the file; a new one gets the mode 0640 less the umask
    /// @param append true keeps what the file holds, false empties it
    /// @param create true creates a missing file, false makes that a failure
    /// @param maxFileSize in bytes: a file that would outgrow it starts anew, empty
    /// @param filesKept not used: there is one file, and a full one starts anew
    /// @param bufferSize in bytes: memory kept ready for lines. After a failed write at most this
    /// much waits for another try, or the oldest line alone when it is longer. A line may be
    /// longer, but one that has no end yet is cut to this size when it has to wait
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

    /// The same with the caller's argument list, which is used up. Pass 0 as the last argument; it
    /// only tells the two apart. On some processors a list that the caller got as a parameter has
    /// another type (an array became a pointer) and does not compile: pass a copy made with
    /// va_copy.
    __attribute__((format(printf, 3, 0))) void TRACE(unsigned char level, const char* format,
                                                     va_list& arguments, unsigned char);
    // Without this, such a list would be taken for an argument of the first TRACE. Where every list
    // is a pointer, nothing tells it from other pointers.
    template <bool isPointer = std::is_pointer_v<va_list>, typename = std::enable_if_t<!isPointer>>
    void TRACE(unsigned char, const char*, va_list, Number) = delete;

    /// Writes what was added. A write that fails is tried again at the next Flush, and never
    /// reported. When only part of a line got through, that part is taken back, or ended with a
    /// line feed where the file does not allow that. What a process added before it forked is
    /// written by that process alone, not by its child.
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
