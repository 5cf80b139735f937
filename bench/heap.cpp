// What one operation of the library takes from the heap: prints a line for each job and size, "job
// trunks allocations peak-bytes file-bytes", and fails when it is more than promised.
//
// All of malloc is counted and not only operator new.

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

#include "bench/contestant.h"
#include "bench/files.h"

namespace {

struct Heap {
    long allocations;
    long bytes;
    long peak;
};

Heap heap;

void* Taken(void* memory) {
    ++heap.allocations;
    heap.bytes += static_cast<long>(malloc_usable_size(memory));
    heap.peak = std::max(heap.peak, heap.bytes);
    return memory;
}

void Given(void* memory) { heap.bytes -= static_cast<long>(malloc_usable_size(memory)); }

}  // namespace

// glibc's functions under their other names (malloc is replaced by defining it, see "Replacing
// malloc" in the GNU C Library manual).
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size) noexcept { return Taken(__libc_malloc(size)); }
void* calloc(std::size_t count, std::size_t size) noexcept {
    return Taken(__libc_calloc(count, size));
}
void* realloc(void* memory, std::size_t size) noexcept {
    Given(memory);
    return Taken(__libc_realloc(memory, size));
}
void free(void* memory) noexcept {
    Given(memory);
    __libc_free(memory);
}
}

namespace {

constexpr long kMostAllocations = 8;

bool IsAsPromised(std::string_view job, int trunks, long allocations, long peak, long file) {
    if (job == "list") {  // the records come on top
        return allocations <= kMostAllocations + 2 * (trunks / 2);
    }
    return allocations <= kMostAllocations && peak <= file + 16 * (trunks + 1) + (40 << 10);
}

bool Measure(const Job& job, int trunks, const std::string& parent) {
    const ScratchFolder folder(parent);
    const auto library = ContestantKind::Named("raiklaik").Make(folder.Path(), trunks);
    Targets targets(trunks);
    job.run(*library, targets);

    const Heap before = heap;
    heap.peak = before.bytes;
    job.run(*library, targets);
    const long allocations = heap.allocations - before.allocations;
    const long peak = heap.peak - before.bytes;
    const auto file = static_cast<long>(DatabaseText(trunks).size());
    const bool asPromised = IsAsPromised(job.name, trunks, allocations, peak, file);
    std::cout << job.name << ' ' << trunks << ' ' << allocations << ' ' << peak << ' ' << file
              << (asPromised ? "\n" : " MORE THAN PROMISED\n");
    return asPromised;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: raiklaik_heap FOLDER\n";
        return 2;
    }
    bool asPromised = true;
    for (const Job& job : Jobs()) {
        for (const int trunks : {10, 100, 1000, 10000}) {
            asPromised = Measure(job, trunks, argv[1]) && asPromised;
        }
    }
    return asPromised ? 0 : 1;
}
