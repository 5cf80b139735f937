#include <cstring>

#include "include/raiklaik.h"
#include "src/foundation/access_frame.h"
#include "src/foundation/key_table.h"
#include "src/foundation/paths.h"
#include "support/config_file.h"

bool CSIPTrunkConfig::LoadAgentStatus() {
    return RunLocked<LocalBuffer>(*m_semaphore, m_logger, false, [](ValueBuffer buffer) {
        const Configuration::ConfigFile startFile(StartFilePath().c_str(), false, true, false, "=",
                                                  "#", nullptr);
        return startFile.GetEntry(key::kStartService, buffer.text, buffer.capacity) &&
               std::strcmp(buffer.text, start::kYes) == 0;
    });
}

bool CSIPTrunkConfig::SaveAgentStatus(const bool& flag) {
    const char* value = flag ? start::kYes : start::kNo;
    return RunLocked<LocalBuffer>(*m_semaphore, m_logger, false, [&](ValueBuffer) {
        Configuration::ConfigFile startFile(StartFilePath().c_str(), false, false, false, "=", "#",
                                            nullptr);
        if (!startFile.SetEntry(key::kStartService, value)) {  // GCOVR_EXCL_BR_LINE: it throws
            return false;                                      // GCOVR_EXCL_LINE
        }
        startFile.Save(true, nullptr);
        return true;
    });
}
