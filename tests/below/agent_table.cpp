#include "tests/below/table.h"

namespace below {

std::vector<Row> AgentRows() {
    const CSIPTrunkBase::STAgentStates off;
    const CSIPTrunkBase::STAgentStates on{true, true};
    const std::string get = "INFO:SIP Trunk: Get agent states from siptrunkdb...\n";
    const std::string set = "INFO:SIP Trunk: Set agent states to siptrunkdb...\n";
    const std::string add = "AddSection(true) +siptrunk_master_enabled= +siptrunk_slave_enabled= ";
    const std::string readBoth = "Next siptrunk_master_enabled? siptrunk_slave_enabled? ";
    const std::string setSlave = "siptrunk_slave_enabled=1 siptrunk_master_enabled=0 ";
    const std::string setMaster = "siptrunk_slave_enabled=0 siptrunk_master_enabled=1 ";
    const std::string load = "Lock start-file(false,true,false) START_SIPTRUNK? ";
    const std::string store = "Lock start-file(false,false,false) START_SIPTRUNK=";
    return {
        {ROW_WITH(off, GetSIPTrunkAgentStates(out)), kAll, get,
         kLocalRead + "Next siptrunk_master_enabled? * siptrunk_slave_enabled? * ",
         "true {true, true}"},
        {ROW_WITH(on, GetSIPTrunkAgentStates(out)),
         "siptrunk_master_enabled=0 siptrunk_slave_enabled=true", get, kLocalRead + readBoth,
         "true {true, true}"},
        {ROW_WITH(off, GetSIPTrunkAgentStates(out)), "", get, kLocalRead + "Next ",
         "true {false, false}"},
        {ROW_WITH(off, GetSIPTrunkAgentStates(out)), "siptrunk_master_enabled=1x", get,
         kLocalRead + "Next siptrunk_master_enabled? * siptrunk_slave_enabled? ",
         "false {false, true}"},
        {ROW_WITH(off, GetSIPTrunkAgentStates(out)), "siptrunk_slave_enabled=1;" + kSwitches, get,
         kLocalRead + readBoth + "* ", "false {true, false}"},

        {ROW_OF(SetSIPTrunkAgentStates({true, false})), kAll, set,
         kLocalCreate + readBoth + setSlave + "Save ", "true"},
        {ROW_OF(SetSIPTrunkAgentStates({false, true})), "", set,
         kLocalCreate + "Next " + add + setMaster + "Save ", "true"},
        {ROW_OF(SetSIPTrunkAgentStates({true, false})), "siptrunk_master_enabled=1", set,
         kLocalCreate + readBoth + add + setSlave + "Save ", "true"},
        {ROW_OF(SetSIPTrunkAgentStates({true, false})), "siptrunk_slave_enabled=1;" + kSwitches,
         set, kLocalCreate + "Next siptrunk_master_enabled? " + add + setSlave + "Save ", "true"},
        {ROW_OF(SetSIPTrunkAgentStates({true, false})), kAll, set,
         kLocalCreate + readBoth + setSlave, "false", "siptrunk_slave_enabled"},
        {ROW_OF(SetSIPTrunkAgentStates({false, true})), kAll, set,
         kLocalCreate + readBoth + setMaster, "false", "siptrunk_master_enabled"},

        {ROW_OF(LoadAgentStatus()), "START_SIPTRUNK=true", "", load, "true"},
        {ROW_OF(LoadAgentStatus()), "START_SIPTRUNK=truely", "", load, "false"},
        {ROW_OF(LoadAgentStatus()), "", "", load, "false"},
        {ROW_OF(SaveAgentStatus(true)), "", "", store + "true Save ", "true"},
        {ROW_OF(SaveAgentStatus(false)), "", "", store + "false Save ", "true"},
        {ROW_OF(SaveAgentStatus(true)), "", "", store + "true ", "false", "START_SIPTRUNK"},
    };
}

}  // namespace below
