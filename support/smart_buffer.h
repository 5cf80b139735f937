#pragma once

#include <cstdint>

/// Owner of a scratch buffer of 1024 bytes on the heap, into which values are read.
/// An object is used by one thread at a time.
class SmartBuffer {
  public:
    /// Allocates the buffer and makes it hold the empty text. Throws std::bad_alloc without memory.
    SmartBuffer();
    ~SmartBuffer();
    SmartBuffer(const SmartBuffer&) = delete;
    SmartBuffer& operator=(const SmartBuffer&) = delete;

    char* m_data;              ///< the buffer; belongs to the object
    std::uint32_t m_capacity;  ///< its size in bytes, 1024
};
