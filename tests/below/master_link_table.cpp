#include "tests/below/table.h"

namespace below {

std::vector<Row> MasterLinkRows() {
    using Base = CSIPTrunkBase;
    using States = std::list<Base::STTrunkState>;
    const States own(1, {"own", true});
    const Base::STRegistrationFields none;
    // To the trunk to a master in kAll, and past it.
    const std::string found = "Next trunk_type? Next trunk_type? Next trunk_type? trunk_name? ";
    const std::string notFound = found + "Next ";
    const std::string unregistered =
        "trunk_type=0 trunk_name=t registration_status=1; trunk_name=t registration_status=1;"
        "trunk_type=1 registration_status=1; trunk_type=1 trunk_name=u registration_status=1;"
        "trunk_type=1 trunk_name=t; trunk_type=1 trunk_name=t registration_status=10;";
    const std::string unregisteredWalked =
        "Next trunk_type? Next trunk_type? Next trunk_type? trunk_name? Next trunk_type? "
        "trunk_name? Next trunk_type? trunk_name? registration_status? Next trunk_type? "
        "trunk_name? registration_status? Next ";
    return {
        {ROW_WITH(own, GetSIPTrunksState(out, "2")), kAll + "trunk_name=idle", "",
         kHeapRead +
             "Next trunk_name? registration_date? Next trunk_name? registration_date? * Next "
             "trunk_name? registration_date? * Next trunk_name? registration_date? * Next ",
         R"(true {"own", true}{"branch", true}{"office", true}{"idle", false})"},
        {ROW_WITH(States(), GetSIPTrunksState(out, "0")), kAll + "trunk_type=0", "",
         kHeapRead +
             "Next trunk_type? Next trunk_type? trunk_name? registration_date? * Next trunk_type? "
             "Next trunk_type? trunk_name? registration_date? Next ",
         R"(true {"branch", true})"},
        {ROW_WITH(Base::TRUNK_NOT_FOUND, GetSIPTrunkState("branch", out)), kAll, "",
         kHeapRead + "* Next trunk_name? Next trunk_name? registration_date? ", "true 0"},
        {ROW_WITH(Base::TRUNK_NOT_FOUND, GetSIPTrunkState("a", out)), "trunk_name=a", "",
         kHeapRead + "* Next trunk_name? registration_date? * ", "true 1"},
        {ROW_WITH(Base::TRUNK_INACTIVE, GetSIPTrunkState("x", out)), kBranch, "",
         kHeapRead + "* Next trunk_name? Next * ", "true 2"},
        {ROW_OF(GetStateOfTrunkToMaster("t")),
         unregistered + "trunk_type=1 trunk_name=t registration_status=1;" + kAll, "",
         kHeapRead + unregisteredWalked + "trunk_type? trunk_name? registration_status? ", "true"},
        {ROW_OF(GetStateOfTrunkToMaster("t")), unregistered, "", kHeapRead + unregisteredWalked,
         "false"},

        {ROW_OF(SetTrunkToMasterActiveState("office")), kAll + kOffice,
         "INFO:SIP Trunk: Set active state trunk to master : office\n",
         kHeapChange + found + "registration_date=<date> registration_time=<time> Save ", "true"},
        {ROW_OF(SetTrunkToMasterActiveState("x")), kAll,
         "INFO:SIP Trunk: Set active state trunk to master : x\n", kHeapChange + notFound + "Save ",
         "true"},
        {ROW_OF(SetTrunkToMasterInActiveState("office")), kAll + kOffice,
         "INFO:SIP Trunk: Set Trunk To Master : office  InActive State...\n",
         kHeapChange + found + "-registration_date -registration_time Save ", "true"},
        {ROW_OF(SetTrunkToMasterInActiveState("branch")), kAll,
         "INFO:SIP Trunk: Set Trunk To Master : branch  InActive State...\n",
         kHeapChange + notFound + "Save ", "true"},
        {ROW_OF(SetUnregisterStateToTrunks()),
         "registration_status=1; registration_status=10; registration_status=0;" + kBranch, "",
         kHeapChange +
             "Next Next registration_status? registration_status=0 Next registration_status? "
             "Next registration_status? Next Save ",
         "true"},

        {ROW_WITH(none, GetTrunkToMasterParams("office", out, true)), kAll, "",
         kLocalRead + found +
             "registration_status? * user_name? * password? * master_ip? * master_port? * ",
         R"(true {"o1", "o2", "o3", "o4", true})"},
        {ROW_WITH(none, GetTrunkToMasterParams("a", out, false)),
         "trunk_type=1 trunk_name=a registration_status=1 changed_user_name=1 changed_password=2 "
         "changed_master_ip=3 changed_master_port=4",
         "",
         kLocalRead + "Next trunk_type? trunk_name? changed_user_name? * changed_password? * "
                      "changed_master_ip? * changed_master_port? * ",
         R"(true {"1", "2", "3", "4", false})"},
        {ROW_WITH(none, GetTrunkToMasterParams("x", out, true)), kAll, "", kLocalRead + notFound,
         R"(true {"", "", "", "", false})"},
        {ROW_OF(ChangeTrunkToMasterConfig("office")), kAll, "",
         kHeapChange + found +
             "user_name? changed_user_name=o1 password? changed_password=o2 master_ip? "
             "changed_master_ip=o3 master_port? changed_master_port=o4 Save ",
         "true"},
        {ROW_OF(ChangeTrunkToMasterConfig("a")), "trunk_type=1 trunk_name=a", "",
         kHeapChange +
             "Next trunk_type? trunk_name? user_name? changed_user_name= password? "
             "changed_password= master_ip? changed_master_ip= master_port? changed_master_port= "
             "Save ",
         "true"},
        {ROW_OF(ChangeTrunkToMasterConfig("branch")), kAll, "", kHeapChange + notFound + "Save ",
         "true"},
    };
}

}  // namespace below
