// Several processes at once, on one database of 1000 trunks: operations per second of all together,
// and how evenly they share the lock. The library and the floor take turns. Prints a line for each
// round: "contestant job processes operations-per-second least most".

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <iostream>
#include <new>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/contestant.h"
#include "bench/files.h"

namespace {

constexpr int kTrunks = 1000;
constexpr int kMostProcesses = 32;

// In memory that parent and children share.
struct Round {
    std::atomic<int> waiting{0};
    std::atomic<bool> started{false};
    std::atomic<bool> ended{false};
    std::atomic<long> operations[kMostProcesses] = {};
};

Round* SharedRound() {
    void* memory =
        mmap(nullptr, sizeof(Round), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::runtime_error("no shared memory");
    }
    return new (memory) Round;
}

void Work(Round& round, std::atomic<long>& operations, Contestant& contestant, const Job& job) {
    Targets targets(kTrunks);
    ++round.waiting;
    while (!round.started) {
        std::this_thread::yield();
    }
    while (!round.ended) {
        job.run(contestant, targets);
        ++operations;
    }
}

void MeasureRound(const ContestantKind& kind, const Job& job, int processes, double seconds,
                  const std::string& parent) {
    const ScratchFolder folder(parent);
    const auto contestant = kind.Make(folder.Path(), kTrunks);
    Round* round = SharedRound();
    for (int i = 0; i < processes; ++i) {
        const pid_t child = fork();
        if (child == -1) {
            throw std::runtime_error("no further process");
        }
        if (child == 0) {
            (void)prctl(PR_SET_PDEATHSIG, SIGKILL);  // it would wait for the start forever
            Work(*round, round->operations[i], *contestant, job);
            _exit(0);
        }
    }
    while (round->waiting < processes) {
        std::this_thread::yield();
    }
    const auto start = std::chrono::steady_clock::now();
    round->started = true;
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    round->ended = true;
    const std::vector<long> shares(round->operations, round->operations + processes);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    int status = 0;
    for (int i = 0; i < processes; ++i) {
        if (wait(&status) == -1 || status != 0) {
            throw std::runtime_error("a measuring process failed");
        }
    }
    (void)munmap(round, sizeof(Round));
    const long all = std::accumulate(shares.begin(), shares.end(), 0L);
    std::cout << kind.Name() << ' ' << job.name << ' ' << processes << ' '
              << static_cast<double>(all) / took.count() << ' '
              << *std::min_element(shares.begin(), shares.end()) << ' '
              << *std::max_element(shares.begin(), shares.end()) << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: raiklaik_contention ROUNDS SECONDS MEMORY-FOLDER\n";
        return 2;
    }
    for (int round = 0; round < std::stoi(argv[1]); ++round) {
        for (const char* job : {"find", "store"}) {
            for (const int processes : {1, 2, 8, kMostProcesses}) {
                for (const char* contestant : {"floor", "raiklaik"}) {
                    MeasureRound(ContestantKind::Named(contestant), JobNamed(job), processes,
                                 std::stod(argv[2]), argv[3]);
                }
            }
        }
    }
    return 0;
}
