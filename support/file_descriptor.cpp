#include "support/file_descriptor.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <iterator>

#include "support/system_call.h"

namespace support {

namespace {

// One call for all three; in nearly every process it is the only one.
bool StreamsAreOpen() {
    struct pollfd streams[] = {{STDIN_FILENO, 0, 0}, {STDOUT_FILENO, 0, 0}, {STDERR_FILENO, 0, 0}};
    return RetryInterrupted([&] { return poll(streams, std::size(streams), 0); }) != -1 &&
           std::none_of(std::begin(streams), std::end(streams),
                        [](const struct pollfd& stream) { return stream.revents == POLLNVAL; });
}

}  // namespace

bool OccupyStandardStreams() {
    if (StreamsAreOpen()) {
        return true;
    }
    int number = -1;
    do {
        number = RetryInterrupted([] { return open("/", O_PATH | O_CLOEXEC); });
    } while (number != -1 && number <= STDERR_FILENO);
    const FileDescriptor notNeeded(number);
    return number != -1;
}

}  // namespace support
