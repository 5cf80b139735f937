#include <nlohmann/json.hpp>
#include <set>

#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/commands/password.h"
#include "tools/siptrunkctl/commands/trunk_values.h"
#include "tools/siptrunkctl/device/cause.h"
#include "tools/siptrunkctl/file/check.h"
#include "tools/siptrunkctl/file/database.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

constexpr const char* kGroup = "Trunks";

// Returns a trunk that is to be stored again. A value that was read cut would be stored cut.
Trunk RequireWholeTrunk(Library& library, const std::string& name) {
    Trunk trunk = RequireTrunk(library, name);
    const Database database = RequireDatabase(DatabasePath());
    const DatabaseSection* section = FindTrunk(database.sections, name);
    for (std::size_t i = 0; section != nullptr && i < section->entries.size(); ++i) {
        const DatabaseEntry& entry = section->entries[i];
        if (entry.value.size() > kLongestValue) {
            throw Failure(DatabasePath() + ":" + std::to_string(entry.line) + ": value of " +
                          Quoted(entry.key) + " is too long to be kept; shorten it there");
        }
    }
    return trunk;
}

// A person may take long over a password, so it is asked for before the database is looked at.
void Add(Context& context) {
    const std::string& name = context.given.name;
    CheckValue("NAME", name);
    Trunk trunk;
    ApplyTrunkValues(ReadTrunkValues(context.given.words), trunk);
    trunk.trunk_name = name;
    trunk.password = *ReadPassword(context.given, true);
    if (HasDatabase()) {
        RequireFree(context.library, "", name, trunk.user_name);
    }
    const ChangeNotice notice;
    context.library.Require(context.library.Config().SetSIPTrunkParams("", trunk, false),
                            "trunk " + Quoted(name) + " was not stored");
    context.output.Confirm("added trunk " + Quoted(name), notice.Answer("added", {{"name", name}}));
}

void Modify(Context& context) {
    const Arguments& given = context.given;
    const TrunkValues values = ReadTrunkValues(given.words);
    CheckValue("NAME", given.name);
    const std::optional<std::string> password = ReadPassword(given, false);
    if (values.empty() && !password && !given.resetRegistration) {
        throw UsageFailure("modify: nothing to change; give KEY=VALUE or an option");
    }
    Trunk trunk = RequireWholeTrunk(context.library, given.name);
    ApplyTrunkValues(values, trunk);
    if (IsToMaster(trunk) && given.resetRegistration) {
        throw UsageFailure(
            "--reset-registration: only trunks for a slave have a registration to reset");
    }
    if (values.count("user") != 0) {
        RequireFree(context.library, given.name, given.name, trunk.user_name);
    }
    trunk.password = password.value_or(trunk.password);
    const ChangeNotice notice;
    context.library.Require(
        context.library.Config().SetSIPTrunkParams(given.name, trunk, given.resetRegistration),
        "trunk " + Quoted(given.name) + " was removed meanwhile");
    context.output.Confirm(
        (notice.Changed() ? "changed trunk " : "nothing to change in trunk ") + Quoted(given.name),
        notice.Answer("changed", {{"name", given.name}}));
}

void Rename(Context& context) {
    const std::string& oldName = context.given.name;
    const std::string& newName = context.given.newName;
    CheckValue("OLD", oldName);
    CheckValue("NEW", newName);
    Trunk trunk = RequireWholeTrunk(context.library, oldName);
    RequireFree(context.library, oldName, newName, trunk.user_name);
    trunk.trunk_name = newName;
    const ChangeNotice notice;
    context.library.Require(context.library.Config().SetSIPTrunkParams(oldName, trunk, false),
                            "trunk " + Quoted(oldName) + " was removed meanwhile");
    context.output.Confirm("renamed trunk " + Quoted(oldName) + " to " + Quoted(newName),
                           notice.Answer("renamed", {{"name", newName}, {"old_name", oldName}}));
}

Record DeleteOne(Context& context, const std::string& name, std::string& text) {
    bool wasOn = false;
    const ChangeNotice notice;
    if (!context.library.Checked(context.library.Config().DeleteTrunk(name, true, wasOn))) {
        (void)RequireTrunk(context.library, name);
        throw Failure("trunk " + Quoted(name) + " was changed meanwhile");
    }
    text += (text.empty() ? "" : "\n") + ("deleted trunk " + Quoted(name)) +
            (wasOn ? "; its registration was switched on" : "");
    return notice.Answer("deleted", {{"name", name}, {"was_registered", State{wasOn}}});
}

// All are looked for before one is deleted.
void Delete(Context& context) {
    const std::vector<std::string>& names = context.given.words;
    std::set<std::string> known;
    for (const std::string& name : names) {
        if (!known.insert(name).second) {
            throw UsageFailure("trunk " + Quoted(name) + " is given twice");
        }
    }
    for (std::size_t i = 0; names.size() > 1 && i < names.size(); ++i) {
        (void)RequireTrunk(context.library, names[i]);
    }
    std::string text;
    std::vector<Record> records;
    for (const std::string& name : names) {
        records.push_back(DeleteOne(context, name, text));
    }
    const bool secrets = context.outputOptions.showSecrets;
    context.output.Confirm(
        text, records.size() == 1 ? ToJson(records.front(), secrets) : ToJson(records, secrets));
}

void AddAdd(const Command& root) {
    Command add = root.Add(
        "add", kGroup, "add a trunk",
        "Settings: type=master|slave, user=, ip=, port=, registration=on|off,\n"
        "sym_nat=on|off. A trunk to a master needs type, user, ip and port; it is kept\n"
        "registered with registration=on. A trunk for a slave needs type and user; its\n"
        "address comes from the slave's registration. The names of the database's keys\n"
        "are accepted as well (user_name=, master_ip=, ...). The password is asked for on\n"
        "a terminal.\n\nExamples:\n"
        "  siptrunkctl add office type=master user=1001 ip=192.0.2.10 port=5060\n"
        "  siptrunkctl add branch type=slave user=2001 --password-file secret.txt",
        Add);
    add.Word("NAME", root.Given().name, "the new trunk's name")
        .Words("SETTING", "KEY=VALUE, see below", TrunkValueCandidates())
        .Required();
    AddPasswordOptions(add);
}

void AddModify(const Command& root) {
    Command modify =
        root.Add("modify", kGroup, "change a trunk",
                 "Settings are those of \"add\"; what is not named stays. The password stays too,\n"
                 "unless --password-file or --ask-password is given.\n\nExample:\n"
                 "  siptrunkctl modify office port=5062 registration=off",
                 Modify);
    modify.TrunkName().Words("SETTING", "KEY=VALUE, as for \"add\"", TrunkValueCandidates());
    AddPasswordOptions(modify).Flag("--reset-registration", root.Given().resetRegistration,
                                    "empty the slave's address and registration time");
}

}  // namespace

void AddTrunkChanges(const Command& root) {
    AddAdd(root);
    AddModify(root);
    root.Add("rename", kGroup, "give a trunk another name",
             "Example:\n  siptrunkctl rename office headquarters", Rename)
        .Word("OLD", root.Given().name, "the trunk", TrunkNames())
        .Word("NEW", root.Given().newName, "its new name");
    root.Add("delete", kGroup, "remove trunks with all their keys",
             "Nothing is removed when one of the names is unknown.\n\nExample:\n"
             "  siptrunkctl delete office branch",
             Delete)
        .Words("NAME", "the trunks", TrunkNames())
        .Required();
}
