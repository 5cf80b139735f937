#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "tests/fixture/device_fixture.h"

// Sixteen threads at once: half of them write, half of them read.

namespace {

constexpr unsigned kWriters = 8;
constexpr unsigned kReaders = 8;
constexpr unsigned kRounds = 25;

using Base = CSIPTrunkBase;

// A trunk whose fields all hold the same text.
Base::STParamsRecord RecordOf(const std::string& name, const std::string& text) {
    Base::STParamsRecord record;
    record.trunk_name = name;
    record.trunk_type = "1";
    record.user_name = record.password = record.remote_ip = record.remote_port = text;
    return record;
}

void RunAll(const std::vector<std::function<void()>>& works) {
    std::vector<std::thread> threads;
    threads.reserve(works.size());
    for (const auto& work : works) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

class Threads : public DeviceFixture {
  protected:
    Threads() {
        WriteDatabase("");
        Store(config, "", "shared", "first");
        for (unsigned writer = 0; writer < kWriters; ++writer) {
            Store(config, "", std::to_string(writer), "first");
        }
    }

    static void Store(CSIPTrunkConfig& service, const std::string& oldName, const std::string& name,
                      const std::string& text) {
        Base::STParamsRecord record = RecordOf(name, text);
        EXPECT_TRUE(service.SetSIPTrunkParams(oldName, record, false));
    }

    static void Write(CSIPTrunkConfig& service, unsigned writer) {
        const std::string own = std::to_string(writer);
        for (unsigned round = 1; round <= kRounds; ++round) {
            const std::string text = own + "/" + std::to_string(round);
            Store(service, "shared", "shared", text);
            Store(service, own, own, text);
            EXPECT_TRUE(service.SetTrunkToMasterActiveState(own));
        }
    }

    void Read(CSIPTrunkConfig& service) {
        for (unsigned round = 0; round < kRounds; ++round) {
            Base::STParamsRecord record;
            EXPECT_TRUE(service.GetSIPTrunkParams("shared", record));
            EXPECT_EQ(record.user_name, record.password);
            EXPECT_EQ(record.user_name, record.remote_ip);
            EXPECT_EQ(record.user_name, record.remote_port);
            std::list<Base::STTrunkState> states;
            EXPECT_TRUE(service.GetSIPTrunksState(states, "1"));
            EXPECT_EQ(states.size(), kWriters + 1U);
            logger.TRACE(3, "read %u\n", round);
        }
    }

    // Runs all threads, each on what `serviceOf` gives for its number.
    void Run(const std::function<CSIPTrunkConfig&(unsigned thread)>& serviceOf) {
        std::vector<std::function<void()>> works;
        for (unsigned writer = 0; writer < kWriters; ++writer) {
            works.emplace_back([&, writer] { Write(serviceOf(writer), writer); });
        }
        for (unsigned reader = 0; reader < kReaders; ++reader) {
            works.emplace_back([&, reader] { Read(serviceOf(kWriters + reader)); });
        }
        RunAll(works);
        for (unsigned writer = 0; writer < kWriters; ++writer) {
            const std::string own = std::to_string(writer);
            Base::STParamsRecord record;
            EXPECT_TRUE(config.GetSIPTrunkParams(own, record));
            EXPECT_EQ(record.user_name, own + "/" + std::to_string(kRounds));
            EXPECT_NE(record.registration_date, "");
        }
        EXPECT_EQ(NewLogText().find("ERROR"), std::string::npos);
    }
};

}  // namespace

TEST_F(Threads, OnOneObjectSeeWholeStatesAndLoseNothing) {
    Run([&](unsigned) -> CSIPTrunkConfig& { return config; });
}

TEST_F(Threads, WithObjectsOfTheirOwnSeeWholeStatesAndLoseNothing) {
    std::vector<std::unique_ptr<CSIPTrunkConfig>> services;
    for (unsigned thread = 0; thread < kWriters + kReaders; ++thread) {
        services.push_back(std::make_unique<CSIPTrunkConfig>(&logger));
    }
    Run([&](unsigned thread) -> CSIPTrunkConfig& { return *services.at(thread); });
}
