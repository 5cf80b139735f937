#pragma once

#include <string>
#include <vector>

#include "tools/siptrunkctl/device/library.h"

// What several commands ask about the trunks of the device.

using Trunk = CSIPTrunkBase::STParamsRecord;

bool IsToMaster(const Trunk& trunk);

/// Returns "a trunk to a master" or "a trunk for a slave".
std::string KindOf(const Trunk& trunk);

/// Returns the trunks without their passwords: those to a master, those for a slave, then those of
/// unknown types, which work as trunks for a slave.
std::vector<Trunk> ReadTrunks(Library& library);

/// Returns a trunk whole. Throws a Failure when none has the name.
Trunk RequireTrunk(Library& library, const std::string& name);

/// Throws a Failure when no trunk to a master has the name.
void RequireTrunkToMaster(Library& library, const std::string& name);

/// Throws a Failure when no trunk for a slave has the user name, or when a trunk to a master has
/// it, since a registration would then go to that one.
Trunk RequireTrunkOfSlave(Library& library, const std::string& user);
