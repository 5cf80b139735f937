#include <set>

#include "tools/siptrunkctl/commands.h"
#include "tools/siptrunkctl/device.h"
#include "tools/siptrunkctl/failure.h"
#include "tools/siptrunkctl/text.h"
#include "tools/siptrunkctl/trunks.h"

namespace {

using States = std::list<CSIPTrunkBase::STTrunkState>;

States ReadStates(Session& session, const char* type) {
    States states;
    (void)session.Checked(session.Service().GetSIPTrunksState(states, type));
    return states;
}

std::set<std::string> NamesToMaster(Session& session) {
    std::set<std::string> names;
    for (const CSIPTrunkBase::STTrunkState& state : ReadStates(session, "1")) {
        names.insert(state.trunk_name);
    }
    return names;
}

Record RowOf(Session& session, const CSIPTrunkBase::STTrunkState& state, bool isToMaster) {
    const bool registration =
        isToMaster && session.Checked(session.Service().GetStateOfTrunkToMaster(state.trunk_name));
    return {Text("name", state.trunk_name), Text("type", isToMaster ? "master" : "slave"),
            State("active", state.active),
            isToMaster ? Switch("registration", registration) : None("registration")};
}

void ConfirmTrunk(Session& session, const char* action, const std::string& name,
                  const std::string& text) {
    session.Confirm(text, {Text("action", action), Text("name", name)});
}

// The library takes the first section for the agents' switches, whatever it holds.
void RequireAllUnregistered(Session& session) {
    for (const std::string& name : NamesToMaster(session)) {
        if (session.Checked(session.Service().GetStateOfTrunkToMaster(name))) {
            throw Failure(
                ExitCode::kFailed,
                DatabasePath() + ": trunk " + Quoted(name) +
                    " was passed over, since it stands where the agents' switches belong; "
                    "\"agents set\" puts them there, then try again");
        }
    }
}

}  // namespace

void command::Status(Session& session) {
    if (!session.Options().words.empty()) {
        const std::string& name = session.Word(0);
        const bool isToMaster = IsToMaster(RequireTrunk(session, name));
        CSIPTrunkBase::SIPTrunkActivity activity = CSIPTrunkBase::TRUNK_NOT_FOUND;
        (void)session.Checked(session.Service().GetSIPTrunkState(name, activity));
        session.PrintOne(
            RowOf(session, {name, activity == CSIPTrunkBase::TRUNK_ACTIVE}, isToMaster));
        return;
    }
    const std::string& type = session.Options().type;
    const std::set<std::string> toMaster = NamesToMaster(session);
    std::vector<Record> rows;
    for (const CSIPTrunkBase::STTrunkState& state : ReadStates(session, "2")) {
        const bool isToMaster = toMaster.count(state.trunk_name) != 0;
        if (type == "all" || isToMaster == (type == "master")) {
            rows.push_back(RowOf(session, state, isToMaster));
        }
    }
    session.PrintList(rows, "trunk");
}

void command::Activate(Session& session) {
    const std::string& name = session.Word(0);
    RequireTrunkToMaster(session, name);
    session.Require(session.Service().SetTrunkToMasterActiveState(name),
                    "the trunk was not stored");
    ConfirmTrunk(session, "activated", name, "trunk " + Quoted(name) + " is active");
}

void command::Deactivate(Session& session) {
    const std::string& name = session.Word(0);
    RequireTrunkToMaster(session, name);
    session.Require(session.Service().SetTrunkToMasterInActiveState(name),
                    "the trunk was not stored");
    ConfirmTrunk(session, "deactivated", name, "trunk " + Quoted(name) + " is inactive");
}

void command::UnregisterAll(Session& session) {
    session.Require(session.Service().SetUnregisterStateToTrunks(), "the trunks were not stored");
    RequireAllUnregistered(session);
    session.Confirm("registration is off for every trunk", {Text("action", "unregistered")});
}

void command::Params(Session& session) {
    const std::string& name = session.Word(0);
    const bool isSaved = session.Options().saved;
    RequireTrunkToMaster(session, name);
    CSIPTrunkBase::STRegistrationFields fields;
    (void)session.Checked(session.Service().GetTrunkToMasterParams(name, fields, !isSaved));
    session.PrintOne(
        {Text("name", name), Text("params", isSaved ? "saved" : "live"),
         Text("user", fields.user_name), Secret("password", fields.password),
         Text("ip", fields.master_ip), Text("port", fields.master_port),
         isSaved ? None("registration") : Switch("registration", fields.registration_status)});
}

void command::Snapshot(Session& session) {
    const std::string& name = session.Word(0);
    RequireTrunkToMaster(session, name);
    session.Require(session.Service().ChangeTrunkToMasterConfig(name), "the copy was not stored");
    ConfirmTrunk(session, "saved", name, "saved the parameters of trunk " + Quoted(name));
}
