#include "include/raiklaik.h"
#include "src/foundation/database_syntax.h"
#include "support/process_semaphore.h"

CSIPTrunkConfig::CSIPTrunkConfig(CSIPTrunkLogger* logger)
    : m_logger(logger),
      m_semaphore(new Semaphore(raiklaik::device_lock::kNumber, raiklaik::device_lock::kPath)) {}

CSIPTrunkConfig::~CSIPTrunkConfig() { delete m_semaphore; }
