#include "include/raiklaik.h"
#include "support/process_semaphore.h"

CSIPTrunkConfig::CSIPTrunkConfig(CSIPTrunkLogger* logger)
    : m_logger(logger), m_semaphore(new Semaphore(43, "/bin/ls")) {}

CSIPTrunkConfig::~CSIPTrunkConfig() { delete m_semaphore; }
