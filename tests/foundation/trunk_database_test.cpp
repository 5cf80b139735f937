#include "src/foundation/trunk_database.h"

#include "tests/fixture/device_fixture.h"

using namespace raiklaik;

namespace {

class TrunkDatabaseTest : public DeviceFixture {
  protected:
    ValueBuffer Buffer() { return {m_buffer.m_data, m_buffer.m_capacity}; }

  private:
    LocalBuffer m_buffer;
};

TEST_F(TrunkDatabaseTest, ReadingTellsWhetherAKeyIsThereAndLeavesItsTextOrTheEmptyOne) {
    WriteDatabase("section {\nthere=x\nempty=\n}\n");
    TrunkDatabase trunks(OpenMode::kReadOnly, Buffer());
    ASSERT_TRUE(trunks.NextSection());
    EXPECT_TRUE(trunks.Read("there"));
    EXPECT_EQ(trunks.Text(), "x");
    EXPECT_FALSE(trunks.Read("absent"));
    EXPECT_EQ(trunks.Text(), "");
    EXPECT_EQ(trunks.Get("there"), "x");
    EXPECT_TRUE(trunks.Read("empty"));
    EXPECT_EQ(trunks.Text(), "");
    EXPECT_EQ(trunks.Get("absent"), "");
}

TEST_F(TrunkDatabaseTest, AfterATextThatWasReadStandsANul) {
    WriteDatabase("section {\nlong=" + std::string(2000, 'x') + "\nshort=y\n}\n");
    TrunkDatabase trunks(OpenMode::kReadOnly, Buffer());
    ASSERT_TRUE(trunks.NextSection());
    for (const char* name : {"long", "short", "absent"}) {
        const std::string_view text = trunks.Get(name);
        EXPECT_EQ(*(text.data() + text.size()), '\0') << name;
    }
}

TEST_F(TrunkDatabaseTest, IsAsksForAKeyThatIsThereWithExactlyThisText) {
    WriteDatabase("section {\nthere=x\nempty=\n}\n");
    TrunkDatabase trunks(OpenMode::kReadOnly, Buffer());
    ASSERT_TRUE(trunks.NextSection());
    EXPECT_TRUE(trunks.Is("there", "x"));
    EXPECT_FALSE(trunks.Is("there", "xy"));
    EXPECT_FALSE(trunks.Is("there", ""));
    EXPECT_TRUE(trunks.Is("empty", ""));
    EXPECT_FALSE(trunks.Is("absent", ""));
}

TEST_F(TrunkDatabaseTest, FindingByNameGoesOnFromSectionToSection) {
    WriteDatabase(
        "section {\ntrunk_type=1\n}\n"
        "section {\ntrunk_name=a\nn=1\n}\n"
        "section {\ntrunk_name=b\n}\n"
        "section {\ntrunk_name=a\nn=2\n}\n");
    TrunkDatabase trunks(OpenMode::kReadOnly, Buffer());
    ASSERT_TRUE(trunks.FindByName("a"));
    EXPECT_EQ(trunks.Text(), "a");
    EXPECT_EQ(trunks.Get("n"), "1");
    ASSERT_TRUE(trunks.FindByName("a"));
    EXPECT_EQ(trunks.Get("n"), "2");
    EXPECT_FALSE(trunks.FindByName("a"));
}

}  // namespace
