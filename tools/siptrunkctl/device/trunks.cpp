#include "tools/siptrunkctl/device/trunks.h"

#include <algorithm>

#include "src/foundation/key_table.h"
#include "tools/siptrunkctl/view/failure.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

std::list<Trunk> ReadKind(Library& library, const char* type) {
    std::list<Trunk> trunks;
    (void)library.Checked(library.Config().GetSIPTrunkParams(trunks, type, false));
    for (Trunk& trunk : trunks) {
        trunk.trunk_type = type;
    }
    return trunks;
}

const Trunk* FindTrunk(const std::vector<Trunk>& trunks, const std::string Trunk::*field,
                       const std::string& text) {
    const auto found = std::find_if(trunks.begin(), trunks.end(),
                                    [&](const Trunk& trunk) { return trunk.*field == text; });
    return found == trunks.end() ? nullptr : &*found;
}

[[noreturn]] void ThrowNoTrunk(Library& library, const std::string& name) {
    const std::vector<Trunk> trunks = ReadTrunks(library);
    const Trunk* ofUser = FindTrunk(trunks, &Trunk::user_name, name);
    std::vector<std::string> names;
    for (const Trunk& trunk : trunks) {
        names.push_back(trunk.trunk_name);
    }
    throw Failure(ExitCode::kNoSuchTrunk,
                  "no trunk " + Quoted(name) +
                      (ofUser == nullptr || name.empty()
                           ? DidYouMean(name, names)
                           : "; that is the user of trunk " + Quoted(ofUser->trunk_name)));
}

}  // namespace

bool IsToMaster(const Trunk& trunk) { return trunk.trunk_type == type::kToMaster; }

std::string KindOf(const Trunk& trunk) {
    return IsToMaster(trunk) ? "a trunk to a master" : "a trunk for a slave";
}

std::vector<Trunk> ReadTrunks(Library& library) {
    std::vector<Trunk> trunks;
    for (const char* type : {type::kToMaster, type::kForSlave}) {
        const std::list<Trunk> ofKind = ReadKind(library, type);
        trunks.insert(trunks.end(), ofKind.begin(), ofKind.end());
    }
    std::list<CSIPTrunkBase::STTrunkState> states;
    (void)library.Checked(library.Config().GetSIPTrunksState(states, type::kEvery));
    if (states.size() == trunks.size()) {
        return trunks;
    }
    std::vector<std::string> known;
    for (const Trunk& trunk : trunks) {
        known.push_back(trunk.trunk_name);
    }
    std::sort(known.begin(), known.end());
    for (const CSIPTrunkBase::STTrunkState& state : states) {
        Trunk trunk;
        if (!std::binary_search(known.begin(), known.end(), state.trunk_name) &&
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
    const std::list<Trunk> trunks = ReadKind(library, type::kToMaster);
    if (std::any_of(trunks.begin(), trunks.end(),
                    [&](const Trunk& trunk) { return trunk.trunk_name == name; })) {
        return;
    }
    (void)RequireTrunk(library, name);
    throw Failure(ExitCode::kNoSuchTrunk, "no trunk to a master " + Quoted(name) +
                                              "; the trunk of that name is for a slave");
}

Trunk RequireTrunkOfSlave(Library& library, const std::string& user) {
    const Trunk* found = nullptr;
    std::vector<std::string> users;
    const std::vector<Trunk> trunks = ReadTrunks(library);
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
        const Trunk* named = FindTrunk(trunks, &Trunk::trunk_name, user);
        throw Failure(ExitCode::kNoSuchTrunk,
                      "no slave " + Quoted(user) +
                          (named == nullptr
                               ? DidYouMean(user, users)
                               : "; that is a trunk, whose user is " + Quoted(named->user_name)));
    }
    return *found;
}
