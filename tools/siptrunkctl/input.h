#pragma once

#include <string>

/// Reads a file whole, or the standard input when `name` is "-". FIFOs are read like files.
/// Throws std::system_error with the text "name: step: reason".
std::string ReadInput(const std::string& name);
