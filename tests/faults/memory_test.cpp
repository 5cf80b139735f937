#include <algorithm>
#include <cerrno>
#include <iostream>
#include <list>
#include <new>
#include <sstream>
#include <vector>

#include "tests/faults/disturbed_calls.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/operation_table.h"

// Memory that runs out at the first allocation, the second, and so on, in each operation. It gives
// the failure value or has done its work; the lock is free, nothing is leaked, the file is whole.

namespace {

using Base = CSIPTrunkBase;

// Ready-made arguments, so that only the operation itself allocates.
struct Arguments {
    std::string none;
    std::string office = "office";
    std::string branch = "branch";
    std::string addition = "op_add";
    std::string everyKind = "2";
    Base::STParamsRecord record{"new trunk with a rather long name",
                                "new user",
                                "new password",
                                "10.0.0.7",
                                "5067",
                                "",
                                "",
                                "1",
                                false,
                                true};
    Base::STRegistrationParam slave{"branch-user", "", "10.0.0.3", "5063"};
    Base::STRegistrationFields fields;
    Base::STAgentStates states;
    Base::SIPTrunkActivity activity = Base::TRUNK_NOT_FOUND;
    bool flag = false;
    std::list<Base::STParamsRecord> trunks;
    std::list<Base::STTrunkState> trunkStates;
    std::vector<Base::STRegistrationParam> slaves;
    std::vector<Base::STAccessibleUser> users;
    std::vector<Base::STAccessibleSlave> masters;
};

struct PreparedOperation {
    const char* name;
    bool (*call)(CSIPTrunkConfig&, Arguments&);
};

const PreparedOperation kOperations[] = {
    {"GetSIPTrunkParamsByName",
     [](auto& service, auto& a) { return service.GetSIPTrunkParams(a.branch, a.record); }},
    {"GetSIPTrunkParamsByKind",
     [](auto& service, auto& a) { return service.GetSIPTrunkParams(a.trunks, "0", true); }},
    {"GetAllSIPTrunkParams",
     [](auto& service, auto& a) { return service.GetAllSIPTrunkParams(a.trunks); }},
    {"AddTrunk",
     [](auto& service, auto& a) { return service.SetSIPTrunkParams(a.none, a.record, true); }},
    {"RewriteTrunk",
     [](auto& service, auto& a) { return service.SetSIPTrunkParams(a.office, a.record, true); }},
    {"DeleteTrunk",
     [](auto& service, auto& a) { return service.DeleteTrunk(a.office, true, a.flag); }},
    {"CheckTrunk",
     [](auto& service, auto& a) {
         return service.CheckTrunk(a.none, a.record.trunk_name, a.addition, a.addition) != 3;
     }},
    {"GetSIPTrunksState",
     [](auto& service, auto& a) { return service.GetSIPTrunksState(a.trunkStates, a.everyKind); }},
    {"GetSIPTrunkState",
     [](auto& service, auto& a) { return service.GetSIPTrunkState(a.office, a.activity); }},
    {"GetStateOfTrunkToMaster",
     [](auto& service, auto& a) { return service.GetStateOfTrunkToMaster(a.office); }},
    {"SetTrunkToMasterActiveState",
     [](auto& service, auto& a) { return service.SetTrunkToMasterActiveState(a.office); }},
    {"SetTrunkToMasterInActiveState",
     [](auto& service, auto& a) { return service.SetTrunkToMasterInActiveState(a.office); }},
    {"SetUnregisterStateToTrunks",
     [](auto& service, auto&) { return service.SetUnregisterStateToTrunks(); }},
    {"GetTrunkToMasterParams",
     [](auto& service, auto& a) {
         return service.GetTrunkToMasterParams(a.office, a.fields, true);
     }},
    {"ChangeTrunkToMasterConfig",
     [](auto& service, auto& a) { return service.ChangeTrunkToMasterConfig(a.office); }},
    {"SetRegisterParam",
     [](auto& service, auto& a) { return service.SetRegisterParam(a.slave, false); }},
    {"ChangeRegisterParam",
     [](auto& service, auto& a) { return service.ChangeRegisterParam(a.slave, a.slave); }},
    {"SetUnregisterParam",
     [](auto& service, auto& a) { return service.SetUnregisterParam(a.slave); }},
    {"InitRegisterSlaveList",
     [](auto& service, auto& a) { return service.InitRegisterSlaveList(a.slaves); }},
    {"GetMasterAccesibleUsersList",
     [](auto& service, auto& a) { return service.GetMasterAccesibleUsersList(a.users); }},
    {"GetSlaveAccesibleUsersList",
     [](auto& service, auto& a) { return service.GetSlaveAccesibleUsersList(a.masters); }},
    {"GetSIPTrunkAgentStates",
     [](auto& service, auto& a) { return service.GetSIPTrunkAgentStates(a.states); }},
    {"SetSIPTrunkAgentStates",
     [](auto& service, auto& a) { return service.SetSIPTrunkAgentStates(a.states); }},
    {"LoadAgentStatus", [](auto& service, auto&) { return service.LoadAgentStatus(); }},
    {"SaveAgentStatus", [](auto& service, auto& a) { return service.SaveAgentStatus(a.flag); }},
};

void PrintTo(const PreparedOperation& operation, std::ostream* stream) {
    *stream << operation.name;
}

class Memory : public DeviceFixture, public ::testing::WithParamInterface<PreparedOperation> {
  protected:
    Memory() {
        FillFiles();
        const FixedClock stopped(kMoment);
        Arguments arguments;
        EXPECT_TRUE(GetParam().call(config, arguments));
        m_new = Files();
        (void)NewLogText();
    }

