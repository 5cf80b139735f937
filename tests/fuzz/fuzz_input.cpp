#include "tests/fuzz/fuzz_input.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

FuzzInput::FuzzInput(const std::uint8_t* data, std::size_t size) : m_bytes(data, data + size) {}

std::uint8_t FuzzInput::Byte() {
    return IsUsedUp() ? std::uint8_t{0} : static_cast<std::uint8_t>(m_bytes[m_next++]);
}

std::string FuzzInput::Text() {
    const std::size_t end = std::min(m_bytes.find('\xff', m_next), m_bytes.size());
    std::string text = m_bytes.substr(m_next, end - m_next);
    m_next = std::min(end + 1, m_bytes.size());
    return text;
}

std::string FuzzInput::CText() { return Text().c_str(); }

void UseMemoryFolder() {
    static const char* const kPath = "/dev/shm";
    if (access(kPath, W_OK | X_OK) == 0) {
        (void)setenv("TMPDIR", kPath, 1);
    }
}

void Require(bool isTrue) {
    if (!isTrue) {
        std::abort();
    }
}
