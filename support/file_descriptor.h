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

/// Sees to it that no file that is opened next gets the number of a standard stream: what anybody
/// prints would go into it. To be called right before a file is opened.
///
/// Numbers 0 to 2 that are closed are taken by descriptors that can neither be read nor written, so
/// that using them fails as before. They stay, and close in a program that is started: closing them
/// could hit what another thread has meanwhile put there, or is just about to open a file above.
/// Returns false, with errno set, when the process can open nothing more.
bool OccupyStandardStreams();

}  // namespace support
