// A program as a user of the installed library writes it: turns the master agent on and reads the
// switches back. The log is its first argument; the files are below QORV_PATH.

#include <iostream>

#include "raiklaik.h"

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::cerr << "usage: consumer LOG\n";
        return 2;
    }
    CSIPTrunkLogger logger(arguments[1]);
    CSIPTrunkConfig config(&logger);

    CSIPTrunkBase::STAgentStates wanted;
    wanted.siptrunk_master_enabled = true;
    CSIPTrunkBase::STAgentStates stored;
    if (!config.SetSIPTrunkAgentStates(wanted) || !config.GetSIPTrunkAgentStates(stored)) {
        std::cerr << "the switches were not stored; see " << arguments[1] << "\n";
        return 1;
    }
    std::cout << "master " << stored.siptrunk_master_enabled << ", slave "
              << stored.siptrunk_slave_enabled << "\n";
    return 0;
}
