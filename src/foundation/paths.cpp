#include "src/foundation/paths.h"

#include <cstdlib>
#include <string_view>

namespace raiklaik {

namespace {

std::string BelowBaseDirectory(std::string_view file) {
    const std::string_view base = BaseDirectory();
    std::string path;
    path.reserve(base.size() + file.size());
    path.append(base).append(file);
    return path;
}

}  // namespace

const char* BaseDirectory() {
    const char* configured = std::getenv(kBaseDirectoryVariable);
    return configured != nullptr ? configured : kDefaultBaseDirectory;
}

std::string DatabasePath() { return BelowBaseDirectory("telephony/siptrunkdb"); }

std::string StartFilePath() { return BelowBaseDirectory("sysconfig/rc.conf"); }

}  // namespace raiklaik
