#pragma once

#include <cstdint>

#include "tests/below/recorder.h"

/// Stands in for the heap buffer: records that it is made and released.
class SmartBuffer {
  public:
    SmartBuffer() {
        below::Recording().Record("SmartBuffer");
        below::Recording().heapBuffer = m_data = new char[m_capacity];
    }
    ~SmartBuffer() {
        below::Recording().Note("~SmartBuffer");
        below::Recording().heapBuffer = nullptr;
        delete[] m_data;
    }
    SmartBuffer(const SmartBuffer&) = delete;
    SmartBuffer& operator=(const SmartBuffer&) = delete;

    char* m_data = nullptr;
    std::uint32_t m_capacity = 1024;
};