    void FillFiles() const {
        WriteDatabase(kOperationDatabase);
        WriteStartFile(kOperationStartFile);
    }

    std::string Files() const { return DatabaseText() + StartFileText(); }

    // Runs the operation with memory that runs out at one allocation. Returns whether it came to
    // that.
    bool Run(int number, int times) {
        SCOPED_TRACE("allocation " + std::to_string(number) + (times > 1 ? " and later ones" : ""));
        FillFiles();
        const long blocks = LiveBlocks();
        bool isDone = false;
        bool isMet = false;
        {
            Arguments arguments;
            const FixedClock stopped(kMoment);
            const DisturbedCalls calls;
            {
                const FailingCall failing(Call::kNew, ENOMEM, number, times);
                isDone = GetParam().call(config, arguments);
                isMet = failing.IsMet();
            }
            EXPECT_EQ(calls.OpenDescriptors(), 0);
            EXPECT_EQ(calls.LocksHeld(), 0);
        }
        EXPECT_EQ(LiveBlocks(), blocks);
        EXPECT_EQ(Files(), isDone ? m_new : kOperationDatabase + kOperationStartFile);
        CheckLog(isDone, times == 1);
        EXPECT_EQ(EntriesOf(File("telephony")), std::vector<std::string>{"siptrunkdb"});
        EXPECT_EQ(EntriesOf(File("sysconfig")), std::vector<std::string>{"rc.conf"});
        return isMet;
    }

  private:
    // Once there is memory again, the failure is told.
    void CheckLog(bool isDone, bool hasMemoryAgain) {
        const std::string log = NewLogText();
        if (isDone) {
            EXPECT_EQ(log.find("ERROR"), std::string::npos) << log;
        } else if (hasMemoryAgain) {
            EXPECT_NE(log.find("ERROR: std::bad_alloc \n"), std::string::npos) << log;
        }
    }

    std::string m_new;
};

}  // namespace

TEST_P(Memory, RunsOutWithoutHarm) {
    unsigned runs = 0;
    for (const int times : {1, FailingCall::kAlways}) {
        for (int number = 1; !HasFailure() && Run(number, times); ++number) {
            ++runs;
        }
    }
    std::cout << GetParam().name << ": " << runs << " runs" << std::endl;
    EXPECT_GT(runs, 0U);
}

INSTANTIATE_TEST_SUITE_P(Every, Memory, ::testing::ValuesIn(kOperations),
                         [](const auto& operation) { return operation.param.name; });

class MemoryOfObjects : public DeviceFixture {};

TEST_F(MemoryOfObjects, RunsOutWhileTheServiceIsMade) {
    const long blocks = LiveBlocks();
    bool isMet = true;
    for (int number = 1; isMet; ++number) {
        const FailingCall failing(Call::kNew, ENOMEM, number);
        try {
            const CSIPTrunkConfig service(nullptr);
        } catch (const std::bad_alloc&) {
        }
        isMet = failing.IsMet();
        EXPECT_EQ(LiveBlocks(), blocks);
    }
}

TEST_F(MemoryOfObjects, RunsOutWhileALoggerIsMadeAndWrites) {
    const std::string path = File("other log");
    const long blocks = LiveBlocks();
    bool isMet = true;
    for (int number = 1; isMet; ++number) {
        const DisturbedCalls calls;
        const FailingCall failing(Call::kNew, ENOMEM, number);
        try {
            CSIPTrunkLogger other(path.c_str());
            other.TRACE(1, "%0100d\n", 1);
        } catch (const std::bad_alloc&) {
        }
        isMet = failing.IsMet();
        EXPECT_EQ(calls.OpenDescriptors(), 0);
    }
    EXPECT_EQ(LiveBlocks(), blocks);
}

TEST_F(MemoryOfObjects, ThatIsBackLetsALoggerWriteAgain) {
    bool isMet = true;
    for (int number = 1; isMet; ++number) {
        {
            const FailingCall failing(Call::kNew, ENOMEM, number);
            try {
                logger.TRACE(1, "%03000d\n", 1);
            } catch (const std::bad_alloc&) {
            }
            isMet = failing.IsMet();
        }
        logger.TRACE(1, "next\n");
        const std::string log = ReadFile(File("log"));
        EXPECT_EQ(log.substr(log.size() - 5), "next\n");
    }
}

TEST_F(MemoryOfObjects, RunsOutWhileTheTimeIsTold) {
    // Texts too long to do without memory.
    const std::string before(100, 'x');
    const long blocks = LiveBlocks();
    bool isMet = true;
    for (int number = 1; isMet; ++number) {
        std::string time = before;
        std::string date = before;
        time.shrink_to_fit();
        date.shrink_to_fit();
        const FailingCall failing(Call::kNew, ENOMEM, number);
        try {
            config.GetLocalDateTime(time, date);
        } catch (const std::bad_alloc&) {
        }
        isMet = failing.IsMet();
    }
    EXPECT_EQ(LiveBlocks(), blocks);
}
