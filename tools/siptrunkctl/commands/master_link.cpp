#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/device/trunks.h"
#include "tools/siptrunkctl/file/trunk_rows.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

constexpr const char* kGroup = "Trunks to a master";

Record RecordOf(const TrunkRow& row, bool isActive) {
    return {{"name", row.name},
            {"type", row.Type()},
            {"active", State{isActive}},
            {"registration", row.isToMaster ? Value(Switch{row.registration}) : Value()},
            {"note", TextIf(!row.oddity.empty(), row.oddity), Rank::kWhenGiven}};
}

// What programs are told of one trunk.
void StatusOf(Context& context, const std::string& name) {
    Library& library = context.library;
    TrunkRow trunk;
    trunk.name = name;
    trunk.isToMaster = IsToMaster(RequireTrunk(library, name));
    CSIPTrunkBase::SIPTrunkActivity activity = CSIPTrunkBase::TRUNK_NOT_FOUND;
    (void)library.Checked(library.Config().GetSIPTrunkState(name, activity));
    trunk.registration =
        trunk.isToMaster && library.Checked(library.Config().GetStateOfTrunkToMaster(name));
    context.output.PrintOne(RecordOf(trunk, activity == CSIPTrunkBase::TRUNK_ACTIVE));
}

void Status(Context& context) {
    if (!context.given.words.empty()) {
        StatusOf(context, context.given.words.front());
        return;
    }
    const std::string& type = context.given.type;
    std::vector<Record> records;
    for (const TrunkRow& row : ReadTrunkRows()) {
        if (type == "all" || type == row.Type()) {
            records.push_back(RecordOf(row, row.IsActive()));
        }
    }
    context.output.PrintList(records, "trunk");
}

// Runs an operation on one trunk to a master.
void ChangeTrunk(Context& context, const char* action,
                 bool (CSIPTrunkConfig::*operation)(const std::string& name),
                 const std::string& beforeName, const std::string& afterName = "") {
    const std::string& name = context.given.name;
    RequireTrunkToMaster(context.library, name);
    const ChangeNotice notice;
    context.library.Require((context.library.Config().*operation)(name),
                            "the trunk was not stored");
    context.output.Confirm(beforeName + Quoted(name) + afterName,
                           notice.Answer(action, {{"name", name}}));
}

void Activate(Context& context) {
    ChangeTrunk(context, "activated", &CSIPTrunkConfig::SetTrunkToMasterActiveState, "trunk ",
                " is active");
}

void Deactivate(Context& context) {
    ChangeTrunk(context, "deactivated", &CSIPTrunkConfig::SetTrunkToMasterInActiveState, "trunk ",
                " is inactive");
}

void Snapshot(Context& context) {
    ChangeTrunk(context, "saved", &CSIPTrunkConfig::ChangeTrunkToMasterConfig,
                "saved the parameters of trunk ");
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
    context.output.Confirm("registration is off for every trunk", notice.Answer("unregistered"));
}

void Params(Context& context) {
    const std::string& name = context.given.name;
    const bool isSaved = context.given.saved;
    RequireTrunkToMaster(context.library, name);
    CSIPTrunkBase::STRegistrationFields fields;
    (void)context.library.Checked(
        context.library.Config().GetTrunkToMasterParams(name, fields, !isSaved));
    context.output.PrintOne(
        {{"name", name},
         {"params", isSaved ? "saved" : "live"},
         {"user", fields.user_name},
         {"password", Secret{fields.password}},
         {"ip", fields.master_ip},
         {"port", fields.master_port},
         {"registration", isSaved ? Value() : Value(Switch{fields.registration_status})}});
}

}  // namespace

void AddMasterLink(const Command& root) {
    root.Add("status", kGroup, "show which trunks are active and kept registered",
             "A trunk is active while it has a registration date. \"registration\" tells whether\n"
             "a trunk to a master is to be kept registered; trunks for a slave have no such\n"
             "switch.\n\nExample:\n  siptrunkctl status office",
             Status)
        .Words("NAME", "one trunk alone", TrunkNames(), 1)
        .Type();
    root.Add("activate", kGroup, "mark a trunk active, with the current time",
             "The slave agent does so when the master has accepted the registration.\n\n"
             "Example:\n  siptrunkctl activate office",
             Activate)
        .TrunkName(Which::kToMaster);
    root.Add("deactivate", kGroup, "mark a trunk inactive",
             "Its registration date and time are removed; whether it is to be kept registered\n"
             "stays.\n\nExample:\n  siptrunkctl deactivate office",
             Deactivate)
        .TrunkName(Which::kToMaster);
    root.Add("unregister-all", kGroup, "switch registration off for every trunk",
             "Example:\n  siptrunkctl unregister-all", UnregisterAll);
    root.Add("params", kGroup, "show a trunk's registration parameters",
             "The saved copy is the one that \"snapshot\" makes; before that it is empty.\n\n"
             "Example:\n  siptrunkctl params office --saved",
             Params)
        .TrunkName(Which::kToMaster)
        .Flag("--saved", root.Given().saved, "the saved copy instead of the live ones");
    root.Add("snapshot", kGroup, "save a copy of a trunk's registration parameters",
             "Example:\n  siptrunkctl snapshot office", Snapshot)
        .TrunkName(Which::kToMaster);
}
