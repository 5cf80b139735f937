// The master's side of a device: accepts the registrations of slaves.
//
// usage: master_agent LOG
//
// The agent stands between the trunk configuration and the SIP stack, which it talks with through
// standard output and input, one line a message, its fields divided by tabs:
//   account     USER PASSWORD TRUNK   to the stack: slaves may register with this account
//   registered  USER IP PORT          to the stack: a slave that was registered before this start
//   register    USER IP PORT          from the stack: a slave has registered, its password is right
//   refresh     USER                  from the stack: it has renewed its registration
//   move        USER IP PORT          from the stack: it has another address now
//   unregister  USER                  from the stack: it has left, or its time has run out
// When the stack closes its end, the agent stops; the registrations stay.

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

class MasterAgent {
  public:
    explicit MasterAgent(CSIPTrunkConfig& config) : m_config(config) {}

    void Start() {
        std::vector<CSIPTrunkBase::STAccessibleUser> accounts;
        Require(m_config.GetMasterAccesibleUsersList(accounts));
        for (const auto& account : accounts) {
            m_users.insert(account.user_name);
            std::cout << "account\t" << account.user_name << '\t' << account.password << '\t'
                      << account.trunk_name << std::endl;
        }
        std::vector<CSIPTrunkBase::STRegistrationParam> slaves;
        Require(m_config.InitRegisterSlaveList(slaves));
        for (const auto& slave : slaves) {
            // A trunk whose registration was reset is listed too, with an empty address.
            if (!slave.slave_ip.empty()) {
                std::cout << "registered\t" << slave.user_name << '\t' << slave.slave_ip << '\t'
                          << slave.slave_port << std::endl;
            }
        }
    }

    void Handle(const std::string& event, const CSIPTrunkBase::STRegistrationParam& slave) {
        // The library answers true for a user that it does not know, having stored nothing.
        if (m_users.count(slave.user_name) == 0) {
            std::cerr << "master_agent: no account of that user: " << slave.user_name << "\n";
        } else if (event == "register") {
            Require(m_config.SetRegisterParam(slave, false));
        } else if (event == "refresh") {
            Require(m_config.SetRegisterParam(slave, true));
        } else if (event == "move") {
            Require(m_config.ChangeRegisterParam(slave, slave));
        } else if (event == "unregister") {
            Require(m_config.SetUnregisterParam(slave));
        } else {
            std::cerr << "master_agent: message not understood: " << event << "\n";
        }
    }

  private:
    CSIPTrunkConfig& m_config;
    std::set<std::string> m_users;  // of the accounts
};

int Run(const char* log) {
    CSIPTrunkLogger logger(log);
    CSIPTrunkConfig config(&logger);
    CSIPTrunkBase::STAgentStates switches;
    Require(config.GetSIPTrunkAgentStates(switches));
    if (!switches.siptrunk_master_enabled) {
        std::cerr << "master_agent: the master agent is switched off\n";
        return 0;
    }
    MasterAgent agent(config);
    agent.Start();
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream fields(line);
        std::string event;
        CSIPTrunkBase::STRegistrationParam slave;
        std::getline(fields, event, '\t');
        std::getline(fields, slave.user_name, '\t');
        std::getline(fields, slave.slave_ip, '\t');
        std::getline(fields, slave.slave_port, '\t');
        agent.Handle(event, slave);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: master_agent LOG\n";
        return 2;
    }
    try {
        return Run(argv[1]);
    } catch (const std::exception& failure) {  // also of the constructors: log or lock refused
        std::cerr << "master_agent: " << failure.what() << "\n";
        return 1;
    }
}
