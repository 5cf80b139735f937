#pragma once

#include <string>

// The files of the device. The base directory is the environment variable QORV_PATH, taken as it
// stands, so its value must end in "/"; without the variable it is "/etc/qorv-conf/". It is read at
// each call; changing the environment meanwhile, in another thread, is not safe (getenv(3)).

namespace raiklaik {

constexpr const char* kBaseDirectoryVariable = "QORV_PATH";
constexpr const char* kDefaultBaseDirectory = "/etc/qorv-conf/";

/// The base directory, until the environment changes.
const char* BaseDirectory();

/// The trunk database: base directory + "telephony/siptrunkdb".
std::string DatabasePath();

/// The system start file: base directory + "sysconfig/rc.conf".
std::string StartFilePath();

}  // namespace raiklaik
