#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <string>
#include <string_view>

#include "support/line_scanner.h"
#include "tools/siptrunkctl/device/cause.h"
#include "tools/siptrunkctl/view/harmless.h"
#include "tools/siptrunkctl/words/command_line.h"

namespace {

int Report(const Context& context, const Failure& failure) {
    const bool color = WantsColor(context.outputOptions.color, STDERR_FILENO);
    const std::string_view text = failure.what();
    for (support::LineScanner lines(text); lines.Next();) {
        WriteError((color ? "\x1b[1;31msiptrunkctl:\x1b[0m " : "siptrunkctl: ") +
                   Harmless(lines.Line()) + "\n");
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

}  // namespace

int main(int count, char** words) {
    OccupyClosedStreams();
    Context context;
    try {
        RunCommandLine(std::vector<std::string>(words + std::min(count, 1), words + count),
                       context);
        context.output.Flush();
        return static_cast<int>(context.result);
    } catch (const Failure& failure) {
        return Report(context, failure);
    } catch (const std::exception& failure) {
        return Report(context, FailureOf(failure.what()));
    }
}
