#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>

#include "include/raiklaik.h"
#include "tests/fixture/reference_file.h"
#include "tests/fixture/temp_folder.h"
#include "tests/fuzz/fuzz_input.h"

// A database, a start file and a series of operations with arguments of any kind. No exception
// leaves an operation; a malformed file stays as it is and fails every operation; a file that an
// operation has saved is well-formed; what an operation does not save stays byte for byte.

namespace {

using Base = CSIPTrunkBase;

struct Device {
    Device() {
        (void)setenv("QORV_PATH", (folder.Path() + "/").c_str(), 1);
        (void)mkdir(folder.File("telephony").c_str(), 0700);
        (void)mkdir(folder.File("sysconfig").c_str(), 0700);
    }
    std::string Database() const { return folder.File("telephony/siptrunkdb"); }
    std::string StartFile() const { return folder.File("sysconfig/rc.conf"); }

    TempFolder folder;
};

Base::STParamsRecord Record(FuzzInput& input) {
    Base::STParamsRecord record;
    record.trunk_name = input.Text();
    record.trunk_type = input.Text();
    record.user_name = input.Text();
    record.password = input.Text();
    record.remote_ip = input.Text();
    record.remote_port = input.Text();
    record.sym_nat = record.registration_status = input.Byte() % 2 == 0;
    return record;
}

Base::STRegistrationParam Registration(FuzzInput& input) {
    Base::STRegistrationParam registration;
    registration.user_name = input.Text();
    registration.slave_ip = input.Text();
    registration.slave_port = input.Text();
    return registration;
}

// Operations that only read; true when the operation itself did not fail.
bool Look(CSIPTrunkConfig& service, FuzzInput& input, bool isWellFormed) {
    Base::STParamsRecord record;
    Base::STRegistrationFields fields;
    Base::STAgentStates states;
    auto activity = Base::TRUNK_ACTIVE;
    std::list<Base::STParamsRecord> trunks;
    std::list<Base::STTrunkState> trunkStates;
    std::vector<Base::STRegistrationParam> slaves;
    std::vector<Base::STAccessibleUser> users;
    const std::string name = input.Text();
    (void)service.LoadAgentStatus();
    const bool isFound = service.GetSIPTrunkParams(name, record) ||
                         service.GetStateOfTrunkToMaster(name) ||
                         (!isWellFormed && service.GetSIPTrunkAgentStates(states));
    const bool isRead =
        service.GetSIPTrunkParams(trunks, input.Text(), true) &&
        service.GetAllSIPTrunkParams(trunks) &&
        service.CheckTrunk(name, input.Text(), input.Text(), "op_edit") != 3 &&
        service.GetSIPTrunksState(trunkStates, "2") && service.GetSIPTrunkState(name, activity) &&
        service.GetTrunkToMasterParams(name, fields, true) &&
        service.InitRegisterSlaveList(slaves) && service.GetMasterAccesibleUsersList(users);
    Require(isRead == isWellFormed);
    return isFound || isRead;
}

// Operations that save; each is true only when it has saved.
bool Change(CSIPTrunkConfig& service, FuzzInput& input) {
    bool flag = false;
    std::vector<Base::STAccessibleSlave> masters;
    switch (input.Byte() % 12) {
        case 0: {
            Base::STParamsRecord record = Record(input);
            return service.SetSIPTrunkParams("", record, true);
        }
        case 1: {
            const std::string name = input.Text();
            Base::STParamsRecord record = Record(input);
            return service.SetSIPTrunkParams(name, record, input.Byte() % 2 == 0);
        }
        case 2:
            return service.DeleteTrunk(input.Text(), true, flag);
        case 3:
            return service.SetTrunkToMasterActiveState(input.Text());
        case 4:
            return service.SetTrunkToMasterInActiveState(input.Text());
        case 5:
            return service.SetUnregisterStateToTrunks();
        case 6:
            return service.ChangeTrunkToMasterConfig(input.Text());
        case 7:
            return service.SetRegisterParam(Registration(input), input.Byte() % 2 == 0);
        case 8:
            return service.ChangeRegisterParam(Registration(input), Registration(input));
        case 9:
            return service.SetUnregisterParam(Registration(input));
        case 10:
            return service.GetSlaveAccesibleUsersList(masters);
        default:
            return service.SetSIPTrunkAgentStates({input.Byte() % 2 == 0, input.Byte() % 2 == 0});
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    UseMemoryFolder();
    static const Device device;
    static CSIPTrunkConfig service(nullptr);
    FuzzInput input(data, size);
    std::string text = input.Text();
    WriteFile(device.Database(), text);
    WriteFile(device.StartFile(), input.Text());
    const bool isWellFormed = ReferenceFile::Parse(text).has_value();
    while (!input.IsUsedUp()) {
        Require(Look(service, input, isWellFormed) || !isWellFormed);
        Require(ReadFile(device.Database()) == text);
        const ino_t before = InodeOf(device.Database());
        const bool isSaved = Change(service, input);
        Require(isWellFormed || !isSaved);
        Require(isSaved == (InodeOf(device.Database()) != before));
        const std::string now = ReadFile(device.Database());
        Require(isSaved || now == text);
        Require(!isSaved || ReferenceFile::Parse(now).has_value());
        text = now;
        Require(service.SaveAgentStatus(isSaved) && service.LoadAgentStatus() == isSaved);
    }
    return 0;
}
