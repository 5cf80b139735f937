#include "tools/siptrunkctl/device/trunks.h"

#include <algorithm>
#include <list>
#include <set>

#include "src/foundation/key_table.h"
#include "tools/siptrunkctl/view/failure.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

constexpr int kNameTaken = 1;
constexpr int kUserTaken = 2;
constexpr const char* kAdding = "op_add";

const Trunk* FindTrunk(const std::vector<Trunk>& trunks, const std::string Trunk::*field,
                       const std::string& text) {
    const auto found = std::find_if(trunks.begin(), trunks.end(),
                                    [&](const Trunk& trunk) { return trunk.*field == text; });
    return found == trunks.end() ? nullptr : &*found;
}

std::string KindOf(const Trunk& trunk) {
    return IsToMaster(trunk) ? "a trunk to a master" : "a trunk for a slave";
}

// Says "; did you mean" one of the fields of the trunks.
std::string NearTo(const std::string& text, const std::vector<Trunk>& trunks,
                   const std::string Trunk::*field) {
    std::vector<std::string> candidates;
    for (const Trunk& trunk : trunks) {
        candidates.push_back(trunk.*field);
    }
    return DidYouMean(text, candidates);
}

[[noreturn]] void ThrowNoTrunk(Library& library, const std::string& name) {
    const std::vector<Trunk> trunks = ReadTrunks(library);
    const Trunk* ofUser = name.empty() ? nullptr : FindTrunk(trunks, &Trunk::user_name, name);
    throw Failure(
        ExitCode::kNoSuchTrunk,
        "no trunk " + Quoted(name) +
            (ofUser == nullptr ? NearTo(name, trunks, &Trunk::trunk_name)
                               : "; that is the user of trunk " + Quoted(ofUser->trunk_name)));
}

}  // namespace

bool IsToMaster(const Trunk& trunk) { return trunk.trunk_type == type::kToMaster; }

std::vector<Trunk> ReadTrunks(Library& library) {
    std::vector<Trunk> trunks;
    std::set<std::string> names;
    for (const char* type : {type::kToMaster, type::kForSlave}) {
        std::list<Trunk> ofKind;
        (void)library.Checked(library.Config().GetSIPTrunkParams(ofKind, type, false));
        for (Trunk& trunk : ofKind) {
            trunk.trunk_type = type;
            names.insert(trunk.trunk_name);
            trunks.push_back(std::move(trunk));
        }
    }
    std::list<CSIPTrunkBase::STTrunkState> states;
    (void)library.Checked(library.Config().GetSIPTrunksState(states, type::kEvery));
    for (const CSIPTrunkBase::STTrunkState& state : states) {
        Trunk trunk;
        if (names.insert(state.trunk_name).second &&
            library.Checked(library.Config().GetSIPTrunkParams(state.trunk_name, trunk))) {
            trunk.password.clear();
            trunks.push_back(std::move(trunk));
        }
    }
    return trunks;
}

Trunk RequireTrunk(Library& library, const std::string& name) {
    Trunk trunk;
    if (!library.Checked(library.Config().GetSIPTrunkParams(name, trunk))) {
        ThrowNoTrunk(library, name);
    }
    return trunk;
}

void RequireTrunkToMaster(Library& library, const std::string& name) {
    if (!IsToMaster(RequireTrunk(library, name))) {
        throw Failure(ExitCode::kNoSuchTrunk, "no trunk to a master " + Quoted(name) +
                                                  "; the trunk of that name is for a slave");
    }
}

Trunk RequireTrunkOfSlave(Library& library, const std::string& user) {
    std::vector<Trunk> trunks = ReadTrunks(library);
    const Trunk* found = FindTrunk(trunks, &Trunk::user_name, user);  // to a master, if one is
    if (found != nullptr && !IsToMaster(*found)) {
        return *found;
    }
    std::string hint;
    if (found != nullptr) {
        hint =
            "; that is the user of trunk " + Quoted(found->trunk_name) + ", which goes to a master";
    } else if (const Trunk* named = FindTrunk(trunks, &Trunk::trunk_name, user)) {
        hint = "; that is a trunk, whose user is " + Quoted(named->user_name);
    } else {
        trunks.erase(std::remove_if(trunks.begin(), trunks.end(), IsToMaster), trunks.end());
        hint = NearTo(user, trunks, &Trunk::user_name);
    }
    throw Failure(ExitCode::kNoSuchTrunk, "no slave " + Quoted(user) + hint);
}

Failure Clash::ToFailure() const {
    std::string by;
    if (holder) {
        by = " by " + KindOf(*holder) +
             (isName ? ", user " + Quoted(holder->user_name) : ", " + Quoted(holder->trunk_name));
    }
    return {ExitCode::kTaken, (isName ? "name " : "user ") + Quoted(text) + " is taken" + by};
}

std::optional<Clash> FindClash(Library& library, const std::string& edited, const std::string& name,
                               const std::string& user) {
    int taken = 0;
    if (!user.empty()) {
        taken = library.Checked(library.Config().CheckTrunk(
            edited, name, user, edited.empty() ? kAdding : word::kEdit));
    } else if (Trunk trunk; name != edited) {
        taken = library.Checked(library.Config().GetSIPTrunkParams(name, trunk)) ? kNameTaken : 0;
    }
    if (taken != kNameTaken && taken != kUserTaken) {
        return std::nullopt;
    }
    Clash clash{taken == kNameTaken, taken == kNameTaken ? name : user, std::nullopt};
    for (const Trunk& trunk : ReadTrunks(library)) {
        const bool holds = (clash.isName ? trunk.trunk_name : trunk.user_name) == clash.text;
        if (holds && !clash.holder && (edited.empty() || trunk.trunk_name != edited)) {
            clash.holder = trunk;
        }
    }
    return clash;
}

void RequireFree(Library& library, const std::string& edited, const std::string& name,
                 const std::string& user) {
    if (const std::optional<Clash> clash = FindClash(library, edited, name, user)) {
        throw clash->ToFailure();
    }
}
