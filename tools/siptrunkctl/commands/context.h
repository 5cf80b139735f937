#pragma once

#include <string>
#include <vector>

#include "tools/siptrunkctl/device/library.h"
#include "tools/siptrunkctl/view/failure.h"
#include "tools/siptrunkctl/view/output.h"

/// What the words and options of a command say. Only one command runs, so all share these fields.
struct Arguments {
    std::string name;
    std::string newName;
    std::string user;
    std::string ip;
    std::string port;
    std::string key;
    std::string file;
    std::string state;
    std::string edited;
    std::string type = "all";
    std::string passwordFile;
    std::string configDir;           ///< of every command
    std::vector<std::string> words;  ///< those of which there may be several
    std::vector<std::string> fields;
    bool active = false;
    bool askPassword = false;
    bool dryRun = false;
    bool names = false;
    bool replace = false;
    bool resetRegistration = false;
    bool saved = false;
    bool skipExisting = false;
    bool yes = false;
};

/// One run of the tool: what was asked, the library, and the answer.
struct Context {
    Context() = default;
    ~Context() = default;
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    Arguments given;
    LibraryOptions libraryOptions;
    OutputOptions outputOptions;

    Library library{libraryOptions};
    Output output{outputOptions};
    ExitCode result = ExitCode::kDone;  ///< of a command that answers
};
