#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace support {

/// Owner of an open file descriptor, -1 for none.
class FileDescriptor {
  public:
    explicit FileDescriptor(int number) : m_number(number) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_number(other.Release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~FileDescriptor() {
        if (m_number != -1) {
            (void)close(m_number);  // whoever needs the result has called Close
        }
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int Number() const { return m_number; }
    /// Gives the descriptor up without closing it.
    int Release() { return std::exchange(m_number, -1); }
    /// Closes; false with errno set when what was written may be lost.
    bool Close() {
        // Linux has released the descriptor when a signal interrupts close(2); never close twice.
        return close(Release()) == 0 || errno == EINTR;
    }

  private:
    int m_number;
};

/// Makes sure that the next file opened does not get the number of a standard stream, since all
/// that the program prints would go into it. Call it right before opening a file.
///
/// Numbers 0 to 2 that are closed go to descriptors that can be neither read nor written, so using
/// them fails as before. These stay open until exec: closing them could hit what another thread has
/// put there by then, or free the numbers again just while it opens a file.
/// Returns false, with errno set, when the process can open nothing more.
bool OccupyStandardStreams();

}  // namespace support
