// What one operation takes from the heap, and how much resident memory the first one of a process
// adds. Prints a line for each contestant, size and job: "contestant job trunks allocations
// peak-bytes resident-bytes file-bytes".
//
// All of malloc is counted and not only operator new, so that libraries in C are counted as well.

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

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

// The process's resident memory. Other counters of the kernel's are not exact (proc(5)).
long ResidentBytes() {
    std::ifstream memory("/proc/self/smaps_rollup");
    for (std::string word; memory >> word;) {
        if (word == "Rss:") {
            long kibibytes = 0;
            memory >> kibibytes;
            return kibibytes * 1024;
        }
    }
    throw std::runtime_error("no Rss in /proc/self/smaps_rollup");
}

// What the job gives back to the heap stays resident, so that afterwards the peak is seen.
long AddedResidentBytes(Contestant& contestant, const Job& job, Targets& targets) {
    (void)malloc_trim(0);
    (void)mallopt(M_TRIM_THRESHOLD, INT_MAX);
    const long before = ResidentBytes();
    job.run(contestant, targets);
    return ResidentBytes() - before;
}

void Measure(const ContestantKind& kind, const Job& job, int trunks, const std::string& parent) {
    const ScratchFolder folder(parent);
    const auto contestant = kind.Make(folder.Path(), trunks);
    Targets targets(trunks);
    const long resident = AddedResidentBytes(*contestant, job, targets);

    const Heap before = heap;
    heap.peak = before.bytes;
    job.run(*contestant, targets);
    const Heap after = heap;
    std::cout << kind.Name() << ' ' << job.name << ' ' << trunks << ' '
              << after.allocations - before.allocations << ' ' << after.peak - before.bytes << ' '
              << resident << ' ' << DatabaseText(trunks).size() << std::endl;
}

// In a process of its own, so that nothing is resident from an earlier one.
void MeasureApart(const ContestantKind& kind, const Job& job, int trunks,
                  const std::string& parent) {
    const pid_t child = fork();
    if (child == 0) {
        Measure(kind, job, trunks, parent);
        _exit(0);
    }
    int status = 0;
    if (child == -1 || waitpid(child, &status, 0) != child || status != 0) {
        throw std::runtime_error("a measuring process failed");
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: raiklaik_counts MEMORY-FOLDER\n";
        return 2;
    }
    // Else large blocks would be whole pages of their own and look larger than asked for.
    (void)mallopt(M_MMAP_THRESHOLD, 32 << 20);
    for (const int trunks : {10, 100, 1000, 10000}) {
        for (const ContestantKind& kind : ContestantKind::All()) {
            for (const Job& job : Jobs()) {
                MeasureApart(kind, job, trunks, argv[1]);
            }
        }
    }
    return 0;
}
