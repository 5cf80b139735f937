// Runs one job some times on a database of 1000 trunks, for a counter of instructions to look at.

#include <iostream>
#include <string>

#include "bench/contestant.h"
#include "bench/files.h"

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: raiklaik_instructions JOB TIMES FOLDER\n";
        return 2;
    }
    constexpr int kTrunks = 1000;
    const ScratchFolder folder(argv[3]);
    const auto contestant = ContestantKind::Named("raiklaik").Make(folder.Path(), kTrunks);
    for (int i = 0; i < std::stoi(argv[2]); ++i) {
        JobNamed(argv[1]).run(*contestant, kTrunks);
    }
    return 0;
}
