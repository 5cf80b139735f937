#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

/// Owner of an open file descriptor, -1 for none.
class FileDescriptor {
  public:
    explicit FileDescriptor(int number) : m_number(number) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
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
    /// Closes; false with errno set when what was written may be lost.
    bool Close() {
        const int number = m_number;
        m_number = -1;
        // Linux has released the descriptor when a signal interrupts close(2); never close twice.
        return close(number) == 0 || errno == EINTR;
    }

  private:
    int m_number;
};
