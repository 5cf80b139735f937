#pragma once

#include <string>
#include <string_view>

/// Returns the text with every byte as \xNN that could do something to a terminal. Unlike
/// Printable, it leaves backslashes as they are, so what is printable already stays so: for whole
/// messages.
std::string Harmless(std::string_view text);
