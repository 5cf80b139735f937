#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/commands/trunk_values.h"
#include "tools/siptrunkctl/device/trunks.h"
#include "tools/siptrunkctl/file/trunk_rows.h"
#include "tools/siptrunkctl/view/clock.h"
#include "tools/siptrunkctl/view/text.h"

namespace {

constexpr const char* kGroup = "Registrations of slaves";

using Registration = CSIPTrunkBase::STRegistrationParam;

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

/// A command that changes the registration of one slave.
struct Step {
    const char* name;
    const char* summary;
    const char* example;
    const char* action;
    bool hasAddress;       ///< whether it stores one
    bool needsRegistered;  ///< renewing what is not there would leave one without an address
    bool (*run)(CSIPTrunkConfig& config, const Registration& registration);
};

constexpr Step kSteps[] = {
    {"register", "register a slave at this device", "2001 198.51.100.7 5060", "registered", true,
     false, [](auto& config, const auto& slave) { return config.SetRegisterParam(slave, false); }},
    {"refresh", "renew the time of a slave's registration", "2001", "refreshed", false, true,
     [](auto& config, const auto& slave) { return config.SetRegisterParam(slave, true); }},
    {"move", "change a registered slave's address", "2001 198.51.100.8 5062", "moved", true, true,
     [](auto& config, const auto& slave) { return config.ChangeRegisterParam(slave, slave); }},
    {"unregister", "remove a slave's registration", "2001", "unregistered", false, false,
     [](auto& config, const auto& slave) { return config.SetUnregisterParam(slave); }}};

void Run(Context& context, const Step& step) {
    const Arguments& given = context.given;
    CheckValue("USER", given.user);
    if (step.hasAddress) {
        CheckAddress("IP", given.ip);
        CheckPort("PORT", given.port);
    }
    const Trunk trunk = RequireTrunkOfSlave(context.library, given.user);
    if (step.needsRegistered && trunk.remote_ip.empty()) {
        throw Failure("slave " + Quoted(given.user) +
                      " is not registered; \"slave register\" registers it");
    }
    Registration registration;
    registration.user_name = given.user;
    registration.slave_ip = given.ip;
    registration.slave_port = given.port;
    const ChangeNotice notice;
    context.library.Require(step.run(context.library.Config(), registration),
                            "the registration was not changed");
    context.output.Confirm(
        std::string(step.action) + " slave " + Quoted(given.user) +
            (step.hasAddress ? ": " + Printable(given.ip) + " port " + given.port : ""),
        notice.Answer(step.action, {{"user", given.user},
                                    {"ip", TextIf(step.hasAddress, given.ip)},
                                    {"port", TextIf(step.hasAddress, given.port)}}));
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

void AccountsSlave(Context& context) {
    if (!context.given.yes) {
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
    context.output.PrintText(
        JsonText({{"changed", notice.Changed()},
                  {"accounts", ToJson(records, context.outputOptions.showSecrets)}}));
}

void AddAccounts(const Command& root) {
    const Command accounts =
        root.Add("accounts", kGroup, "the accounts for the agents: master, slave", "", nullptr);
    accounts.Add("master", "Commands", "list the accounts that slaves may register with",
                 "Example:\n  siptrunkctl accounts master --show-secrets", AccountsMaster);
    accounts
        .Add("slave", "Commands", "hand out the masters to register at",
             "Every trunk that is listed becomes inactive: its registration date is removed,\n"
             "as when the slave agent starts anew. So it needs --yes.\n\nExample:\n"
             "  siptrunkctl accounts slave --yes",
             AccountsSlave)
        .Flag("--yes", root.Given().yes, "do it, although it changes the trunks");
}

}  // namespace

void AddSlaveRegistrations(const Command& root) {
    const Command slave =
        root.Add("slave", kGroup, "list, register, refresh, move, unregister slaves", "", nullptr);
    slave.Add("list", "Commands", "list the registered slaves",
              "Example:\n  siptrunkctl slave list", List);
    for (const Step& step : kSteps) {
        Command command = slave.Add(
            step.name, "Commands", step.summary,
            std::string("Example:\n  siptrunkctl slave ") + step.name + " " + step.example,
            [&step](Context& context) { Run(context, step); });
        command.Word("USER", root.Given().user, "the slave's account", SlaveUsers());
        if (step.hasAddress) {
            command.Word("IP", root.Given().ip, "its address")
                .Word("PORT", root.Given().port, "its port");
        }
    }
    AddAccounts(root);
}
