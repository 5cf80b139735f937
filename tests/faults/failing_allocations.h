#pragma once

// Memory that runs out. The test program defines operator new and operator delete.

/// Makes allocations of this thread fail, the `number`th from now on and `times` in all, for as
/// long as the object lives. One at a time.
class FailingAllocations {
  public:
    static constexpr unsigned kAlways = ~0U;

    FailingAllocations(unsigned number, unsigned times);
    ~FailingAllocations();
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;

    /// Whether any allocation was made to fail.
    bool IsFaultMet() const;
};

/// Memory for what the tests do in the midst of the library's work: no allocation is counted or
/// fails for as long as the object lives.
class MemoryForTests {
  public:
    MemoryForTests();
    ~MemoryForTests();
    MemoryForTests(const MemoryForTests&) = delete;
    MemoryForTests& operator=(const MemoryForTests&) = delete;
};

/// How many blocks this thread has allocated and not freed.
long LiveBlocks();
