#include "src/foundation/stamp.h"

#include "tests/fixture/device_fixture.h"

using namespace raiklaik;

namespace {

class StampTest : public DeviceFixture {
  protected:
    // Lets `change` work on the one section of the database that holds `entries`, and returns the
    // entries afterwards.
    template <typename Change>
    std::string Changed(const std::string& entries, const Change& change) {
        WriteDatabase("section {\n" + entries + "}\n");
        LocalBuffer buffer;
        TrunkDatabase trunks(OpenMode::kChange, {buffer.m_data, buffer.m_capacity});
        EXPECT_TRUE(trunks.NextSection());
        change(trunks);
        trunks.Save();
        const std::string text = DatabaseText();
        return text.substr(10, text.size() - 12);
    }
};

TEST_F(StampTest, TheDateIsWrittenFirst) {
    const auto write = [](TrunkDatabase& trunks) {
        WriteStamp(trunks, {"09:05:31", "03/07/2024"});
    };
    EXPECT_EQ(Changed("a=b\n", write),
              "a=b\nregistration_date=03/07/2024\nregistration_time=09:05:31\n");
    EXPECT_EQ(Changed("registration_time=x\nregistration_date=y\na=b\n", write),
              "registration_time=09:05:31\nregistration_date=03/07/2024\na=b\n");
}

TEST_F(StampTest, ErasingRemovesBothKeysAndNothingElse) {
    EXPECT_EQ(Changed("registration_time=x\na=b\nregistration_date=y\n", EraseStamp), "a=b\n");
    EXPECT_EQ(Changed("registration_date=y\n", EraseStamp), "");
    EXPECT_EQ(Changed("a=b\n", EraseStamp), "a=b\n");
}

}  // namespace
