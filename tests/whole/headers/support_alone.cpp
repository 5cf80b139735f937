// Built with the sources of the support library and nothing else of this project, to show that the
// support library can be taken out and used by itself.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/config_file.h"
#include "support/log_stream.h"
#include "support/multi_section_file.h"
#include "support/process_semaphore.h"
#include "support/smart_buffer.h"
#include "support/thread_mutex.h"

namespace {

std::string StoreAndRead(const std::string& path) {
    {
        Configuration::MultiSectionFile sections(path.c_str(), true, false, false, "section", "{\n",
                                                 "}\n", "=", "#", nullptr);
        sections.AddSection(false);
        sections.AddSectionEntry("color", "green");
        sections.Save(true, nullptr);
    }
    char color[16];
    Configuration::MultiSectionFile sections(path.c_str(), false, true, false, "section", "{\n",
                                             "}\n", "=", "#", nullptr);
    return sections.GotoNextSection() && sections.GetSectionEntry("color", color, sizeof(color))
               ? color
               : "";
}

}  // namespace

int main() {
    std::string folder = std::filesystem::temp_directory_path() / "support_alone.XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        std::perror(folder.c_str());
        return 1;
    }
    const std::string color = StoreAndRead(folder + "/sections");
    std::filesystem::remove_all(folder);
    if (color != "green") {
        std::fprintf(stderr, "stored \"green\", read back \"%s\"\n", color.c_str());
        return 1;
    }
    return 0;
}
