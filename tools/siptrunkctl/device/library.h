#pragma once

#include <memory>
#include <string>

#include "include/raiklaik.h"
#include "tools/siptrunkctl/device/lock.h"
#include "tools/siptrunkctl/device/operation_log.h"

/// How the library is to be used.
struct LibraryOptions {
    std::string logFile;     ///< gets the library's log lines; empty for none
    double wait = kForEver;  ///< how long to wait for the device's lock
};

/// The library, as the programs of the device use it. Its failures become exceptions.
class Library {
  public:
    /// @param options outlive the object, and count from the first operation on
    explicit Library(const LibraryOptions& options) : m_options(options) {}

    const LibraryOptions& Options() const { return m_options; }

    /// The operations. The first call waits for the device's lock.
    CSIPTrunkConfig& Config();

    /// Passes on what an operation answered. Throws a Failure with the cause that the library
    /// logged, when it did.
    template <typename Result>
    Result Checked(Result result) {
        ThrowLogged();
        return result;
    }
    /// The same for an operation that must have answered true. otherwise  the failure's text
    void Require(bool result, const std::string& otherwise);

  private:
    void ThrowLogged();

    const LibraryOptions& m_options;
    std::unique_ptr<OperationLog> m_log;
    std::unique_ptr<CSIPTrunkConfig> m_config;
};
