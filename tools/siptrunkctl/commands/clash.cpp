#include "tools/siptrunkctl/commands/clash.h"

#include "src/foundation/key_table.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

constexpr int kNameTaken = 1;
constexpr int kUserTaken = 2;
constexpr const char* kAdding = "op_add";

// Tells which trunk holds what was to be free. It is looked up by itself, so it may be gone.
std::optional<Trunk> FindHolder(Library& library, const Clash& clash, const std::string& edited) {
    for (const Trunk& trunk : ReadTrunks(library)) {
        const bool holds = (clash.isName ? trunk.trunk_name : trunk.user_name) == clash.text;
        if (holds && (edited.empty() || trunk.trunk_name != edited)) {
            return trunk;
        }
    }
    return std::nullopt;
}

}  // namespace

Failure Clash::ToFailure() const {
    std::string by;
    if (holder) {
        by = " by " + KindOf(*holder) +
             (isName ? ", user " + Quoted(holder->user_name) : ", " + Quoted(holder->trunk_name));
    }
    return {ExitCode::kTaken, (isName ? "name " : "user ") + Quoted(text) + " is taken" + by};
}

Clash FindClash(Library& library, const std::string& edited, const std::string& name,
                const std::string& user) {
    Clash clash;
    if (user.empty()) {
        Trunk found;
        clash.isTaken = clash.isName =
            name != edited && library.Checked(library.Config().GetSIPTrunkParams(name, found));
    } else {
        const int code = library.Checked(library.Config().CheckTrunk(
            edited, name, user, edited.empty() ? kAdding : word::kEdit));
        clash.isName = code == kNameTaken;
        clash.isTaken = clash.isName || code == kUserTaken;
    }
    if (clash.isTaken) {
        clash.text = clash.isName ? name : user;
        clash.holder = FindHolder(library, clash, edited);
    }
    return clash;
}

void RequireFree(Library& library, const std::string& edited, const std::string& name,
                 const std::string& user) {
    const Clash clash = FindClash(library, edited, name, user);
    if (clash.isTaken) {
        throw clash.ToFailure();
    }
}
