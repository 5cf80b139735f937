#include "tests/below/table.h"

namespace below {

std::vector<Row> SlaveRegistrationRows() {
    using Base = CSIPTrunkBase;
    using Users = std::vector<Base::STAccessibleUser>;
    using Slaves = std::vector<Base::STAccessibleSlave>;
    const std::vector<Base::STRegistrationParam> one(1);
    const std::string info = "INFO:SIP Trunk: Set ";
    const std::string registered = " slave registration params in siptrunkdb... \n";
    const std::string unregistered = " slave unregister params in siptrunkdb... \n";
    // To the trunk for a slave in kAll, and past all.
    const std::string found = "Next user_name? Next user_name? ";
    const std::string notFound = found + "Next user_name? Next ";
    const std::string stamp = "registration_date=<date> registration_time=<time> Save ";
    const std::string listed =
        "registration_status? trunk_name? user_name? password? master_ip? master_port? * "
        "-registration_date -registration_time RestartSection ";
    return {
        {ROW_OF(SetRegisterParam({"b1", "p", "i", "q"}, false)), kAll + kBranch,
         info + "b1@i:q" + registered, kLocalChange + found + "slave_ip=i slave_port=q " + stamp,
         "true"},
        {ROW_OF(SetRegisterParam({"b1", "", "", ""}, false)), kAll, info + "b1@:" + registered,
         kLocalChange + found + "slave_ip= slave_port= " + stamp, "true"},
        {ROW_OF(SetRegisterParam({"b1", "p", "i", "q"}, true)), kAll, info + "b1@i:q" + registered,
         kLocalChange + found + stamp, "true"},
        {ROW_OF(SetRegisterParam({"x", "p", "i", "q"}, false)), kAll, info + "x@i:q" + registered,
         kLocalChange + notFound + "Save ", "true"},
        {ROW_OF(SetRegisterParam({"", "p", "i", "q"}, true)), kOffice + kAll,
         info + "@i:q" + registered, kLocalChange + found + stamp, "true"},

        {ROW_OF(ChangeRegisterParam({"b1", "p", "i", "q"}, {"o1", "P", "I", ""})), kAll, "",
         kLocalChange + found + "slave_ip=I slave_port= " + stamp, "true"},
        {ROW_OF(ChangeRegisterParam({"x", "p", "i", "q"}, {"b1", "P", "I", "Q"})), kAll, "",
         kLocalChange + notFound + "Save ", "true"},
        {ROW_OF(ChangeRegisterParam({"", "", "", ""}, {"b1", "P", "I", "Q"})), kOffice + kAll, "",
         kLocalChange + found + "slave_ip=I slave_port=Q " + stamp, "true"},

        {ROW_OF(SetUnregisterParam({"b1", "p", "i", "q"})), kAll + kBranch,
         info + "b1@i:q" + unregistered,
         kLocalChange + found + "-slave_ip -slave_port -registration_date -registration_time Save ",
         "true"},
        {ROW_OF(SetUnregisterParam({"", "", "", ""})), kAll, info + "@:" + unregistered,
         kLocalChange + notFound + "Save ", "true"},

        {ROW_WITH(one, InitRegisterSlaveList(out)), kAll,
         "INFO:SIP Trunk: Set registered slave's list...\n",
         "Lock * database(false,true,false) Restart Next slave_ip? Next slave_ip? user_name? "
         "password? slave_port? * Next slave_ip? Next ",
         R"(true {"b1", "b2", "b3", "b4"})"},
        {ROW_WITH(Users(1), GetMasterAccesibleUsersList(out)), kAll + "trunk_type=00", "",
         kLocalRead + "Next trunk_type? Next trunk_type? trunk_name? user_name? password? * Next "
                      "trunk_type? Next trunk_type? Next ",
         R"(true {"", "", ""}{"branch", "b1", "b2"})"},
        {ROW_WITH(Slaves(1), GetSlaveAccesibleUsersList(out)),
         kAll + "trunk_type=1; trunk_type=1 registration_status=10;" + kOffice, "",
         kLocalChange + "Next trunk_type? Next trunk_type? Next trunk_type? " + listed +
             "Next trunk_type? registration_status? Next trunk_type? registration_status? Next "
             "trunk_type? " +
             listed + "Next Save ",
         R"(true {"", "", "", "", "", false, 0, false})"
         R"({"office", "o1", "o2", "o3", "o4", false, 0, false})"
         R"({"office", "o1", "o2", "o3", "o4", false, 0, false})"},
        {ROW_WITH(Slaves(), GetSlaveAccesibleUsersList(out)), kBranch, "",
         kLocalChange + "Next trunk_type? Next Save ", "true "},
    };
}

}  // namespace below
