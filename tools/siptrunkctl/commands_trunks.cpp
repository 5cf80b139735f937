#include <set>

#include "tools/siptrunkctl/commands.h"
#include "tools/siptrunkctl/database_text.h"
#include "tools/siptrunkctl/device.h"
#include "tools/siptrunkctl/failure.h"
#include "tools/siptrunkctl/password.h"
#include "tools/siptrunkctl/text.h"
#include "tools/siptrunkctl/trunk_values.h"
#include "tools/siptrunkctl/trunks.h"

namespace {

constexpr int kNameTaken = 1;
constexpr int kUserTaken = 2;
constexpr const char* kEditing = "op_edit";
constexpr const char* kAdding = "op_add";
// No stored user name holds a line feed, so this one is always free.
constexpr const char* kNoUser = "\n";

// Tells which trunk holds what was to be free. It is looked up by itself; should it be gone
// meanwhile, the clash is told without it.
[[noreturn]] void ThrowTaken(Session& session, int clash, const std::string& edited,
                             const std::string& name, const std::string& user) {
    const bool isName = clash == kNameTaken;
    std::string holder;
    for (const Trunk& trunk : ReadTrunks(session, "all")) {
        const bool holds = isName ? trunk.trunk_name == name : trunk.user_name == user;
        if (holds && (edited.empty() || trunk.trunk_name != edited)) {
            holder =
                std::string(" by ") +
                (IsToMaster(trunk) ? "a trunk to a master" : "a trunk for a slave") +
                (isName ? ", user " + Quoted(trunk.user_name) : ", " + Quoted(trunk.trunk_name));
            break;
        }
    }
    throw Failure(ExitCode::kTaken, (isName ? "name " + Quoted(name) : "user " + Quoted(user)) +
                                        " is taken" + holder);
}

void RequireFree(Session& session, const std::string& edited, const std::string& name,
                 const std::string& user) {
    const int clash = session.Checked(
        session.Service().CheckTrunk(edited, name, user, edited.empty() ? kAdding : kEditing));
    if (clash == kNameTaken || clash == kUserTaken) {
        ThrowTaken(session, clash, edited, name, user);
    }
}

// Returns a trunk that is to be stored again. A value that was read cut would be stored cut.
Trunk RequireWholeTrunk(Session& session, const std::string& name) {
    Trunk trunk = RequireTrunk(session, name);
    for (const DatabaseSection& section : RequireDatabase(DatabasePath()).sections) {
        const std::string* stored = section.Find("trunk_name");
        if (stored == nullptr || *stored != name) {
            continue;
        }
        for (const DatabaseEntry& entry : section.entries) {
            if (entry.value.size() > kLongestValue) {
                throw Failure(ExitCode::kFailed, DatabasePath() + ":" + std::to_string(entry.line) +
                                                     ": value of " + Quoted(entry.key) +
                                                     " is too long to be kept; shorten it there");
            }
        }
        break;
    }
    return trunk;
}

std::set<std::string> ActiveNames(Session& session) {
    std::list<Trunk> trunks;
    (void)session.Checked(session.Service().GetAllSIPTrunkParams(trunks));
    std::set<std::string> names;
    for (const Trunk& trunk : trunks) {
        // A slave that was reset leaves an empty address behind.
        if (!trunk.remote_ip.empty()) {
            names.insert(trunk.trunk_name);
        }
    }
    return names;
}

Record RowOf(const Trunk& trunk) {
    return {Text("name", trunk.trunk_name),
            Text("type", KindOf(trunk)),
            Text("user", trunk.user_name),
            Text("ip", trunk.remote_ip),
            Text("port", trunk.remote_port),
            IsToMaster(trunk) ? None("sym_nat") : Switch("sym_nat", trunk.sym_nat),
            Text("since", Since(trunk))};
}

}  // namespace

void command::List(Session& session) {
    const Arguments& options = session.Options();
    const std::set<std::string> active =
        options.active ? ActiveNames(session) : std::set<std::string>();
    std::vector<Record> rows;
    for (const Trunk& trunk : ReadTrunks(session, options.type)) {
        if (options.active && active.count(trunk.trunk_name) == 0) {
            continue;
        }
        if (options.names && !options.json) {
            session.PrintText(Printable(trunk.trunk_name) + "\n");
        } else {
            rows.push_back(options.names ? Record{Text("name", trunk.trunk_name)} : RowOf(trunk));
        }
    }
    if (!options.names || options.json) {
        session.PrintList(rows, "trunk");
    }
}

