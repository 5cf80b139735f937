#pragma once

class CSIPTrunkLogger;

// The lines that operations log. Without a logger nothing happens, and a line that cannot be
// written is lost: it never changes what an operation does.

namespace raiklaik {

/// Writes a progress line (level 3).
/// @param format of printf's kind, with the line feed at its end
__attribute__((format(printf, 2, 3))) void TraceProgress(CSIPTrunkLogger* logger,
                                                         const char* format, ...);

/// Writes "ERROR: `cause` \n" (level 1).
void TraceError(CSIPTrunkLogger* logger, const char* cause);

}  // namespace raiklaik
