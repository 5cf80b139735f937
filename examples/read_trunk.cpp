// read_trunk NAME shows whether a trunk is registered. Failures are told in read_trunk.log.
#include <iostream>

#include "raiklaik.h"

int main(int argc, char** argv) {
    CSIPTrunkLogger logger("read_trunk.log");
    CSIPTrunkConfig config(&logger);
    CSIPTrunkBase::STParamsRecord trunk;
    if (argc != 2 || !config.GetSIPTrunkParams(argv[1], trunk)) {
        std::cerr << "read_trunk: no such trunk, or read_trunk.log tells what failed\n";
        return 1;
    }
    std::cout << trunk.trunk_name << ", user " << trunk.user_name << ": ";
    if (trunk.registration_date.empty()) {
        std::cout << "not registered\n";
    } else {
        std::cout << "registered since " << trunk.registration_date << ", far end "
                  << trunk.remote_ip << ":" << trunk.remote_port << "\n";
    }
    return 0;
}
