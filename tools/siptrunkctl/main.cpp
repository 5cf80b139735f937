#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include "support/line_scanner.h"
#include "tools/siptrunkctl/command_line.h"
#include "tools/siptrunkctl/device.h"
#include "tools/siptrunkctl/failure.h"
#include "tools/siptrunkctl/output.h"
#include "tools/siptrunkctl/text.h"

namespace {

int Report(const Arguments& arguments, const Failure& failure) {
    const bool color = WantsColor(arguments, STDERR_FILENO);
    const std::string_view text = failure.what();
    for (LineScanner lines(text); lines.Next();) {
        (void)std::fprintf(stderr, "%ssiptrunkctl:%s %s\n", color ? "\x1b[1;31m" : "",
                           color ? "\x1b[0m" : "", Printable(lines.Line()).c_str());
    }
    return static_cast<int>(failure.Code());
}

// A stream that the caller has closed stays unusable: otherwise the next file that is opened would
// take its number, and the answer would end up in there.
void OccupyClosedStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) == -1) {
            (void)open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

ExitCode Run(int count, const char* const* words, Arguments& arguments) {
    const Command* command = ReadCommandLine(count, words, arguments);
    if (command == nullptr) {
        return ExitCode::kDone;
    }
    if (!arguments.configDir.empty()) {
        UseDirectory(arguments.configDir);
    }
    Session session(arguments);
    command->run(session);
    session.Flush();
    return session.Result();
}

}  // namespace

int main(int count, char** words) {
    OccupyClosedStreams();
    Arguments arguments;
    try {
        return static_cast<int>(Run(count, words, arguments));
    } catch (const Failure& failure) {
        return Report(arguments, failure);
    } catch (const std::exception& failure) {
        return Report(arguments, FailureOf(failure.what()));
    }
}
