#pragma once

#include <csignal>
#include <cstddef>
#include <optional>
#include <string>

#include "support/file_descriptor.h"

/// The largest file that is read, in bytes. A database of this size has 100,000 trunks.
constexpr std::size_t kLargestFile = std::size_t{32} << 20U;

/// Reads a file whole, or the standard input when `name` is "-". FIFOs are read like files.
/// @param limit the most bytes that are taken
///
/// Throws std::system_error with the text "name: step: reason", and a Failure for a longer file.
std::string ReadInput(const std::string& name, std::size_t limit = kLargestFile);

/// Whoever answers questions on the standard input. While the object lives, the signals that end or
/// stop a process, such as that of Ctrl-C, end only the question.
class Person {
  public:
    Person();
    ~Person();
    Person(const Person&) = delete;
    Person& operator=(const Person&) = delete;

    /// Returns a line without its line end; nothing when a signal or the input's end came instead.
    std::optional<std::string> ReadLine() const;

  private:
    bool Read(char& byte) const;

    sigset_t m_signals{};  // those held back before
    support::FileDescriptor m_arrived;
};
