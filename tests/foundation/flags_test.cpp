#include "src/foundation/flags.h"

#include <gtest/gtest.h>

using namespace raiklaik;

namespace {

TEST(FlagsTest, EachOfTheThreeWaysToReadAFlagJudgesOtherTextsInItsOwnWay) {
    const struct {
        const char* text;
        bool beginsWithOne;
        bool isExactlyOne;
        bool isNonZeroNumber;
    } cases[] = {
        {"1", true, true, true},      {"0", false, false, false},  {"", false, false, false},
        {"10", true, false, true},    {"1x", true, false, true},   {" 1", false, false, true},
        {"1 ", true, false, true},    {"01", false, false, true},  {"007", false, false, true},
        {"2", false, false, true},    {"-1", false, false, true},  {"+1", false, false, true},
        {"00", false, false, false},  {"-0", false, false, false}, {"true", false, false, false},
        {"0x1", false, false, false}, {"x1", false, false, false}, {"- 1", false, false, false},
    };
    for (const auto& flag : cases) {
        SCOPED_TRACE(flag.text);
        EXPECT_EQ(flag::BeginsWithOne(flag.text), flag.beginsWithOne);
        EXPECT_EQ(flag::IsExactlyOne(flag.text), flag.isExactlyOne);
        EXPECT_EQ(flag::IsNonZeroNumber(flag.text), flag.isNonZeroNumber);
    }
}

TEST(FlagsTest, ANumberTooLargeIsNotZero) {
    EXPECT_TRUE(flag::IsNonZeroNumber("99999999999999999999999999"));
    EXPECT_TRUE(flag::IsNonZeroNumber("-99999999999999999999999999"));
}

TEST(FlagsTest, AFlagIsStoredAsOneOrZero) {
    EXPECT_STREQ(flag::Text(true), "1");
    EXPECT_STREQ(flag::Text(false), "0");
}

}  // namespace
