#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// The bytes that the fuzzer gives, taken apart: texts, each ended by a byte 0xff, and single
/// bytes. So the corpus can be read and written by hand. An input that is used up gives zeros and
/// empty texts.
class FuzzInput {
  public:
    FuzzInput(const std::uint8_t* data, std::size_t size);

    bool IsUsedUp() const { return m_next == m_bytes.size(); }
    std::uint8_t Byte();
    std::string Text();
    /// A text up to its first NUL byte, as the functions that take a C string see it.
    std::string CText();

  private:
    std::string m_bytes;
    std::size_t m_next = 0;
};

/// Sets where the system has a folder in memory as that of temporary files, since saves wait for
/// the disk.
void UseMemoryFolder();

/// Ends the program, for the fuzzer to tell, unless `isTrue`.
void Require(bool isTrue);
