#pragma once

#include <optional>
#include <string>

#include "include/raiklaik.h"
#include "support/file_descriptor.h"
#include "tools/siptrunkctl/device/lock.h"

/// How the library is to be used.
struct LibraryOptions {
    std::string logFile;     ///< gets the library's log lines; empty for none
    double wait = kForEver;  ///< how long to wait for the device's lock
};

/// The library, as the programs of the device use it. Its failures become exceptions.
///
/// Its log lines go to memory of this process first, so that no other process's lines are among
/// them: the last ERROR line tells why an operation failed. From there they go to the log file.
class Library {
  public:
    /// @param options must outlive the object; they count from the first operation on
    explicit Library(const LibraryOptions& options) : m_options(options) {}

    /// The operations. The first call waits for the device's lock. Throws std::system_error when
    /// the log cannot be opened.
    CSIPTrunkConfig& Config();

    /// Passes on what an operation answered. When the library has logged a cause, throws a Failure
    /// with it.
    template <typename Result>
    Result Checked(Result result) {
        ThrowLogged();
        return result;
    }
    /// The same for an operation that must have answered true; `otherwise` is the failure's text.
    void Require(bool result, const std::string& otherwise);

  private:
    void OpenLogs();
    std::string TakeLines();
    void ThrowLogged();

    const LibraryOptions& m_options;
    support::FileDescriptor m_memory{-1};
    support::FileDescriptor m_logFile{-1};
    std::optional<CSIPTrunkLogger> m_logger;
    std::optional<CSIPTrunkConfig> m_config;
};
