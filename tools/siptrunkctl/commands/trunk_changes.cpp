#include <nlohmann/json.hpp>

#include "src/foundation/key_table.h"
#include "src/foundation/paths.h"
#include "tools/siptrunkctl/commands/clash.h"
#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/commands/define.h"
#include "tools/siptrunkctl/commands/password.h"
#include "tools/siptrunkctl/commands/trunk_values.h"
#include "tools/siptrunkctl/device/cause.h"
#include "tools/siptrunkctl/file/database.h"
#include "tools/siptrunkctl/file/values.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

constexpr const char* kGroup = "Trunks";

// Returns a trunk that is to be stored again. A value that was read cut would be stored cut.
Trunk RequireWholeTrunk(Library& library, const std::string& name) {
    Trunk trunk = RequireTrunk(library, name);
    for (const DatabaseSection& section : RequireDatabase(DatabasePath()).sections) {
        if (section.Find(key::kTrunkName) == nullptr || section.Get(key::kTrunkName) != name) {
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

struct ChangeOptions {
    std::string name;
    std::vector<std::string> settings;
    PasswordOptions password;
    bool resetRegistration = false;
};

// A person may take long over a password, so it is asked for before the database is looked at.
void Add(Context& context, const ChangeOptions& options) {
    CheckValue("NAME", options.name);
    Trunk trunk;
    ApplyTrunkValues(ReadTrunkValues(options.settings), trunk);
    trunk.trunk_name = options.name;
    trunk.password = *ReadPassword(options.password, true);
    if (HasDatabase()) {
        RequireFree(context.library, "", options.name, trunk.user_name);
    }
    const ChangeNotice notice;
    context.library.Require(context.library.Config().SetSIPTrunkParams("", trunk, false),
                            "trunk " + Quoted(options.name) + " was not stored");
    context.output.Confirm(
        "added trunk " + Quoted(options.name),
        Record{{"action", std::string("added")}, {"name", options.name}, notice.Answer()});
}

void Modify(Context& context, const ChangeOptions& options) {
    const std::string& name = options.name;
    const TrunkValues values = ReadTrunkValues(options.settings);
    CheckValue("NAME", name);
    if (options.settings.empty() && options.password.file.empty() && !options.password.ask &&
        !options.resetRegistration) {
        throw UsageFailure("modify: nothing to change; give KEY=VALUE or an option");
    }
    const std::optional<std::string> password = ReadPassword(options.password, false);
    Trunk trunk = RequireWholeTrunk(context.library, name);
    ApplyTrunkValues(values, trunk);
    if (IsToMaster(trunk) && options.resetRegistration) {
        throw UsageFailure(
            "--reset-registration: only trunks for a slave have a registration to reset");
    }
    if (values.user) {
        RequireFree(context.library, name, name, trunk.user_name);
    }
    trunk.password = password.value_or(trunk.password);
    const ChangeNotice notice;
    context.library.Require(
        context.library.Config().SetSIPTrunkParams(name, trunk, options.resetRegistration),
        "trunk " + Quoted(name) + " was removed meanwhile");
    context.output.Confirm(
        (notice.Changed() ? "changed trunk " : "nothing to change in trunk ") + Quoted(name),
        Record{{"action", std::string("changed")}, {"name", name}, notice.Answer()});
}

void Rename(Context& context, const std::string& oldName, const std::string& newName) {
    CheckValue("OLD", oldName);
    CheckValue("NEW", newName);
    Trunk trunk = RequireWholeTrunk(context.library, oldName);
    RequireFree(context.library, oldName, newName, trunk.user_name);
    trunk.trunk_name = newName;
    const ChangeNotice notice;
    context.library.Require(context.library.Config().SetSIPTrunkParams(oldName, trunk, false),
                            "trunk " + Quoted(oldName) + " was removed meanwhile");
    context.output.Confirm("renamed trunk " + Quoted(oldName) + " to " + Quoted(newName),
                           Record{{"action", std::string("renamed")},
                                  {"name", newName},
                                  {"old_name", oldName},
                                  notice.Answer()});
}

Record DeleteOne(Context& context, const std::string& name, std::string& text) {
    bool wasOn = false;
    const ChangeNotice notice;
    if (!context.library.Checked(context.library.Config().DeleteTrunk(name, true, wasOn))) {
        (void)RequireTrunk(context.library, name);
        throw Failure(ExitCode::kFailed, "trunk " + Quoted(name) + " was changed meanwhile");
    }
    text += (text.empty() ? "" : "\n") + ("deleted trunk " + Quoted(name)) +
            (wasOn ? "; its registration was switched on" : "");
    return {{"action", std::string("deleted")},
            {"name", name},
            {"was_registered", State{wasOn}},
            notice.Answer()};
}

// All are looked for before one is deleted.
void Delete(Context& context, const std::vector<std::string>& names) {
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

void AddAddAndModify(CLI::App& root, Context& context) {
    CLI::App* add = AddCommand(
        root, "add", kGroup, "add a trunk",
        "Settings: type=master|slave, user=, ip=, port=, registration=on|off, sym_nat=on|off.\n"
        "A trunk to a master needs type, user, ip and port; it is kept registered with\n"
        "registration=on. A trunk for a slave needs type and user; its address comes from the\n"
        "slave's registration. The names of the database's keys are accepted as well\n"
        "(user_name=, master_ip=, ...). The password is asked for on a terminal.\n\nExamples:\n"
        "  siptrunkctl add office type=master user=1001 ip=192.0.2.10 port=5060 registration=on\n"
        "  siptrunkctl add branch type=slave user=2001 sym_nat=on --password-file secret.txt");
    auto added = std::make_shared<ChangeOptions>();
    AddWord(*add, "NAME", added->name, "the new trunk's name");
    CompleteWith(context,
                 AddWords(*add, "SETTING", added->settings, "KEY=VALUE, see below")->required(),
                 TrunkValueCandidates());
    AddPasswordOptions(context, *add, added->password);
    add->callback([&context, added] { Add(context, *added); });

    CLI::App* modify = AddCommand(
        root, "modify", kGroup, "change a trunk",
        "Settings are those of \"add\"; what is not named stays. The password stays too, unless\n"
        "--password-file or --ask-password is given.\n\nExample:\n"
        "  siptrunkctl modify office port=5062 registration=off");
    auto changed = std::make_shared<ChangeOptions>();
    AddTrunkName(context, *modify, changed->name);
    CompleteWith(context,
                 AddWords(*modify, "SETTING", changed->settings, "KEY=VALUE, as for \"add\""),
                 TrunkValueCandidates());
    AddPasswordOptions(context, *modify, changed->password);
    modify->add_flag("--reset-registration", changed->resetRegistration,
                     "empty the slave's address and registration time");
    modify->callback([&context, changed] { Modify(context, *changed); });
}

void AddRenameAndDelete(CLI::App& root, Context& context) {
    CLI::App* rename = AddCommand(root, "rename", kGroup, "give a trunk another name",
                                  "Example:\n  siptrunkctl rename office headquarters");
    auto oldName = std::make_shared<std::string>();
    auto newName = std::make_shared<std::string>();
    CompleteTrunks(context, AddWord(*rename, "OLD", *oldName, "the trunk"));
    AddWord(*rename, "NEW", *newName, "its new name");
    rename->callback([&context, oldName, newName] { Rename(context, *oldName, *newName); });

    CLI::App* remove =
        AddCommand(root, "delete", kGroup, "remove trunks with all their keys",
                   "Nothing is removed when one of the names is unknown.\n\nExample:\n"
                   "  siptrunkctl delete office branch");
    auto names = std::make_shared<std::vector<std::string>>();
    CompleteTrunks(context, AddWords(*remove, "NAME", *names, "the trunks")->required());
    remove->callback([&context, names] { Delete(context, *names); });
}

}  // namespace

void AddTrunkChanges(CLI::App& root, Context& context) {
    AddAddAndModify(root, context);
    AddRenameAndDelete(root, context);
}