void command::Show(Session& session) {
    const Trunk trunk = RequireTrunk(session, session.Word(0));
    const bool isToMaster = IsToMaster(trunk);
    session.PrintOne({Text("name", trunk.trunk_name), Text("type", KindOf(trunk)),
                      Text("user", trunk.user_name), Secret("password", trunk.password),
                      Text("ip", trunk.remote_ip), Text("port", trunk.remote_port),
                      isToMaster ? Switch("registration", trunk.registration_status)
                                 : Switch("sym_nat", trunk.sym_nat),
                      Text("since", Since(trunk))});
}

void command::Add(Session& session) {
    const std::string& name = session.Word(0);
    CheckValue("NAME", name);
    Trunk trunk;
    ApplyTrunkValues(ReadTrunkValues(session.Options().words, 1), trunk);
    trunk.trunk_name = name;
    if (HasDatabase()) {
        RequireFree(session, "", name, trunk.user_name);
    }
    trunk.password = *ReadPassword(session.Options(), true);
    session.Require(session.Service().SetSIPTrunkParams("", trunk, false),
                    "trunk " + Quoted(name) + " was not stored");
    session.Confirm("added trunk " + Quoted(name), {Text("action", "added"), Text("name", name)});
}

void command::Modify(Session& session) {
    const std::string& name = session.Word(0);
    const Arguments& options = session.Options();
    const TrunkValues values = ReadTrunkValues(options.words, 1);
    CheckValue("NAME", name);
    if (options.words.size() == 1 && options.passwordFile.empty() && !options.askPassword &&
        !options.resetRegistration) {
        throw UsageFailure("modify: nothing to change; give KEY=VALUE or an option");
    }
    Trunk trunk = RequireWholeTrunk(session, name);
    ApplyTrunkValues(values, trunk);
    if (IsToMaster(trunk) && options.resetRegistration) {
        throw UsageFailure(
            "--reset-registration: only trunks for a slave have a registration to reset");
    }
    if (values.user) {
        RequireFree(session, name, name, trunk.user_name);
    }
    trunk.password = ReadPassword(options, false).value_or(trunk.password);
    session.Require(session.Service().SetSIPTrunkParams(name, trunk, options.resetRegistration),
                    "trunk " + Quoted(name) + " was removed meanwhile");
    session.Confirm("changed trunk " + Quoted(name),
                    {Text("action", "changed"), Text("name", name)});
}

void command::Rename(Session& session) {
    const std::string& oldName = session.Word(0);
    const std::string& newName = session.Word(1);
    CheckValue("OLD", oldName);
    CheckValue("NEW", newName);
    Trunk trunk = RequireWholeTrunk(session, oldName);
    RequireFree(session, oldName, newName, trunk.user_name);
    trunk.trunk_name = newName;
    session.Require(session.Service().SetSIPTrunkParams(oldName, trunk, false),
                    "trunk " + Quoted(oldName) + " was removed meanwhile");
    session.Confirm("renamed trunk " + Quoted(oldName) + " to " + Quoted(newName),
                    {Text("action", "renamed"), Text("name", newName), Text("old_name", oldName)});
}

void command::Delete(Session& session) {
    const std::string& name = session.Word(0);
    bool wasRegistered = false;
    if (!session.Checked(session.Service().DeleteTrunk(name, true, wasRegistered))) {
        (void)RequireTrunk(session, name);
        throw Failure(ExitCode::kFailed, "trunk " + Quoted(name) + " was changed meanwhile");
    }
    session.Confirm(
        "deleted trunk " + Quoted(name) + (wasRegistered ? ", which was registered" : ""),
        {Text("action", "deleted"), Text("name", name), State("was_registered", wasRegistered)});
}

void command::Check(Session& session) {
    const Arguments& options = session.Options();
    const std::string& name = session.Word(0);
    CheckValue("NAME", name);
    if (!options.edit.empty()) {
        (void)RequireTrunk(session, options.edit);
    }
    RequireFree(session, options.edit, name, options.user.empty() ? kNoUser : options.user);
    const bool hasUser = !options.user.empty();
    session.Confirm("name " + Quoted(name) +
                        (hasUser ? " and user " + Quoted(options.user) + " are free" : " is free"),
                    {Text("name", name), hasUser ? Text("user", options.user) : None("user"),
                     State("free", true)});
}
