#include "src/foundation/paths.h"

#include <cstdlib>

namespace {

std::string BaseDirectory() {
    const char* configured = std::getenv("QORV_PATH");
    return configured != nullptr ? configured : "/etc/qorv-conf/";
}

}  // namespace

std::string DatabasePath() { return BaseDirectory() + "telephony/" + "siptrunkdb"; }

std::string StartFilePath() { return BaseDirectory() + "sysconfig/rc.conf"; }
