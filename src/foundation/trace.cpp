#include "src/foundation/trace.h"

#include <cstdarg>
#include <exception>
#include <string>

#include "include/raiklaik.h"
#include "support/text_format.h"

namespace raiklaik {

namespace {

constexpr unsigned char kErrorLevel = 1;
constexpr unsigned char kProgressLevel = 3;

}  // namespace

void TraceProgress(CSIPTrunkLogger* logger, const char* format, ...) {
    if (logger == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    try {
        logger->TRACE(kProgressLevel, "%s", support::FormatText(format, arguments).c_str());
    } catch (const std::exception&) {
        // There was no memory for the line; the operation goes on.
    }
    va_end(arguments);
}

void TraceError(CSIPTrunkLogger* logger, const char* cause) {
    if (logger == nullptr) {
        return;
    }
    try {
        logger->TRACE(kErrorLevel, "ERROR: %s \n", cause);
    } catch (const std::exception&) {
        // The operation's result still tells of the failure.
    }
}

}  // namespace raiklaik
