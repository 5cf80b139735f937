#include "src/foundation/paths.h"

#include <cstdlib>
#include <string_view>

namespace {

std::string BelowBaseDirectory(std::string_view file) {
    const char* configured = std::getenv("QORV_PATH");
    const std::string_view base = configured != nullptr ? configured : "/etc/qorv-conf/";
    std::string path;
    path.reserve(base.size() + file.size());
    path.append(base).append(file);
    return path;
}

}  // namespace

std::string DatabasePath() { return BelowBaseDirectory("telephony/siptrunkdb"); }

std::string StartFilePath() { return BelowBaseDirectory("sysconfig/rc.conf"); }
