// The slave's side of a device: keeps the device registered at its masters.
//
// usage: slave_agent LOG
//
// The agent stands between the trunk configuration and the SIP stack, which it talks with through
// standard output and input, one line a message, its fields divided by tabs:
//   register    TRUNK USER PASSWORD IP PORT   to the stack: register there, spacing the attempts
//   unregister  TRUNK USER PASSWORD IP PORT   to the stack: end that registration
//   up          TRUNK                         from the stack: the master has accepted
//   down        TRUNK                         from the stack: the registration has ended or failed
//   edited      TRUNK                         from the configuration: the trunk was changed
// When the stack closes its end, the agent stops.

#include <iostream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "raiklaik.h"

namespace {

// The operations tell a failure by their result alone; its cause is in the log by then.
void Require(bool done) {
    if (!done) {
        throw std::runtime_error("the trunk configuration cannot be read or written; see the log");
    }
}

class SlaveAgent {
  public:
    explicit SlaveAgent(CSIPTrunkConfig& config) : m_config(config) {}

    // Takes over all masters. Whatever was registered before this start is not any more, and the
    // list removes the stamps that say otherwise.
    void Start() {
        std::vector<CSIPTrunkBase::STAccessibleSlave> masters;
        Require(m_config.GetSlaveAccesibleUsersList(masters));
        for (const auto& master : masters) {
            Register(master.trunk_name);
        }
    }

    void Handle(const std::string& event, const std::string& trunk) {
        if (event == "up") {
            Require(m_config.SetTrunkToMasterActiveState(trunk));
            m_up.insert(trunk);
        } else if (event == "down") {
            Require(m_config.SetTrunkToMasterInActiveState(trunk));
            m_up.erase(trunk);
            Register(trunk);
        } else if (event == "edited" && m_up.count(trunk) > 0) {
            // "down" follows and registers anew, with what is wanted by then.
            Send("unregister", trunk);
        } else if (event == "edited") {
            Register(trunk);
        } else {
            std::cerr << "slave_agent: message not understood: " << event << "\n";
        }
    }

    void Stop() {
        for (const std::string& trunk : m_up) {
            Require(m_config.SetTrunkToMasterInActiveState(trunk));
        }
    }

  private:
    // Registers with the parameters of now and saves a copy of them: to unregister takes the same
    // ones, and by then somebody may have edited the trunk.
    void Register(const std::string& trunk) {
        if (m_config.GetStateOfTrunkToMaster(trunk)) {
            Require(m_config.ChangeTrunkToMasterConfig(trunk));
            Send("register", trunk);
        }
    }

    // Both messages carry the saved copy, so what is ended is what was begun.
    void Send(const char* message, const std::string& trunk) {
        CSIPTrunkBase::STRegistrationFields saved;
        Require(m_config.GetTrunkToMasterParams(trunk, saved, false));
        std::cout << message << '\t' << trunk << '\t' << saved.user_name << '\t' << saved.password
                  << '\t' << saved.master_ip << '\t' << saved.master_port << std::endl;
    }

    CSIPTrunkConfig& m_config;
    std::set<std::string> m_up;  // the trunks that are registered
};

int Run(const char* log) {
    CSIPTrunkLogger logger(log);
    CSIPTrunkConfig config(&logger);
    CSIPTrunkBase::STAgentStates switches;
    Require(config.GetSIPTrunkAgentStates(switches));
    if (!switches.siptrunk_slave_enabled) {
        std::cerr << "slave_agent: the slave agent is switched off\n";
        return 0;
    }
    SlaveAgent agent(config);
    agent.Start();
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream fields(line);
        std::string event;
        std::string trunk;
        std::getline(fields, event, '\t');
        std::getline(fields, trunk, '\t');
        agent.Handle(event, trunk);
    }
    agent.Stop();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: slave_agent LOG\n";
        return 2;
    }
    try {
        return Run(argv[1]);
    } catch (const std::exception& failure) {  // also of the constructors: log or lock refused
        std::cerr << "slave_agent: " << failure.what() << "\n";
        return 1;
    }
}
