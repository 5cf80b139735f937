#pragma once

#include <string>

#include "tools/siptrunkctl/device/library.h"

/// Throws a Failure, which tells who has it, when another trunk has the name or the user.
/// @param edited the trunk that is to be changed, which is not compared; empty for a new one
void RequireFree(Library& library, const std::string& edited, const std::string& name,
                 const std::string& user);
