#include "tools/siptrunkctl/device/library.h"

#include "tools/siptrunkctl/device/cause.h"

CSIPTrunkConfig& Library::Config() {
    if (!m_config) {
        m_log = std::make_unique<OperationLog>(m_options.logFile);
        WaitForLock(m_options.wait);
        m_config = std::make_unique<CSIPTrunkConfig>(&m_log->Logger());
    }
    return *m_config;
}

void Library::ThrowLogged() {
    const std::optional<std::string> cause = m_log->TakeCause();
    if (cause) {
        throw FailureOf(*cause);
    }
}

void Library::Require(bool result, const std::string& otherwise) {
    if (!Checked(result)) {
        throw Failure(ExitCode::kFailed, otherwise);
    }
}
