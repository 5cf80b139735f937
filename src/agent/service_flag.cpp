#include <string_view>

#include "include/raiklaik.h"
#include "src/foundation/access_frame.h"
#include "src/foundation/key_table.h"
#include "src/foundation/paths.h"
#include "support/config_file.h"

using namespace raiklaik;

bool CSIPTrunkConfig::LoadAgentStatus() {
    return RunLocked<LocalBuffer>(*m_semaphore, m_logger, false, [](ValueBuffer buffer) {
        const Configuration::ConfigFile startFile(StartFilePath().c_str(), false, true, false, "=",
                                                  "#", nullptr);
        const unsigned int filled =
            startFile.GetEntry(key::kStartService, buffer.text, buffer.capacity);
        return filled != 0 && std::string_view(buffer.text, filled - 1) == start::kYes;
    });
}

bool CSIPTrunkConfig::SaveAgentStatus(const bool& flag) {
    const char* value = flag ? start::kYes : start::kNo;
    return RunLocked<LocalBuffer>(*m_semaphore, m_logger, false, [&](ValueBuffer) {
        Configuration::ConfigFile startFile(StartFilePath().c_str(), false, false, false, "=", "#",
                                            nullptr);
        if (!startFile.SetEntry(key::kStartService, value)) {
            return false;
        }
        startFile.Save(true, nullptr);
        return true;
    });
}
