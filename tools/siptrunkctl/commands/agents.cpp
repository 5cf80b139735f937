#include <CLI/CLI.hpp>
#include <optional>

#include "src/foundation/paths.h"
#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/commands/define.h"
#include "tools/siptrunkctl/commands/trunk_values.h"
#include "tools/siptrunkctl/device/cause.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

constexpr const char* kGroup = "Agents";

using States = CSIPTrunkBase::STAgentStates;

struct Switches {
    std::optional<bool> master;
    std::optional<bool> slave;
};

Switches ReadSwitches(const std::vector<std::string>& words) {
    Switches switches;
    for (const std::string& word : words) {
        const std::size_t separator = word.find('=');
        const std::string agent = word.substr(0, separator);
        if (separator == std::string::npos || (agent != "master" && agent != "slave")) {
            throw UsageFailure(Quoted(word) +
                               " is neither master=on, master=off, slave=on nor slave=off");
        }
        std::optional<bool>& place = agent == "master" ? switches.master : switches.slave;
        if (place) {
            throw UsageFailure(agent + "= is given twice");
        }
        place = ReadSwitch(agent + "=", word.substr(separator + 1));
    }
    return switches;
}

States ReadStates(Library& library) {
    States states;
    library.Require(library.Config().GetSIPTrunkAgentStates(states),
                    DatabasePath() +
                        ": the first section lacks an agent's switch; set both: siptrunkctl agents "
                        "set master=on|off slave=on|off");
    return states;
}

const char* OnOff(bool value) { return value ? "on" : "off"; }

void Show(Context& context) {
    const States states = ReadStates(context.library);
    context.output.PrintOne({{"master", Switch{states.siptrunk_master_enabled}},
                             {"slave", Switch{states.siptrunk_slave_enabled}}});
}

void Set(Context& context, const std::vector<std::string>& words) {
    const Switches switches = ReadSwitches(words);
    // Without a database, both are off.
    const bool isWhole = switches.master && switches.slave;
    States states = isWhole || !HasDatabase() ? States() : ReadStates(context.library);
    states.siptrunk_master_enabled = switches.master.value_or(states.siptrunk_master_enabled);
    states.siptrunk_slave_enabled = switches.slave.value_or(states.siptrunk_slave_enabled);
    const ChangeNotice notice;
    context.library.Require(context.library.Config().SetSIPTrunkAgentStates(states),
                            "the switches were not set");
    context.output.Confirm(std::string("switched master ") + OnOff(states.siptrunk_master_enabled) +
                               ", slave " + OnOff(states.siptrunk_slave_enabled),
                           Record{{"action", std::string("switched")},
                                  {"master", Switch{states.siptrunk_master_enabled}},
                                  {"slave", Switch{states.siptrunk_slave_enabled}},
                                  notice.Answer()});
}

void Service(Context& context, const std::string& wanted) {
    if (wanted.empty()) {
        const bool starts = context.library.Checked(context.library.Config().LoadAgentStatus());
        context.output.PrintOne({{"service", Switch{starts}}});
        return;
    }
    const bool starts = ReadSwitch("service", wanted);
    const ChangeNotice notice(StartFilePath());
    context.library.Require(context.library.Config().SaveAgentStatus(starts),
                            "the start flag was not set");
    context.output.Confirm(
        std::string("switched service ") + OnOff(starts),
        Record{{"action", std::string("switched")}, {"service", Switch{starts}}, notice.Answer()});
}

}  // namespace

void AddAgents(CLI::App& root, Context& context) {
    CLI::App* agents = AddCommand(root, "agents", kGroup, "show the switches of the two agents",
                                  "Example:\n  siptrunkctl agents --json");
    agents->require_subcommand(0, 1);
    agents->callback([&context, agents] {
        if (agents->get_subcommands().empty()) {
            Show(context);
        }
    });

    CLI::App* set =
        AddCommand(*agents, "set", "Commands", "switch the agents on or off",
                   "SWITCH is master=on|off (this device accepts slaves) or slave=on|off (this\n"
                   "device registers at masters). One that is not named stays.\n\n"
                   "Example:\n  siptrunkctl agents set master=on slave=off");
    auto words = std::make_shared<std::vector<std::string>>();
    CompleteWith(context,
                 AddWords(*set, "SWITCH", *words, "master=on|off, slave=on|off")->required(),
                 {{"master=on", "accept slaves"},
                  {"master=off", ""},
                  {"slave=on", "register at masters"},
                  {"slave=off", ""}});
    set->callback([&context, words] { Set(context, *words); });

    CLI::App* service = AddCommand(root, "service", kGroup,
                                   "show or set whether the service starts with the system",
                                   "Example:\n  siptrunkctl service on");
    auto wanted = std::make_shared<std::string>();
    CompleteWith(
        context,
        AddChoice(context, *service, "STATE", *wanted, "what to set", {"on", "off", "1", "0"}),
        {{"on", "start with the system"}, {"off", ""}});
    service->callback([&context, wanted] { Service(context, *wanted); });
}
