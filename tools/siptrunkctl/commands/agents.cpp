#include <map>

#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/commands/trunk_values.h"
#include "tools/siptrunkctl/device/cause.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

constexpr const char* kGroup = "Agents";

using States = CSIPTrunkBase::STAgentStates;

std::map<std::string, bool> ReadSwitches(const std::vector<std::string>& words) {
    std::map<std::string, bool> switches;
    for (const std::string& word : words) {
        const std::size_t separator = word.find('=');
        const std::string agent = word.substr(0, separator);
        if (separator == std::string::npos || (agent != "master" && agent != "slave")) {
            throw UsageFailure(Quoted(word) +
                               " is neither master=on, master=off, slave=on nor slave=off");
        }
        if (!switches.emplace(agent, ReadSwitch(agent + "=", word.substr(separator + 1))).second) {
            throw UsageFailure(agent + "= is given twice");
        }
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

Record RecordOf(const States& states) {
    return {{"master", Switch{states.siptrunk_master_enabled}},
            {"slave", Switch{states.siptrunk_slave_enabled}}};
}

void Agents(Context& context) { context.output.PrintOne(RecordOf(ReadStates(context.library))); }

const char* OnOff(bool value) { return value ? "on" : "off"; }

void Set(Context& context) {
    const std::map<std::string, bool> switches = ReadSwitches(context.given.words);
    // Without a database, both are off.
    States states = switches.size() == 2 || !HasDatabase() ? States() : ReadStates(context.library);
    for (const auto& [agent, isOn] : switches) {
        (agent == "master" ? states.siptrunk_master_enabled : states.siptrunk_slave_enabled) = isOn;
    }
    const ChangeNotice notice;
    context.library.Require(context.library.Config().SetSIPTrunkAgentStates(states),
                            "the switches were not set");
    context.output.Confirm(std::string("switched master ") + OnOff(states.siptrunk_master_enabled) +
                               ", slave " + OnOff(states.siptrunk_slave_enabled),
                           notice.Answer("switched", RecordOf(states)));
}

void Service(Context& context) {
    if (context.given.state.empty()) {
        const bool starts = context.library.Checked(context.library.Config().LoadAgentStatus());
        context.output.PrintOne({{"service", Switch{starts}}});
        return;
    }
    const bool starts = context.given.state == "on";
    const ChangeNotice notice(StartFilePath());
    context.library.Require(context.library.Config().SaveAgentStatus(starts),
                            "the start flag was not set");
    context.output.Confirm(std::string("switched service ") + OnOff(starts),
                           notice.Answer("switched", {{"service", Switch{starts}}}));
}

}  // namespace

void AddAgents(const Command& root) {
    root.Add("agents", kGroup, "show the switches of the two agents",
             "Example:\n  siptrunkctl agents --json", Agents)
        .Add("set", "Commands", "switch the agents on or off",
             "SWITCH is master=on|off (this device accepts slaves) or slave=on|off (this\n"
             "device registers at masters). One that is not named stays.\n\n"
             "Example:\n  siptrunkctl agents set master=on slave=off",
             Set)
        .Words("SWITCH", "master=on|off, slave=on|off",
               These({{"master=on", "accept slaves"},
                      {"master=off"},
                      {"slave=on", "register at masters"},
                      {"slave=off"}}))
        .Required();
    root.Add("service", kGroup, "show or set whether the service starts at boot",
             "Example:\n  siptrunkctl service on", Service)
        .Choice("STATE", root.Given().state, "what to set",
                {{"on", "start at boot"}, {"off", "leave it to be started by hand"}});
}
