#include "src/foundation/clock.h"

#include <cstdint>
#include <string>

#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"

namespace {

struct Case {
    std::int64_t seconds;
    std::string date, time;  // three hours ahead of UTC, as the fixture's zone
};

// A 32-bit time_t ends with the second of these.
const Case kCases[] = {
    {1795341600, "11/22/2026", "13:00:00"}, {2147483647, "01/19/2038", "06:14:07"},
    {2147483648, "01/19/2038", "06:14:08"}, {2219936889, "05/06/2040", "20:08:09"},
    {4133942055, "12/31/2100", "16:14:15"}, {4294967295, "02/07/2106", "09:28:15"},
    {4294967296, "02/07/2106", "09:28:16"},
};

class ClockTest : public DeviceFixture {
  protected:
    // The section's entries after `change`.
    template <typename Change>
    std::string Stamped(const char* type, const Change& change) {
        WriteDatabase(std::string("section {\n}\nsection {\ntrunk_name=a\nuser_name=b\n") +
                      "trunk_type=" + type + "\n}\n");
        EXPECT_TRUE(change());
        const std::string text = DatabaseText();
        const std::size_t entries = text.find("trunk_type=") + 13;
        return text.substr(entries, text.size() - entries - 2);
    }
};

TEST_F(ClockTest, TheClockIsReadWithItsMilliseconds) {
    for (const Case& c : kCases) {
        const FixedClock clock(c.seconds, 789);
        const raiklaik::Moment now = raiklaik::ReadClock();
        EXPECT_EQ(now.seconds, c.seconds);
        EXPECT_EQ(now.milliseconds, 789);
        EXPECT_EQ(raiklaik::ReadSeconds(), c.seconds);
    }
}

TEST_F(ClockTest, TheClockRuns) {
    const raiklaik::Moment start = raiklaik::ReadClock();
    const std::int64_t then = raiklaik::ReadSeconds();
    EXPECT_GT(start.seconds, kMoment);
    EXPECT_LT(start.milliseconds, 1000);
    EXPECT_GE(then, start.seconds);
}

TEST_F(ClockTest, LogLinesShowTheTimeAfter2038Too) {
    for (const Case& c : kCases) {
        CSIPTrunkLogger log(File("trace").c_str());
        const FixedClock clock(c.seconds, 42);
        log.TRACE(3, "first\n");
        log.TRACE(1, "second\n");
        const FixedClock later(c.seconds + 60, 7);
        log.TRACE(3, "third\n");
        const std::string minute = c.time.substr(3, 2);
        const std::string nextMinute = std::to_string(std::stoi(minute) + 101).substr(1);
        EXPECT_EQ(ReadFile(File("trace")),
                  c.time + ".042  first\n        .042  second\n" +
                      Replaced(c.time, ":" + minute + ":", ":" + nextMinute + ":") +
                      ".007  third\n");
        WriteFile(File("trace"), "");
    }
}

TEST_F(ClockTest, RegistrationsAreStampedAfter2038Too) {
    for (const Case& c : kCases) {
        const FixedClock clock(c.seconds, 999);
        const std::string stamp =
            "registration_date=" + c.date + "\nregistration_time=" + c.time + "\n";
        EXPECT_EQ(Stamped("1", [&] { return config.SetTrunkToMasterActiveState("a"); }), stamp);
        const CSIPTrunkBase::STRegistrationParam slave{"b", "", "10.0.0.1", "5061"};
        EXPECT_EQ(Stamped("0", [&] { return config.SetRegisterParam(slave, true); }), stamp);
        EXPECT_EQ(Stamped("0", [&] { return config.ChangeRegisterParam(slave, slave); }),
                  "slave_ip=10.0.0.1\nslave_port=5061\n" + stamp);
    }
}

TEST_F(ClockTest, SummerTimeIsLocalTimeAfter2038Too) {
    const EnvironmentValue zone("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    const Case cases[] = {
        {2210241600, "01/15/2040", "13:00:00"}, {2216249999, "03/25/2040", "01:59:59"},
        {2216250000, "03/25/2040", "03:00:00"}, {2224756800, "07/01/2040", "14:00:00"},
        {2234998799, "10/28/2040", "02:59:59"}, {2234998800, "10/28/2040", "02:00:00"},
    };
    for (const Case& c : cases) {
        const FixedClock clock(c.seconds, 0);
        std::string time;
        std::string date;
        config.GetLocalDateTime(time, date);
        EXPECT_EQ(date + " " + time, c.date + " " + c.time);
        EXPECT_EQ(logger.FormatTime(), c.time + ".000  ");
    }
}

}  // namespace
