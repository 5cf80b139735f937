#include "src/foundation/paths.h"

#include <gtest/gtest.h>

#include "tests/fixture/device_fixture.h"

using namespace raiklaik;

namespace {

TEST(PathsTest, TheFilesLieBelowTheBaseDirectoryOfTheEnvironment) {
    const EnvironmentValue base("QORV_PATH", "/somewhere/");
    EXPECT_EQ(DatabasePath(), "/somewhere/telephony/siptrunkdb");
    EXPECT_EQ(StartFilePath(), "/somewhere/sysconfig/rc.conf");
}

TEST(PathsTest, WithoutItTheBaseDirectoryIsTheDefault) {
    const EnvironmentValue base("QORV_PATH", nullptr);
    EXPECT_EQ(DatabasePath(), "/etc/qorv-conf/telephony/siptrunkdb");
    EXPECT_EQ(StartFilePath(), "/etc/qorv-conf/sysconfig/rc.conf");
}

TEST(PathsTest, TheBaseDirectoryIsUsedAsItStands) {
    {
        const EnvironmentValue base("QORV_PATH", "/somewhere");
        EXPECT_EQ(DatabasePath(), "/somewheretelephony/siptrunkdb");
        EXPECT_EQ(StartFilePath(), "/somewheresysconfig/rc.conf");
    }
    const EnvironmentValue base("QORV_PATH", "");
    EXPECT_EQ(DatabasePath(), "telephony/siptrunkdb");
    EXPECT_EQ(StartFilePath(), "sysconfig/rc.conf");
}

TEST(PathsTest, TheEnvironmentIsReadAtEachCall) {
    const EnvironmentValue first("QORV_PATH", "/first/");
    EXPECT_EQ(DatabasePath(), "/first/telephony/siptrunkdb");
    const EnvironmentValue second("QORV_PATH", "/second/");
    EXPECT_EQ(DatabasePath(), "/second/telephony/siptrunkdb");
    EXPECT_EQ(StartFilePath(), "/second/sysconfig/rc.conf");
}

}  // namespace
