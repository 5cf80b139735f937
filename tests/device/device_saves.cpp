// Saves without end, and reports each save before and after, for script/device, which kills the
// program or cuts the machine's power meanwhile.
//
// usage: device_saves library|naive FIRST [COUNT]
//
// Save number N stores the text of number N, from FIRST on. Lines on standard output, each written
// at once:
//   found N | found torn | found nothing   what the database holds at the start
//   met N                                  other files beside it
//   begin N, answered N                    around each save
//   left N                                 other files after the first save
//   refused N                              the save failed; the program ends with 1
//
// "library" saves through the library. "naive" writes over the old text, as a program does that
// knows no better: it shows that the cuts would find a fault.

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>

#include "raiklaik.h"

namespace {

namespace fs = std::filesystem;

constexpr int kOtherTrunks = 60;  // so that the text fills several blocks of any file system
constexpr const char* kName = "counted";
constexpr const char* kBeforeNumber = "user_name=user ";

void Report(const std::string& word, const std::string& value) {
    const std::string line = word + " " + value + "\n";
    if (write(STDOUT_FILENO, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        throw std::system_error(errno, std::system_category(), "standard output");
    }
}

fs::path DatabasePath() {
    const char* base = std::getenv("QORV_PATH");
    return fs::path(base != nullptr ? base : "/etc/qorv-conf/") / "telephony/siptrunkdb";
}

std::string OtherTrunk(int trunk) {
    const std::string number = std::to_string(trunk);
    return "section {\ntrunk_name=trunk " + number + "\ntrunk_type=0\nuser_name=" + number +
           "\npassword=a long enough password of " + number + "\nsym_nat=1\n}\n";
}

// The database after save `number`, whole.
std::string TextOf(const std::string& number) {
    std::string text = "# written by device_saves\nsection {\ntrunk_name=";
    text.append(kName).append("\ntrunk_type=0\n").append(kBeforeNumber).append(number);
    text.append("\npassword=password ").append(number).append("\nsym_nat=0\n}\n");
    for (int trunk = 0; trunk < kOtherTrunks; ++trunk) {
        text += OtherTrunk(trunk);
    }
    return text;
}

bool SaveByLibrary(const std::string& number) {
    CSIPTrunkBase::STParamsRecord record;
    record.trunk_name = kName;
    record.trunk_type = "0";
    record.user_name = "user " + number;
    record.password = "password " + number;
    CSIPTrunkConfig config(nullptr);
    return config.SetSIPTrunkParams(kName, record, false);
}

bool SaveInPlace(const std::string& number) {
    std::ofstream file(DatabasePath(), std::ios::binary | std::ios::trunc);
    file << TextOf(number) << std::flush;
    return file.good();
}

// A torn or missing text is replaced by that of number 0.
void ReportFound() {
    std::ifstream file(DatabasePath(), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const std::size_t key = text.find(kBeforeNumber);
    if (key != std::string::npos) {
        const std::size_t begin = key + std::string(kBeforeNumber).size();
        const std::string number = text.substr(begin, text.find('\n', begin) - begin);
        if (text == TextOf(number)) {
            Report("found", number);
            return;
        }
    }
    Report("found", file.is_open() ? "torn" : "nothing");
    if (!SaveInPlace("0")) {
        throw std::system_error(errno, std::system_category(), DatabasePath());
    }
    sync();
}

void ReportOtherFiles(const char* word) {
    const fs::directory_iterator entries(DatabasePath().parent_path());
    Report(word, std::to_string(std::distance(begin(entries), end(entries)) - 1));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::cerr << "usage: device_saves library|naive FIRST [COUNT]\n";
        return 2;
    }
    const auto save = argv[1] == std::string("naive") ? SaveInPlace : SaveByLibrary;
    const long first = std::atol(argv[2]);
    const long count = argc == 4 ? std::atol(argv[3]) : -1;
    ReportFound();
    ReportOtherFiles("met");
    for (long number = first; number != first + count; ++number) {
        Report("begin", std::to_string(number));
        if (!save(std::to_string(number))) {
            Report("refused", std::to_string(number));
            return 1;
        }
        Report("answered", std::to_string(number));
        if (number == first) {
            ReportOtherFiles("left");
        }
    }
    return 0;
}
