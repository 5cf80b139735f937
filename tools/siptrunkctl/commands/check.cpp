#include <optional>

#include "src/foundation/key_table.h"
#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/commands/trunk_values.h"
#include "tools/siptrunkctl/device/trunks.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

constexpr int kNameTaken = 1;
constexpr int kUserTaken = 2;
constexpr const char* kAdding = "op_add";

/// What stands in the way of a trunk that is to be stored.
struct Clash {
    bool isName;  ///< else the user name is taken
    std::string text;
    std::optional<Trunk> holder;  ///< looked up separately, so it may be gone by then

    Failure ToFailure() const {
        std::string by;
        if (holder) {
            by = " by " + KindOf(*holder) +
                 (isName ? ", user " + Quoted(holder->user_name)
                         : ", " + Quoted(holder->trunk_name));
        }
        return {ExitCode::kTaken, (isName ? "name " : "user ") + Quoted(text) + " is taken" + by};
    }
};

// `user` is empty when only the name is to be compared.
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

void Check(Context& context) {
    const Arguments& given = context.given;
    CheckValue("NAME", given.name);
    if (!given.edited.empty()) {
        (void)RequireTrunk(context.library, given.edited);
    }
    const bool hasUser = !given.user.empty();
    const auto clash = FindClash(context.library, given.edited, given.name, given.user);
    if (clash && !context.outputOptions.json) {
        throw clash->ToFailure();
    }
    context.output.Confirm(
        "name " + Quoted(given.name) +
            (hasUser ? " and user " + Quoted(given.user) + " are free" : " is free"),
        Record{{"name", given.name},
               {"user", TextIf(hasUser, given.user)},
               {"free", State{!clash}},
               {"taken", clash ? Value(clash->isName ? "name" : "user") : Value()},
               {"by", clash && clash->holder ? Value(clash->holder->trunk_name) : Value()}});
    context.result = clash ? ExitCode::kTaken : ExitCode::kDone;
}

}  // namespace

void RequireFree(Library& library, const std::string& edited, const std::string& name,
                 const std::string& user) {
    if (const std::optional<Clash> clash = FindClash(library, edited, name, user)) {
        throw clash->ToFailure();
    }
}

void AddCheck(const Command& root) {
    Arguments& given = root.Given();
    root.Add("check", "Trunks", "tell whether a name (and a user) is free",
             "Exit code 0 when free, 4 when somebody has it.\n\nExamples:\n"
             "  siptrunkctl check office --user 1001\n"
             "  siptrunkctl check headquarters --user 1001 --edit office",
             Check)
        .Word("NAME", given.name, "the name that must be free")
        .Value("--user", given.user, "USER", "a user name that must be free too")
        .Value("--edit", given.edited, "TRUNK", "the trunk that is to be changed, not compared",
               TrunkNames());
}
