#include <optional>

#include "tools/siptrunkctl/commands.h"
#include "tools/siptrunkctl/device.h"
#include "tools/siptrunkctl/failure.h"
#include "tools/siptrunkctl/text.h"
#include "tools/siptrunkctl/trunk_values.h"
#include "tools/siptrunkctl/trunks.h"

namespace {

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

States ReadStates(Session& session) {
    States states;
    session.Require(session.Service().GetSIPTrunkAgentStates(states),
                    DatabasePath() +
                        ": the first section lacks an agent's switch; set both: siptrunkctl agents "
                        "set master=on|off slave=on|off");
    return states;
}

const char* OnOff(bool value) { return value ? "on" : "off"; }

}  // namespace

void command::Agents(Session& session) {
    const States states = ReadStates(session);
    session.PrintOne({Switch("master", states.siptrunk_master_enabled),
                      Switch("slave", states.siptrunk_slave_enabled)});
}

void command::AgentsSet(Session& session) {
    const Switches switches = ReadSwitches(session.Options().words);
    // Without a database, both are off.
    const bool isWhole = switches.master && switches.slave;
    States states = isWhole || !HasDatabase() ? States() : ReadStates(session);
    states.siptrunk_master_enabled = switches.master.value_or(states.siptrunk_master_enabled);
    states.siptrunk_slave_enabled = switches.slave.value_or(states.siptrunk_slave_enabled);
    session.Require(session.Service().SetSIPTrunkAgentStates(states), "the switches were not set");
    session.Confirm(std::string("switched master ") + OnOff(states.siptrunk_master_enabled) +
                        ", slave " + OnOff(states.siptrunk_slave_enabled),
                    {Text("action", "switched"), Switch("master", states.siptrunk_master_enabled),
                     Switch("slave", states.siptrunk_slave_enabled)});
}

void command::Service(Session& session) {
    if (session.Options().words.empty()) {
        const bool starts = session.Checked(session.Service().LoadAgentStatus());
        session.PrintOne({Switch("service", starts)});
        return;
    }
    const bool starts = ReadSwitch("service", session.Word(0));
    session.Require(session.Service().SaveAgentStatus(starts), "the start flag was not set");
    session.Confirm(std::string("switched service ") + OnOff(starts),
                    {Text("action", "switched"), Switch("service", starts)});
}
