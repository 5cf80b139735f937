#include "tools/siptrunkctl/file/input.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "support/file_descriptor.h"
#include "support/system_call.h"
#include "tools/siptrunkctl/view/failure.h"

std::string ReadInput(const std::string& name, std::size_t limit) {
    const bool isStandardInput = name == "-";
    const std::string shown = isStandardInput ? "standard input" : name;
    const support::FileDescriptor file(support::RetryInterrupted([&] {
        return isStandardInput ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                               : open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    }));
    if (file.Number() == -1) {
        support::ThrowSystemFailure(errno, shown, "open");
    }
    std::string text;
    std::array<char, 4096> block{};
    while (true) {
        const ssize_t count = support::RetryInterrupted(
            [&] { return read(file.Number(), block.data(), block.size()); });
        if (count == -1) {
            support::ThrowSystemFailure(errno, shown, "read");
        }
        if (count == 0) {
            return text;
        }
        text.append(block.data(), static_cast<std::size_t>(count));
        if (text.size() > limit) {
            throw Failure(shown + ": it has more than " + std::to_string(limit) + " bytes");
        }
    }
}
