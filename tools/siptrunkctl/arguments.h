#pragma once

#include <string>
#include <vector>

/// What the command line asks for.
struct Arguments {
    // of every command
    std::string configDir;
    std::string color = "auto";
    std::string logFile;
    std::string wait;
    bool json = false;
    bool quiet = false;
    bool noLegend = false;
    bool showSecrets = false;

    // of some; the table of commands tells which
    std::vector<std::string> words;  // behind the command, in order
    std::string type = "all";
    std::string user;
    std::string edit;
    std::string passwordFile;
    bool askPassword = false;
    bool active = false;
    bool names = false;
    bool resetRegistration = false;
    bool saved = false;
    bool yes = false;
    bool replace = false;
    bool dryRun = false;
};
