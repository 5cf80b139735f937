#pragma once

#include <cerrno>
#include <string_view>

namespace support {

/// Throws std::system_error whose text is "subject: step: reason".
/// @param error the errno value of the failed call; gives the reason
/// @param subject what was worked on, mostly a path
/// @param step what was tried, followed by the cure where there is one
[[noreturn]] void ThrowSystemFailure(int error, std::string_view subject, std::string_view step);

/// Makes a system call, and repeats it for as long as a signal interrupts it (EINTR).
/// @param call a callable that makes the call and returns its result, -1 on failure with errno set
/// @return the result of the first call that was not interrupted.
template <typename Call>
auto RetryInterrupted(const Call& call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

}  // namespace support
