#include "tests/faults/failing_allocations.h"

#include <cstdlib>
#include <new>

namespace {

// Plain types without constructors, so that an allocation during the program's start finds them
// ready.
thread_local unsigned allocations = 0;
thread_local unsigned firstToFail = 0;  // 0: none
thread_local unsigned mostToFail = 0;
thread_local int forTests = 0;
thread_local long liveBlocks = 0;

bool IsToFail() {
    if (firstToFail == 0 || forTests > 0) {
        return false;
    }
    ++allocations;
    return allocations >= firstToFail && allocations - firstToFail < mostToFail;
}

}  // namespace

FailingAllocations::FailingAllocations(unsigned number, unsigned times) {
    allocations = 0;
    firstToFail = number;
    mostToFail = times;
}

FailingAllocations::~FailingAllocations() { firstToFail = 0; }

bool FailingAllocations::IsFaultMet() const { return allocations >= firstToFail; }

MemoryForTests::MemoryForTests() { ++forTests; }

MemoryForTests::~MemoryForTests() { --forTests; }

long LiveBlocks() { return liveBlocks; }

// The forms for arrays, and those that do not throw, call these.

void* operator new(std::size_t size) {
    void* block = IsToFail() ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++liveBlocks;
    return block;
}

void operator delete(void* block) noexcept {
    liveBlocks -= block != nullptr ? 1 : 0;
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
