#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tools/siptrunkctl/device/library.h"
#include "tools/siptrunkctl/view/failure.h"
#include "tools/siptrunkctl/view/output.h"

namespace CLI {
class Option;
}

/// What may stand for a word of the command line, for the completion.
struct Candidate {
    std::string text;
    std::string description;
};

/// Returns the candidates for a word; a candidate need not begin with what is typed. The marks
/// below leave it to the shell.
using Candidates = std::function<std::vector<Candidate>()>;

constexpr const char* kFiles = ":files";
constexpr const char* kFolders = ":folders";

/// One run of the tool: what was asked of every command, the library, and the answer.
struct Context {
    Context() = default;
    ~Context() = default;
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    std::string configDir;
    LibraryOptions libraryOptions;
    OutputOptions outputOptions;

    Library library{libraryOptions};
    Output output{outputOptions};
    ExitCode result = ExitCode::kDone;  ///< of a command that answers

    std::map<const CLI::Option*, Candidates> candidates;  ///< for the completion
};
