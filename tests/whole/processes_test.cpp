#include <algorithm>
#include <functional>
#include <list>
#include <memory>
#include <thread>

#include "include/raiklaik.h"
#include "tests/fixture/child_process.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/record_values.h"

namespace {

using Base = CSIPTrunkBase;
using Record = Base::STParamsRecord;

constexpr int kProcesses = 4;
constexpr int kThreads = 2;
constexpr int kRounds = 25;

std::string WorkerName(int process, int thread) {
    return "w" + std::to_string(process) + std::to_string(thread);
}

// The trunk that a worker rewrites in each round, and nobody else.
Record Counter(const std::string& worker, int round) {
    const std::string count = std::to_string(round);
    return {worker, worker + "-user", count, "10.0.0." + count, "50" + count, "", "", "1",
            false,  round % 2 == 0};
}

// Reads what this worker stored in the round before, and stores the next.
void Count(CSIPTrunkConfig& config, const std::string& worker, int round) {
    Record before;
    Record next = Counter(worker, round);
    EXPECT_TRUE(config.GetSIPTrunkParams(worker, before));
    EXPECT_EQ(before, Counter(worker, round - 1));
    EXPECT_TRUE(config.SetSIPTrunkParams(worker, next, false));
}

// Adds a trunk of this round, registers its slave, and deletes the trunk of the round before.
void AddRegisterDelete(CSIPTrunkConfig& config, const std::string& worker, int round) {
    const auto nameOf = [&](int number) { return worker + "-" + std::to_string(number); };
    Record added{nameOf(round), nameOf(round) + "-user", "p", "", "", "", "", "0", true, false};
    bool wasRegistered = false;
    EXPECT_TRUE(config.SetSIPTrunkParams("", added, false));
    EXPECT_TRUE(
        config.SetRegisterParam({added.user_name, "", "10.0.0.1", std::to_string(round)}, false));
    EXPECT_EQ(config.DeleteTrunk(nameOf(round - 1), false, wasRegistered), round > 1);
}

void Work(CSIPTrunkConfig& config, const std::string& worker) {
    Record counter = Counter(worker, 0);
    EXPECT_TRUE(config.SetSIPTrunkParams("", counter, false));
    for (int round = 1; round <= kRounds; ++round) {
        Count(config, worker, round);
        AddRegisterDelete(config, worker, round);
    }
}

// The threads of one process, all on one object or each on its own.
void RunThreads(int process, bool shareObject) {
    CSIPTrunkConfig shared(nullptr);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            CSIPTrunkConfig own(nullptr);
            Work(shareObject ? shared : own, WorkerName(process, thread));
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// Runs `body` in several processes at once.
void RunProcesses(int count, const std::function<void(int process)>& body) {
    Gate start;
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (int process = 0; process < count; ++process) {
        children.push_back(std::make_unique<ChildProcess>([&, process] {
            start.Pass();
            body(process);
        }));
    }
    for (int process = 0; process < count; ++process) {
        start.Open();
    }
    for (const auto& child : children) {
        EXPECT_EQ(child->Wait(), 0);
    }
}

class ProcessesTest : public DeviceFixture {};

TEST_F(ProcessesTest, NoUpdateOfAnyThreadOrProcessIsLost) {
    WriteDatabase(kAgents);
    RunProcesses(kProcesses, [](int process) { RunThreads(process, process % 2 == 0); });

    std::list<Record> counters;
    std::list<Base::STTrunkState> states;
    std::vector<Base::STRegistrationParam> slaves;
    EXPECT_TRUE(config.GetSIPTrunkParams(counters, "1", false));
    EXPECT_TRUE(config.GetSIPTrunksState(states, "2"));
    EXPECT_TRUE(config.InitRegisterSlaveList(slaves));
    const std::string last = std::to_string(kRounds);
    for (int process = 0; process < kProcesses; ++process) {
        for (int thread = 0; thread < kThreads; ++thread) {
            const std::string worker = WorkerName(process, thread);
            Record counter;
            EXPECT_TRUE(config.GetSIPTrunkParams(worker, counter));
            EXPECT_EQ(counter, Counter(worker, kRounds));
            const Base::STRegistrationParam slave{worker + "-" + last + "-user", "p", "10.0.0.1",
                                                  last};
            EXPECT_EQ(std::count(slaves.begin(), slaves.end(), slave), 1) << slave;
        }
    }
    EXPECT_EQ(counters.size(), static_cast<std::size_t>(kProcesses * kThreads));
    EXPECT_EQ(slaves.size(), static_cast<std::size_t>(kProcesses * kThreads));
    EXPECT_EQ(states.size(), static_cast<std::size_t>(2 * kProcesses * kThreads));
    EXPECT_EQ(DatabaseText().substr(0, std::string(kAgents).size()), kAgents);
    EXPECT_EQ(EntriesOf(File("telephony")), std::vector<std::string>{"siptrunkdb"});
}

TEST_F(ProcessesTest, AReaderSeesWholeStatesOnly) {
    const auto state = [](const std::string& text) {
        return Record{"trunk", text, text, text, text, "", "", "1", false, false};
    };
    Record first = state("0");
    ASSERT_TRUE(config.SetSIPTrunkParams("", first, false));
    RunProcesses(3, [&](int process) {
        CSIPTrunkConfig own(nullptr);
        for (int round = 0; round < 200; ++round) {
            // The longer the text, the longer a write of it would be under way.
            Record record = state(std::string(900, static_cast<char>('a' + round % 26)));
            if (process == 0) {
                EXPECT_TRUE(own.SetSIPTrunkParams("trunk", record, false));
            } else {
                EXPECT_TRUE(own.GetSIPTrunkParams("trunk", record));
                EXPECT_EQ(record, state(record.user_name));
            }
        }
    });
}

TEST_F(ProcessesTest, SwitchesAndStartFileLoseNothingBesideOneAnother) {
    WriteDatabase(kOffice);
    WriteStartFile("START_OTHER=true\n");
    RunProcesses(3, [](int process) {
        CSIPTrunkConfig own(nullptr);
        for (int round = 0; round < 50; ++round) {
            const bool isOn = round % 2 != 0;
            EXPECT_TRUE(process == 0   ? own.SetSIPTrunkAgentStates({isOn, !isOn})
                        : process == 1 ? own.SaveAgentStatus(isOn)
                                       : own.ChangeTrunkToMasterConfig("office"));
        }
    });
    EXPECT_EQ(DatabaseText(),
              "section {\nsiptrunk_master_enabled=0\nsiptrunk_slave_enabled=1\n}\n" +
                  Replaced(kOffice, "}\n",
                           "changed_user_name=office-user\n"
                           "changed_password=office-password\n"
                           "changed_master_ip=10.0.0.1\n"
                           "changed_master_port=5061\n"
                           "}\n"));
    EXPECT_EQ(StartFileText(), "START_OTHER=true\nSTART_SIPTRUNK=true\n");
}

}  // namespace
