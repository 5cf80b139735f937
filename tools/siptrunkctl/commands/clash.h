#pragma once

#include <optional>
#include <string>

#include "tools/siptrunkctl/device/trunks.h"
#include "tools/siptrunkctl/view/failure.h"

/// What stands in the way of a trunk that is to be stored.
struct Clash {
    bool isTaken = false;
    bool isName = false;          ///< else the user name is taken
    std::string text;             ///< the name, or the user name
    std::optional<Trunk> holder;  ///< nothing when it is gone meanwhile

    Failure ToFailure() const;
};

/// Looks for a trunk that has a name or a user name.
/// @param edited the trunk that is to be changed, which is not compared; empty for a new one
/// @param user empty when the name alone is to be compared
Clash FindClash(Library& library, const std::string& edited, const std::string& name,
                const std::string& user);

/// Throws a Failure when there is one.
void RequireFree(Library& library, const std::string& edited, const std::string& name,
                 const std::string& user);
