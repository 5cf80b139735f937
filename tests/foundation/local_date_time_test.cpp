#include <cstdint>
#include <ctime>
#include <string>

#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"

namespace {

class LocalDateTimeTest : public DeviceFixture {
  protected:
    // The date and the time of now with a blank between.
    std::string Now() {
        std::string time;
        std::string date;
        config.GetLocalDateTime(time, date);
        return date + " " + time;
    }
};

TEST_F(LocalDateTimeTest, TheTimeComesFirstAndTheDateSecond) {
    const FixedClock clock(kMoment, 999);
    std::string first;
    std::string second;
    config.GetLocalDateTime(first, second);
    EXPECT_EQ(first, "09:05:31");
    EXPECT_EQ(second, "03/07/2024");
}

TEST_F(LocalDateTimeTest, BothTextsAreAppendedToWhatTheStringsHold) {
    const FixedClock clock(kMoment, 0);
    std::string time = "at ";
    std::string date = "on ";
    config.GetLocalDateTime(time, date);
    EXPECT_EQ(time, "at 09:05:31");
    EXPECT_EQ(date, "on 03/07/2024");
}

TEST_F(LocalDateTimeTest, EachNumberHasTwoDigitsAndTheYearAllItsOwn) {
    const FixedClock clock(kLaterMoment, 0);
    EXPECT_EQ(Now(), "01/01/2025 00:05:07");
}

TEST_F(LocalDateTimeTest, HoursCountTo23AndMonthsTo12) {
    const FixedClock clock(kLaterMoment - 308, 0);
    EXPECT_EQ(Now(), "12/31/2024 23:59:59");
}

TEST_F(LocalDateTimeTest, AChangedTimeZoneCountsFromTheNextCallOn) {
    const FixedClock clock(kMoment, 0);
    EXPECT_EQ(Now(), "03/07/2024 09:05:31");
    {
        const EnvironmentValue zone("TZ", "ABC+02:30");
        EXPECT_EQ(Now(), "03/07/2024 03:35:31");
    }
    EXPECT_EQ(Now(), "03/07/2024 09:05:31");
}

TEST_F(LocalDateTimeTest, SummerTimeIsLocalTime) {
    const EnvironmentValue zone("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    {
        const FixedClock clock(1711846799, 0);  // one second before
        EXPECT_EQ(Now(), "03/31/2024 01:59:59");
    }
    const FixedClock clock(1711846800, 0);
    EXPECT_EQ(Now(), "03/31/2024 03:00:00");
}

void AppendNumber(std::string& bytes, std::uint32_t number) {
    for (const unsigned int shift : {24U, 16U, 8U, 0U}) {
        bytes += static_cast<char>((number >> shift) & 0xffU);
    }
}

// A time zone file (tzfile(5)) of UTC that knows one leap second.
std::string TimeZoneWithLeapSecond(std::uint32_t leapSecond) {
    std::string bytes = "TZif";
    bytes += std::string(16, '\0');
    for (const std::uint32_t count : {0U, 0U, 1U, 0U, 1U, 4U}) {  // leap seconds, zones, letters
        AppendNumber(bytes, count);
    }
    bytes += std::string(6, '\0');  // the one zone: no offset, no summer time, the first letters
    bytes += std::string("UTC\0", 4);
    AppendNumber(bytes, leapSecond);
    AppendNumber(bytes, 1);
    return bytes;
}

TEST_F(LocalDateTimeTest, ALeapSecondIsSecond60) {
#ifndef __GLIBC__
    GTEST_SKIP() << "this C library knows no leap seconds";
#endif
    WriteFile(File("zone"), TimeZoneWithLeapSecond(1483228800));
    const EnvironmentValue zone("TZ", (":" + File("zone")).c_str());
    {
        const FixedClock clock(1483228799, 0);
        EXPECT_EQ(Now(), "12/31/2016 23:59:59");
    }
    {
        const FixedClock clock(1483228800, 0);
        EXPECT_EQ(Now(), "12/31/2016 23:59:60");
    }
    const FixedClock clock(1483228801, 0);
    EXPECT_EQ(Now(), "01/01/2017 00:00:00");
}

TEST_F(LocalDateTimeTest, NoFileIsOpenedNoLockTakenAndNothingLogged) {
    const CallWatch opened(Call::kOpen);
    const CallWatch locked(Call::kSemop);
    (void)Now();
    EXPECT_EQ(opened.Count(), 0);
    EXPECT_EQ(locked.Count(), 0);
    EXPECT_EQ(NewLogText(), "");
}

TEST_F(LocalDateTimeTest, TheMomentThatTheThreadsOfAProcessShareIsLeftAlone) {
    // localtime gives all threads the same result to look at.
    const std::time_t moment = kLaterMoment;
    const struct tm* shared = std::localtime(&moment);
    const FixedClock clock(kMoment, 0);
    EXPECT_EQ(Now(), "03/07/2024 09:05:31");
    EXPECT_EQ(shared->tm_year, 125);
    EXPECT_EQ(shared->tm_mday, 1);
    EXPECT_EQ(shared->tm_sec, 7);
}

}  // namespace
