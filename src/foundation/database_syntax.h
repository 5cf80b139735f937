#pragma once

#include <cstdint>

// The syntax of the trunk database and the lock that guards the device's files. Library and tool
// both take them from here.

namespace raiklaik {

/// The marks of the trunk database; a line end after one is not looked at.
namespace syntax {

constexpr const char* kSection = "section";
constexpr const char* kOpener = "{\n";
constexpr const char* kCloser = "}\n";
constexpr const char* kSeparator = "=";
constexpr const char* kComment = "#";

}  // namespace syntax

/// The lock that all processes of the device share.
namespace device_lock {

constexpr int kNumber = 43;
constexpr const char* kPath = "/bin/ls";  // a name only, never opened

/// The key of its semaphore set: the 32-bit FNV-1a hash of "NUMBER:PATH".
constexpr std::uint32_t kKey = 0xef7b2cd0;

}  // namespace device_lock

/// The most bytes of a value that an operation reads, with the NUL after them.
constexpr unsigned int kValueCapacity = 1024;

}  // namespace raiklaik
