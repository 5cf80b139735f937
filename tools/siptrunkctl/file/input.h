#pragma once

#include <cstddef>
#include <string>

/// The largest file that is read, in bytes. A database of this size has 100,000 trunks.
constexpr std::size_t kLargestFile = std::size_t{32} << 20U;

/// Reads a file whole, or the standard input when `name` is "-". FIFOs are read like files.
/// @param limit the most bytes that are taken
///
/// Throws std::system_error with the text "name: step: reason", and a Failure for a longer file.
std::string ReadInput(const std::string& name, std::size_t limit = kLargestFile);
