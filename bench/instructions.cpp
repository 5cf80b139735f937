// Runs one job some times, for a counter of instructions to look at. Without arguments it prints
// the contestants' names.

#include <iostream>
#include <string>

#include "bench/contestant.h"
#include "bench/files.h"

int main(int argc, char** argv) {
    if (argc != 6) {
        for (const ContestantKind& kind : ContestantKind::All()) {
            std::cout << kind.Name() << '\n';
        }
        return argc == 1 ? 0 : 2;
    }
    const int trunks = std::stoi(argv[3]);
    const ScratchFolder folder(argv[5]);
    const auto contestant = ContestantKind::Named(argv[1]).Make(folder.Path(), trunks);
    Targets targets(trunks);
    for (int i = 0; i < std::stoi(argv[4]); ++i) {
        JobNamed(argv[2]).run(*contestant, targets);
    }
    return 0;
}
