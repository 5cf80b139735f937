#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/siptrunkctl/device/library.h"
#include "tools/siptrunkctl/view/failure.h"

// What several commands ask about the trunks of the device.

using Trunk = CSIPTrunkBase::STParamsRecord;

bool IsToMaster(const Trunk& trunk);

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

/// What stands in the way of a trunk that is to be stored.
struct Clash {
    bool isName;  ///< else the user name is taken
    std::string text;
    std::optional<Trunk> holder;  ///< looked up separately, so it may be gone by then

    Failure ToFailure() const;
};

/// Returns whether another trunk has the name or the user.
/// @param edited the trunk that is to be changed, which is not compared; empty for a new one
/// @param user empty when only the name is to be compared
std::optional<Clash> FindClash(Library& library, const std::string& edited, const std::string& name,
                               const std::string& user);

/// Throws the Failure of a clash when there is one.
void RequireFree(Library& library, const std::string& edited, const std::string& name,
                 const std::string& user);
