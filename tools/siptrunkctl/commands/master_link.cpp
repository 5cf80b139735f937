#include <optional>

#include "src/foundation/paths.h"
#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/commands/define.h"
#include "tools/siptrunkctl/device/trunks.h"
#include "tools/siptrunkctl/file/trunk_rows.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

constexpr const char* kGroup = "Trunks to a master";

Record StatusRecord(const TrunkRow& row) {
    return {{"name", row.name},
            {"type", std::string(row.Type())},
            {"active", State{row.IsActive()}},
            {"registration", row.isToMaster ? Value(Switch{row.registration}) : Value()},
            {"note", TextIf(!row.oddity.empty(), row.oddity), Rank::kRest}};
}

void Status(Context& context, const std::string& name, const std::string& type) {
    if (name.empty()) {
        std::vector<Record> records;
        for (const TrunkRow& row : ReadTrunkRows()) {
            if (type == "all" || type == row.Type()) {
                records.push_back(StatusRecord(row));
            }
        }
        HideEmptyNotes(records);
        context.output.PrintList(records, "trunk");
        return;
    }
    TrunkRow row;
    row.name = name;
    row.isToMaster = IsToMaster(RequireTrunk(context.library, name));
    CSIPTrunkBase::SIPTrunkActivity activity = CSIPTrunkBase::TRUNK_NOT_FOUND;
    (void)context.library.Checked(context.library.Config().GetSIPTrunkState(name, activity));
    row.date = activity == CSIPTrunkBase::TRUNK_ACTIVE ? "yes" : "";
    row.registration =
        row.isToMaster &&
        context.library.Checked(context.library.Config().GetStateOfTrunkToMaster(name));
    std::vector<Record> records = {StatusRecord(row)};
    HideEmptyNotes(records);
    context.output.PrintOne(records.front());
}

// Runs an operation on one trunk to a master.
void ChangeTrunk(Context& context, const std::string& name, const char* action,
                 bool (CSIPTrunkConfig::*operation)(const std::string& name),
                 const std::string& text) {
    RequireTrunkToMaster(context.library, name);
    const ChangeNotice notice;
    context.library.Require((context.library.Config().*operation)(name),
                            "the trunk was not stored");
    context.output.Confirm(
        text, Record{{"action", std::string(action)}, {"name", name}, notice.Answer()});
}

// The library takes the first section for the agents' switches, whatever it holds.
void UnregisterAll(Context& context) {
    const ChangeNotice notice;
    context.library.Require(context.library.Config().SetUnregisterStateToTrunks(),
                            "the trunks were not stored");
    for (const TrunkRow& row : ReadTrunkRows()) {
        if (row.isToMaster && row.registration) {
            throw Failure(
                ExitCode::kFailed,
                DatabasePath() + ": trunk " + Quoted(row.name) +
                    " was passed over, since it stands where the agents' switches belong; "
                    "\"agents set\" puts them there, then try again");
        }
    }
    context.output.Confirm("registration is off for every trunk",
                           Record{{"action", std::string("unregistered")}, notice.Answer()});
}

void Params(Context& context, const std::string& name, bool isSaved) {
    RequireTrunkToMaster(context.library, name);
    CSIPTrunkBase::STRegistrationFields fields;
    (void)context.library.Checked(
        context.library.Config().GetTrunkToMasterParams(name, fields, !isSaved));
    context.output.PrintOne(
        {{"name", name},
         {"params", std::string(isSaved ? "saved" : "live")},
         {"user", fields.user_name},
         {"password", Secret{fields.password}},
         {"ip", fields.master_ip},
         {"port", fields.master_port},
         {"registration", isSaved ? Value() : Value(Switch{fields.registration_status})}});
}

void AddStatus(CLI::App& root, Context& context) {
    CLI::App* command = AddCommand(
        root, "status", kGroup, "show which trunks are active and kept registered",
        "A trunk is active while it has a registration date. \"registration\" tells whether a\n"
        "trunk to a master is to be kept registered; trunks for a slave have no such switch.\n\n"
        "Example:\n  siptrunkctl status office");
    auto name = std::make_shared<std::optional<std::string>>();
    auto type = std::make_shared<std::string>("all");
    CLI::Option* word =
        command
            ->add_option_function<std::string>(
                "NAME", [name](const std::string& given) { *name = given; }, "one trunk alone")
            ->option_text(" ");
    CompleteTrunks(context, word);
    AddType(context, *command, *type);
    command->callback([&context, name, type] {
        if (*name && (*name)->empty()) {
            (void)RequireTrunk(context.library, **name);  // no trunk is called so
        }
        Status(context, name->value_or(""), *type);
    });
}

void AddChange(CLI::App& root, Context& context, const char* name, const char* summary,
               const char* footer, std::function<void(const std::string& name)> run) {
    CLI::App* command = AddCommand(root, name, kGroup, summary, footer);
    auto trunk = std::make_shared<std::string>();
    AddTrunkName(context, *command, *trunk, Which::kToMaster);
    command->callback([trunk, run = std::move(run)] { run(*trunk); });
}

void AddParams(CLI::App& root, Context& context) {
    CLI::App* command = AddCommand(
        root, "params", kGroup, "show the registration parameters of a trunk to a master",
        "The saved copy is the one that \"snapshot\" makes; before that it is empty.\n\n"
        "Example:\n  siptrunkctl params office --saved");
    auto name = std::make_shared<std::string>();
    auto isSaved = std::make_shared<bool>(false);
    AddTrunkName(context, *command, *name, Which::kToMaster);
    command->add_flag("--saved", *isSaved, "the saved copy instead of the live ones");
    command->callback([&context, name, isSaved] { Params(context, *name, *isSaved); });
}

}  // namespace

void AddMasterLink(CLI::App& root, Context& context) {
    AddStatus(root, context);
    AddChange(root, context, "activate", "mark a trunk to a master active, with the current time",
              "The slave agent does so when the master has accepted the registration.\n\n"
              "Example:\n  siptrunkctl activate office",
              [&context](const std::string& name) {
                  ChangeTrunk(context, name, "activated",
                              &CSIPTrunkConfig::SetTrunkToMasterActiveState,
                              "trunk " + Quoted(name) + " is active");
              });
    AddChange(root, context, "deactivate", "mark a trunk to a master inactive",
              "Its registration date and time are removed; whether it is to be kept registered "
              "stays.\n\nExample:\n  siptrunkctl deactivate office",
              [&context](const std::string& name) {
                  ChangeTrunk(context, name, "deactivated",
                              &CSIPTrunkConfig::SetTrunkToMasterInActiveState,
                              "trunk " + Quoted(name) + " is inactive");
              });
    AddCommand(root, "unregister-all", kGroup, "switch registration off for every trunk",
               "Example:\n  siptrunkctl unregister-all")
        ->callback([&context] { UnregisterAll(context); });
    AddParams(root, context);
    AddChange(root, context, "snapshot", "save a copy of a trunk's registration parameters",
              "Example:\n  siptrunkctl snapshot office", [&context](const std::string& name) {
                  ChangeTrunk(context, name, "saved", &CSIPTrunkConfig::ChangeTrunkToMasterConfig,
                              "saved the parameters of trunk " + Quoted(name));
              });
}
