// The time of each job, for each contestant and size: processor time in memory, where nothing waits
// and other load on the machine is not to count, and elapsed time on a disk.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "bench/contestant.h"
#include "bench/files.h"

namespace {

constexpr int kSizes[] = {10, 100, 1000, 10000};

void CheckAllAnswers(const std::string& parent) {
    for (const ContestantKind& kind : ContestantKind::All()) {
        for (const int trunks : kSizes) {
            const ScratchFolder folder(parent);
            CheckAnswers(*kind.Make(folder.Path(), trunks), trunks);
        }
    }
}

auto* Register(const std::string& name, const std::string& parent, const Job& job,
               const ContestantKind& kind, int trunks) {
    const auto measure = [parent, job, kind, trunks](benchmark::State& state) {
        const ScratchFolder folder(parent);
        const auto contestant = kind.Make(folder.Path(), trunks);
        Targets targets(trunks);
        job.run(*contestant, targets);
        for (auto _ : state) {
            job.run(*contestant, targets);
        }
    };
    const std::string full = name + "/" + kind.Name() + "/" + std::to_string(trunks);
    return benchmark::RegisterBenchmark(full.c_str(), measure);
}

void RegisterAll(const std::string& memory, const std::string& disk) {
    for (const int trunks : kSizes) {
        for (const ContestantKind& kind : ContestantKind::All()) {
            for (const Job& job : Jobs()) {
                Register(job.name, memory, job, kind, trunks);
            }
            Register("store-on disk", disk, JobNamed("store"), kind, trunks)->UseRealTime();
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc != 3) {
        std::cerr << "usage: raiklaik_times [OPTION...] MEMORY-FOLDER DISK-FOLDER\n";
        return 2;
    }
    CheckAllAnswers(argv[1]);
    RegisterAll(argv[1], argv[2]);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
