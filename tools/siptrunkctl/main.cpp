#include <unistd.h>

#include <algorithm>
#include <exception>
#include <string>
#include <string_view>

#include "support/file_descriptor.h"
#include "support/line_scanner.h"
#include "tools/siptrunkctl/device/cause.h"
#include "tools/siptrunkctl/words/command_line.h"

namespace {

int Report(const Context& context, const Failure& failure) {
    const bool color = WantsColor(context.outputOptions.color, STDERR_FILENO);
    for (support::LineScanner lines(failure.what()); lines.Next();) {
        Tell(lines.Line(), color);
    }
    return static_cast<int>(failure.Code());
}

}  // namespace

int main(int count, char** words) {
    // Otherwise a file that is opened could get the number of a closed stream, and with it the
    // answer.
    (void)support::OccupyStandardStreams();
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
