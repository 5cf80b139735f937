#include "tests/below/table.h"

namespace below {
namespace {

using Record = CSIPTrunkBase::STParamsRecord;
using Records = std::list<Record>;

Record OfType(const char* type) {
    return {"n1", "n2", "n3", "n4", "n5", "n6", "n7", type, true, true};
}

}  // namespace

std::vector<Row> TrunkRows() {
    const Record symNat{"", "", "", "", "", "", "", "", true, false};
    const Record status{"", "", "", "", "", "", "", "", false, true};
    const Record empty{"", "", "", "", "", "", "", "1", false, false};
    const std::string walk = "Next trunk_name? ";
    const std::string masterHead = "trunk_name=n1 trunk_type=1 user_name=n2 password=n3 ";
    const std::string slaveHead = "trunk_name=n1 trunk_type=0 user_name=n2 password=n3 ";
    return {
        {ROW_WITH(symNat, GetSIPTrunkParams("office", out)), kAll, "",
         kHeapRead + walk + walk + walk +
             "* trunk_type? * user_name? * password? * registration_time? * registration_date? * "
             "master_ip? * master_port? * registration_status? * ",
         R"(true {"office", "o1", "o2", "o3", "o4", "o5", "o6", "1", true, true})"},
        {ROW_WITH(status, GetSIPTrunkParams("branch", out)), kAll, "",
         kHeapRead + walk + walk +
             "* trunk_type? * user_name? * password? * registration_time? * registration_date? * "
             "slave_ip? * slave_port? * sym_nat? * ",
         R"(true {"branch", "b1", "b2", "b3", "b4", "b5", "b6", "0", true, true})"},
        {ROW_WITH(symNat, GetSIPTrunkParams("a", out)), "trunk_name=a", "",
         kHeapRead + walk +
             "* trunk_type? user_name? password? registration_time? registration_date? slave_ip? "
             "slave_port? sym_nat? * ",
         R"(true {"a", "", "", "", "", "", "", "", false, false})"},
        {ROW_WITH(symNat, GetSIPTrunkParams("x", out)), kAll, "",
         kHeapRead + walk + walk + walk + "Next ",
         R"(false {"", "", "", "", "", "", "", "", true, false})"},

        {ROW_WITH(Records(1), GetSIPTrunkParams(out, "1", false)), kAll, "",
         kHeapRead + "Next trunk_type? Next trunk_type? Next trunk_type? trunk_name? user_name? "
                     "registration_date? registration_time? master_ip? master_port? * Next ",
         R"(true {"", "", "", "", "", "", "", "", false, false})"
         R"({"office", "o1", "", "o3", "o4", "o5", "o6", "", false, false})"},
        {ROW_WITH(Records(1), GetSIPTrunkParams(out, "0", true)), kBranch + "trunk_type=0", "",
         kHeapRead +
             "Next trunk_type? trunk_name? user_name? registration_date? registration_time? "
             "slave_ip? slave_port? sym_nat? * Next trunk_type? trunk_name? user_name? "
             "registration_date? registration_time? slave_ip? slave_port? sym_nat? * Next ",
         R"(true {"", "", "", "", "", "", "", "", false, false})"
         R"({"branch", "b1", "", "b3", "b4", "b5", "b6", "", true, false})"
         R"({"", "", "", "", "", "", "", "", false, false})"},
        {ROW_WITH(Records(), GetAllSIPTrunkParams(out)),
         "trunk_type=1; trunk_name=a; trunk_name=b trunk_type=1; trunk_name=c trunk_type=0;" + kAll,
         "",
         kHeapRead + walk + walk + "trunk_type? " + walk + "trunk_type? registration_date? " +
             walk + "trunk_type? slave_ip? " + walk + walk +
             "trunk_type? slave_ip? slave_port? sym_nat? * " + walk +
             "trunk_type? registration_date? master_ip? master_port? * Next ",
         R"(true {"branch", "", "", "b3", "b4", "", "", "", true, false})"
         R"({"office", "", "", "o3", "o4", "", "", "", false, false})"},

        {ROW_WITH(OfType("1"), SetSIPTrunkParams("", out, true)), kAll, "",
         kHeapCreate + "AddSection(false) " + masterHead +
             "master_ip=n4 master_port=n5 registration_status=1 Save ",
         R"(true {"n1", "n2", "n3", "n4", "n5", "n6", "n7", "1", true, true})"},
        {ROW_WITH(empty, SetSIPTrunkParams("branch", out, false)), kAll, "",
         kHeapCreate + walk + walk +
             "trunk_name= trunk_type=1 user_name= password= master_ip= master_port= "
             "registration_status=0 Save ",
         R"(true {"", "", "", "", "", "", "", "1", false, false})"},
        {ROW_WITH(OfType("0"), SetSIPTrunkParams("", out, true)), "", "",
         kHeapCreate + "AddSection(false) " + slaveHead +
             "slave_ip= slave_port= registration_date= registration_time= sym_nat=1 Save ",
         R"(true {"n1", "n2", "n3", "n4", "n5", "n6", "n7", "0", true, true})"},
        {ROW_WITH(OfType("0"), SetSIPTrunkParams("office", out, false)), kAll, "",
         kHeapCreate + walk + walk + walk + slaveHead + "sym_nat=1 Save ",
         R"(true {"n1", "n2", "n3", "n4", "n5", "n6", "n7", "0", true, true})"},
        {ROW_WITH(empty, SetSIPTrunkParams(std::string("\0x", 2), out, true)), kBranch, "",
         kHeapCreate + walk + "Next ", R"(false {"", "", "", "", "", "", "", "1", false, false})"},

        {ROW_WITH(false, DeleteTrunk("office", true, out)), kAll, "",
         kHeapChange + walk + walk + walk + "registration_status? * DeleteSection Save ",
         "true true"},
        {ROW_WITH(false, DeleteTrunk("branch", true, out)), kAll, "",
         kHeapChange + walk + walk + "registration_status? DeleteSection Save ", "true false"},
        {ROW_WITH(true, DeleteTrunk("a", true, out)), "trunk_name=a registration_status=0", "",
         kHeapChange + walk + "registration_status? DeleteSection Save ", "true true"},
        {ROW_WITH(false, DeleteTrunk("office", false, out)), kOffice, "",
         kHeapChange + walk + "DeleteSection Save ", "true false"},
        {ROW_WITH(false, DeleteTrunk("x", true, out)), kAll, "",
         kHeapChange + walk + walk + walk + "Next ", "false false"},

        {ROW_OF(CheckTrunk("branch", "x", "y", "op_add")), kAll, "",
         kHeapRead + walk + "user_name? " + walk + "user_name? " + walk + "user_name? Next ", "0"},
        {ROW_OF(CheckTrunk("branch", "branch", "y", "op_add")), kAll, "",
         kHeapRead + walk + "user_name? " + walk, "1"},
        {ROW_OF(CheckTrunk("", "office", "b1", "")), kAll, "",
         kHeapRead + walk + "user_name? " + walk + "user_name? ", "2"},
        {ROW_OF(CheckTrunk("branch", "branch", "b1", "op_edit")), kAll, "",
         kHeapRead + walk + "user_name? " + walk + walk + "user_name? Next ", "0"},
    };
}

}  // namespace below
