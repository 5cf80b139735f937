#include "support/smart_buffer.h"

namespace {
constexpr std::uint32_t kCapacity = 1024;
}

SmartBuffer::SmartBuffer() : m_data(new char[kCapacity]), m_capacity(kCapacity) {
    m_data[0] = '\0';
}

SmartBuffer::~SmartBuffer() { delete[] m_data; }
