#include "tools/siptrunkctl/commands/clash.h"
#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/commands/define.h"
#include "tools/siptrunkctl/commands/trunk_values.h"
#include "tools/siptrunkctl/view/text.h"

namespace {

struct CheckOptions {
    std::string name;
    std::string user;
    std::string edit;
};

void Check(Context& context, const CheckOptions& options) {
    CheckValue("NAME", options.name);
    if (!options.edit.empty()) {
        (void)RequireTrunk(context.library, options.edit);
    }
    const bool hasUser = !options.user.empty();
    const Clash clash = FindClash(context.library, options.edit, options.name, options.user);
    if (clash.isTaken && !context.outputOptions.json) {
        throw clash.ToFailure();
    }
    context.output.Confirm(
        "name " + Quoted(options.name) +
            (hasUser ? " and user " + Quoted(options.user) + " are free" : " is free"),
        Record{{"name", options.name},
               {"user", TextIf(hasUser, options.user)},
               {"free", State{!clash.isTaken}},
               {"taken", TextIf(clash.isTaken, clash.isName ? "name" : "user")},
               {"by",
                TextIf(clash.holder.has_value(), clash.holder ? clash.holder->trunk_name : "")}});
    context.result = clash.isTaken ? ExitCode::kTaken : ExitCode::kDone;
}

}  // namespace

void AddCheck(CLI::App& root, Context& context) {
    CLI::App* command =
        AddCommand(root, "check", "Trunks", "tell whether a name (and a user) is free",
                   "Exit code 0 when free, 4 when somebody has it.\n\nExamples:\n"
                   "  siptrunkctl check office --user 1001\n"
                   "  siptrunkctl check headquarters --user 1001 --edit office");
    auto options = std::make_shared<CheckOptions>();
    AddWord(*command, "NAME", options->name, "the name that must be free");
    AddValue(*command, "--user", options->user, "USER", "a user name that must be free too");
    CompleteTrunks(context, AddValue(*command, "--edit", options->edit, "TRUNK",
                                     "the trunk that is to be changed, not compared"));
    command->callback([&context, options] { Check(context, *options); });
}
