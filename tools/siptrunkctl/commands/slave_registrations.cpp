#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/commands/define.h"
#include "tools/siptrunkctl/commands/trunk_values.h"
#include "tools/siptrunkctl/device/trunks.h"
#include "tools/siptrunkctl/file/trunk_rows.h"
#include "tools/siptrunkctl/view/text.h"

namespace {

constexpr const char* kGroup = "Registrations of slaves";

using Registration = CSIPTrunkBase::STRegistrationParam;

void CheckUser(const Registration& registration) { CheckValue("USER", registration.user_name); }

void CheckWhole(const Registration& registration) {
    CheckUser(registration);
    CheckAddress("IP", registration.slave_ip);
    CheckPort("PORT", registration.slave_port);
}

// Renewing what is not there would leave a registration without an address.
void RequireRegistered(Library& library, const std::string& user) {
    if (RequireTrunkOfSlave(library, user).remote_ip.empty()) {
        throw Failure(ExitCode::kFailed, "slave " + Quoted(user) +
                                             " is not registered; \"slave register\" registers it");
    }
}

void Confirm(Context& context, const char* action, const Registration& registration,
             const ChangeNotice& notice) {
    const bool hasAddress = !registration.slave_ip.empty();
    const std::string address =
        hasAddress ? ": " + Printable(registration.slave_ip) + " port " + registration.slave_port
                   : "";
    context.output.Confirm(
        std::string(action) + " slave " + Quoted(registration.user_name) + address,
        Record{{"action", std::string(action)},
               {"user", registration.user_name},
               {"ip", TextIf(hasAddress, registration.slave_ip)},
               {"port", TextIf(hasAddress, registration.slave_port)},
               notice.Answer()});
}

void List(Context& context) {
    std::vector<Registration> slaves;
    (void)context.library.Checked(context.library.Config().InitRegisterSlaveList(slaves));
    const std::vector<TrunkRow> rows = ReadTrunkRows();
    std::vector<Record> records;
    for (const Registration& slave : slaves) {
        const auto row = std::find_if(rows.begin(), rows.end(), [&](const TrunkRow& candidate) {
            return candidate.user == slave.user_name && candidate.ip == slave.slave_ip &&
                   !candidate.isToMaster;
        });
        const TrunkRow trunk = row == rows.end() ? TrunkRow() : *row;
        records.push_back({{"name", TextIf(row != rows.end(), trunk.name)},
                           {"user", slave.user_name},
                           {"password", Secret{slave.password},
                            context.outputOptions.showSecrets ? Rank::kDetail : Rank::kOnlyJson},
                           {"ip", slave.slave_ip},
                           {"port", slave.slave_port}});
        AppendSince(records.back(), trunk.date, trunk.time);
    }
    context.output.PrintList(records, "slave");
}

void Register(Context& context, const Registration& registration) {
    CheckWhole(registration);
    (void)RequireTrunkOfSlave(context.library, registration.user_name);
    const ChangeNotice notice;
    context.library.Require(context.library.Config().SetRegisterParam(registration, false),
                            "the registration was not stored");
    Confirm(context, "registered", registration, notice);
}

void Refresh(Context& context, const Registration& registration) {
    CheckUser(registration);
    RequireRegistered(context.library, registration.user_name);
    const ChangeNotice notice;
    context.library.Require(context.library.Config().SetRegisterParam(registration, true),
                            "the registration was not stored");
    Confirm(context, "refreshed", registration, notice);
}

void Move(Context& context, const Registration& registration) {
    CheckWhole(registration);
    RequireRegistered(context.library, registration.user_name);
    const ChangeNotice notice;
    context.library.Require(
        context.library.Config().ChangeRegisterParam(registration, registration),
        "the registration was not stored");
    Confirm(context, "moved", registration, notice);
}

void Unregister(Context& context, const Registration& registration) {
    CheckUser(registration);
    (void)RequireTrunkOfSlave(context.library, registration.user_name);
    const ChangeNotice notice;
    context.library.Require(context.library.Config().SetUnregisterParam(registration),
                            "the registration was not removed");
    Confirm(context, "unregistered", registration, notice);
}

void AccountsMaster(Context& context) {
    std::vector<CSIPTrunkBase::STAccessibleUser> users;
    (void)context.library.Checked(context.library.Config().GetMasterAccesibleUsersList(users));
    std::vector<Record> records;
    for (const CSIPTrunkBase::STAccessibleUser& user : users) {
        records.push_back({{"name", user.trunk_name},
                           {"user", user.user_name},
                           {"password", Secret{user.password}, Rank::kUseful}});
    }
    context.output.PrintList(records, "account");
}

void AccountsSlave(Context& context, bool isWanted) {
    if (!isWanted) {
        throw UsageFailure(
            "accounts slave: every trunk that it lists becomes inactive; pass --yes to do it");
    }
    const ChangeNotice notice;
    std::vector<CSIPTrunkBase::STAccessibleSlave> masters;
    (void)context.library.Checked(context.library.Config().GetSlaveAccesibleUsersList(masters));
    std::vector<Record> records;
    for (const CSIPTrunkBase::STAccessibleSlave& master : masters) {
        records.push_back({{"name", master.trunk_name},
                           {"user", master.user_name},
                           {"password", Secret{master.password}, Rank::kUseful},
                           {"ip", master.master_ip},
                           {"port", master.master_port}});
    }
    if (!context.outputOptions.json) {
        context.output.PrintList(records, "master");
        return;
    }
    Json answer = ToJson(Record{notice.Answer()}, false);
    answer["accounts"] = ToJson(records, context.outputOptions.showSecrets);
    context.output.PrintText(JsonText(answer));
}

enum class Words { kUser, kUserAndAddress };

void AddRegistration(CLI::App& group, Context& context, const char* name, const char* summary,
                     const char* footer, Words words,
                     void (*run)(Context& context, const Registration& registration)) {
    CLI::App* command = AddCommand(group, name, "Commands", summary, footer);
    auto registration = std::make_shared<Registration>();
    CompleteUsers(context,
                  AddWord(*command, "USER", registration->user_name, "the slave's account"),
                  Which::kForSlave);
    if (words == Words::kUserAndAddress) {
        AddWord(*command, "IP", registration->slave_ip, "its address");
        AddWord(*command, "PORT", registration->slave_port, "its port");
    }
    command->callback([&context, registration, run] { run(context, *registration); });
}

void AddAccounts(CLI::App& root, Context& context) {
    CLI::App* group =
        AddGroup(root, "accounts", kGroup, "the accounts for the agents: master, slave");
    AddCommand(*group, "master", "Commands", "list the accounts that slaves may register with",
               "Example:\n  siptrunkctl accounts master --show-secrets")
        ->callback([&context] { AccountsMaster(context); });
    CLI::App* slave = AddCommand(
        *group, "slave", "Commands", "hand out the masters to register at",
        "Every trunk that is listed becomes inactive: its registration date is removed, as when\n"
        "the slave agent starts anew. So it wants --yes.\n\nExample:\n"
        "  siptrunkctl accounts slave --yes");
    auto isWanted = std::make_shared<bool>(false);
    slave->add_flag("--yes", *isWanted, "do it, although it changes the trunks");
    slave->callback([&context, isWanted] { AccountsSlave(context, *isWanted); });
}

}  // namespace

void AddSlaveRegistrations(CLI::App& root, Context& context) {
    CLI::App* group =
        AddGroup(root, "slave", kGroup,
                 "registrations of slaves: list, register, refresh, move, unregister");
    AddCommand(*group, "list", "Commands", "list the registered slaves",
               "Example:\n  siptrunkctl slave list")
        ->callback([&context] { List(context); });
    AddRegistration(*group, context, "register", "register a slave at this device",
                    "Example:\n  siptrunkctl slave register 2001 198.51.100.7 5060",
                    Words::kUserAndAddress, Register);
    AddRegistration(*group, context, "refresh", "renew the time of a slave's registration",
                    "Example:\n  siptrunkctl slave refresh 2001", Words::kUser, Refresh);
    AddRegistration(*group, context, "move", "change a registered slave's address",
                    "Example:\n  siptrunkctl slave move 2001 198.51.100.8 5062",
                    Words::kUserAndAddress, Move);
    AddRegistration(*group, context, "unregister", "remove a slave's registration",
                    "Example:\n  siptrunkctl slave unregister 2001", Words::kUser, Unregister);
    AddAccounts(root, context);
}
