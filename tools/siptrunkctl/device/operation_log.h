#pragma once

#include <optional>
#include <string>

#include "include/raiklaik.h"
#include "support/file_descriptor.h"

/// The log that the library writes its lines to, read back to learn why an operation failed.
///
/// The lines go to memory of this process first, so that no other process's lines are among them,
/// and from there to the operator's file.
class OperationLog {
  public:
    /// @param file the operator's log, which the lines are appended to; empty for none
    ///
    /// Throws std::system_error when a log cannot be opened.
    explicit OperationLog(const std::string& file);

    CSIPTrunkLogger& Logger() { return *m_logger; }

    /// Returns the cause of the last failure since the last call; nothing when none was logged.
    std::optional<std::string> TakeCause();

  private:
    std::string TakeLines();

    support::FileDescriptor m_memory;
    support::FileDescriptor m_file;
    std::optional<CSIPTrunkLogger> m_logger;
};
