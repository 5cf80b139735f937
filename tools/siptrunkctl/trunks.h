#pragma once

#include <string>
#include <vector>

#include "tools/siptrunkctl/session.h"

// What several commands ask about the trunks of the device.

using Trunk = CSIPTrunkBase::STParamsRecord;

inline bool IsToMaster(const Trunk& trunk) { return trunk.trunk_type == "1"; }
inline const char* KindOf(const Trunk& trunk) { return IsToMaster(trunk) ? "master" : "slave"; }

/// Returns "DATE TIME" of the registration, empty when there is none.
std::string Since(const Trunk& trunk);

/// Returns the trunks without their passwords: those to a master, then those for a slave.
/// type  "master", "slave" or "all"
std::vector<Trunk> ReadTrunks(Session& session, const std::string& type);

/// Returns whether the database is there. Without one, a trunk that is added makes it.
bool HasDatabase();

/// Returns a trunk whole. Throws a Failure when none has the name.
Trunk RequireTrunk(Session& session, const std::string& name);

/// Throws a Failure when no trunk to a master has the name.
void RequireTrunkToMaster(Session& session, const std::string& name);

/// Throws a Failure when no trunk for a slave has the user name, or when one to a master has it,
/// which a registration would then go to.
Trunk RequireTrunkOfSlave(Session& session, const std::string& user);
