#include "tools/siptrunkctl/trunks.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "tools/siptrunkctl/device.h"
#include "tools/siptrunkctl/failure.h"
#include "tools/siptrunkctl/text.h"

namespace {

constexpr const char* kToMaster = "1";
constexpr const char* kForSlave = "0";
constexpr const char* kEveryKind = "2";

std::list<Trunk> ReadKind(Session& session, const char* type) {
    std::list<Trunk> trunks;
    (void)session.Checked(session.Service().GetSIPTrunkParams(trunks, type, false));
    for (Trunk& trunk : trunks) {
        trunk.trunk_type = type;
    }
    return trunks;
}

std::vector<std::string> TrunkNames(Session& session) {
    std::list<CSIPTrunkBase::STTrunkState> states;
    (void)session.Checked(session.Service().GetSIPTrunksState(states, kEveryKind));
    std::vector<std::string> names;
    for (CSIPTrunkBase::STTrunkState& state : states) {
        names.push_back(std::move(state.trunk_name));
    }
    return names;
}

// A type that is neither "1" nor "0" is in no list by type, but its trunk works as one for a slave.
void AddTrunksOfOtherTypes(Session& session, std::vector<Trunk>& trunks) {
    for (const std::string& name : TrunkNames(session)) {
        const bool isKnown = std::any_of(trunks.begin(), trunks.end(), [&](const Trunk& trunk) {
            return trunk.trunk_name == name;
        });
        Trunk trunk;
        if (!isKnown && session.Checked(session.Service().GetSIPTrunkParams(name, trunk))) {
            trunk.password.clear();
            trunks.push_back(std::move(trunk));
        }
    }
}

[[noreturn]] void ThrowNoTrunk(Session& session, const std::string& name) {
    throw Failure(ExitCode::kNoSuchTrunk,
                  "no trunk " + Quoted(name) + DidYouMean(name, TrunkNames(session)));
}

}  // namespace

std::string Since(const Trunk& trunk) {
    const bool hasBoth = !trunk.registration_date.empty() && !trunk.registration_time.empty();
    return trunk.registration_date + (hasBoth ? " " : "") + trunk.registration_time;
}

bool HasDatabase() { return access(DatabasePath().c_str(), F_OK) == 0 || errno != ENOENT; }

std::vector<Trunk> ReadTrunks(Session& session, const std::string& type) {
    std::vector<Trunk> trunks;
    if (type != "slave") {
        const std::list<Trunk> toMaster = ReadKind(session, kToMaster);
        trunks.insert(trunks.end(), toMaster.begin(), toMaster.end());
    }
    if (type != "master") {
        const std::list<Trunk> forSlave = ReadKind(session, kForSlave);
        trunks.insert(trunks.end(), forSlave.begin(), forSlave.end());
    }
    if (type == "all") {
        AddTrunksOfOtherTypes(session, trunks);
    }
    return trunks;
}

Trunk RequireTrunk(Session& session, const std::string& name) {
    Trunk trunk;
    if (!session.Checked(session.Service().GetSIPTrunkParams(name, trunk))) {
        ThrowNoTrunk(session, name);
    }
    return trunk;
}

void RequireTrunkToMaster(Session& session, const std::string& name) {
    const std::list<Trunk> trunks = ReadKind(session, kToMaster);
    if (std::any_of(trunks.begin(), trunks.end(),
                    [&](const Trunk& trunk) { return trunk.trunk_name == name; })) {
        return;
    }
    (void)RequireTrunk(session, name);
    throw Failure(ExitCode::kNoSuchTrunk, "no trunk to a master " + Quoted(name) +
                                              "; the trunk of that name is for a slave");
}

Trunk RequireTrunkOfSlave(Session& session, const std::string& user) {
    const Trunk* found = nullptr;
    std::vector<std::string> users;
    const std::vector<Trunk> trunks = ReadTrunks(session, "all");
    for (const Trunk& trunk : trunks) {
        if (IsToMaster(trunk) && trunk.user_name == user) {
            throw Failure(ExitCode::kNoSuchTrunk,
                          "no slave " + Quoted(user) + "; that is the user of trunk " +
                              Quoted(trunk.trunk_name) + ", which goes to a master");
        }
        if (!IsToMaster(trunk)) {
            users.push_back(trunk.user_name);
            found = found == nullptr && trunk.user_name == user ? &trunk : found;
        }
    }
    if (found == nullptr) {
        throw Failure(ExitCode::kNoSuchTrunk, "no slave " + Quoted(user) + DidYouMean(user, users));
    }
    return *found;
}
