#include "src/foundation/trunk_database.h"

#include <cstdio>
#include <stdexcept>

#include "tests/fixture/device_fixture.h"

using namespace raiklaik;

namespace {

class TrunkDatabaseTest : public DeviceFixture {
  protected:
    ValueBuffer Buffer() { return {m_buffer.m_data, m_buffer.m_capacity}; }

  private:
    LocalBuffer m_buffer;
};

TEST_F(TrunkDatabaseTest, AMissingFileIsCreatedOnlyByTheModeThatSaysSo) {
    EXPECT_THROW(TrunkDatabase(OpenMode::kReadOnly, Buffer()), std::exception);
    EXPECT_THROW(TrunkDatabase(OpenMode::kChange, Buffer()), std::exception);
    EXPECT_EQ(EntriesOf(File("telephony")), std::vector<std::string>());
    TrunkDatabase created(OpenMode::kChangeOrCreate, Buffer());
    EXPECT_FALSE(created.NextSection());
    EXPECT_EQ(DatabaseText(), "");
}

TEST_F(TrunkDatabaseTest, ADatabaseOpenedToReadRefusesChanges) {
    WriteDatabase(kOffice);
    TrunkDatabase trunks(OpenMode::kReadOnly, Buffer());
    ASSERT_TRUE(trunks.NextSection());
    EXPECT_THROW(trunks.Set("trunk_name", "other"), std::logic_error);
    EXPECT_THROW(trunks.Erase("trunk_name"), std::logic_error);
    EXPECT_THROW(trunks.Save(), std::logic_error);
}

TEST_F(TrunkDatabaseTest, TheSyntaxIsThatOfSectionsEntriesAndComments) {
    WriteDatabase("# x\nsection {\n#a=b\nc=d=e\n}\n");
    TrunkDatabase trunks(OpenMode::kChange, Buffer());
    ASSERT_TRUE(trunks.NextSection());
    EXPECT_EQ(trunks.Get("c"), "d=e");
    EXPECT_FALSE(trunks.Read("#a"));
    EXPECT_FALSE(trunks.NextSection());
    trunks.AppendSection();
    trunks.AddEntry("f", "g");
    trunks.Save();
    EXPECT_EQ(DatabaseText(), "# x\nsection {\n#a=b\nc=d=e\n}\nsection {\nf=g\n}\n");
}

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
        EXPECT_EQ(text.data()[text.size()], '\0') << name;
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

TEST_F(TrunkDatabaseTest, FindingATrunkToAMasterPassesTheOtherKinds) {
    WriteDatabase(
        "section {\ntrunk_name=a\ntrunk_type=0\nn=0\n}\n"
        "section {\ntrunk_name=a\nn=1\n}\n"
        "section {\ntrunk_type=1\nn=2\n}\n"
        "section {\ntrunk_type=1\ntrunk_name=b\nn=3\n}\n"
        "section {\ntrunk_type=1\ntrunk_name=a\nn=4\n}\n"
        "section {\ntrunk_type=1\ntrunk_name=a\nn=5\n}\n");
    TrunkDatabase trunks(OpenMode::kReadOnly, Buffer());
    ASSERT_TRUE(trunks.FindTrunkToMaster("a"));
    EXPECT_EQ(trunks.Get("n"), "4");
    ASSERT_TRUE(trunks.FindTrunkToMaster("a"));
    EXPECT_EQ(trunks.Get("n"), "5");
    EXPECT_FALSE(trunks.FindTrunkToMaster("a"));
}

TEST_F(TrunkDatabaseTest, TextsAreStoredUpToTheirFirstNul) {
    WriteDatabase("section {\n}\n");
    TrunkDatabase trunks(OpenMode::kChange, Buffer());
    ASSERT_TRUE(trunks.NextSection());
    EXPECT_TRUE(trunks.Set("a", std::string("x\0y", 3)));
    EXPECT_TRUE(trunks.Set("b", "z"));
    trunks.Save();
    EXPECT_EQ(DatabaseText(), "section {\na=x\nb=z\n}\n");
}

TEST_F(TrunkDatabaseTest, SectionsAreAddedAtBothEndsAndDeleted) {
    WriteDatabase("section {\nn=1\n}\nsection {\nn=2\n}\n");
    TrunkDatabase trunks(OpenMode::kChange, Buffer());
    ASSERT_TRUE(trunks.NextSection());
    trunks.DeleteSection();
    ASSERT_TRUE(trunks.NextSection());
    EXPECT_EQ(trunks.Get("n"), "2");
    trunks.AppendSection();
    trunks.AddEntry("n", "3");
    trunks.InsertFirstSection();
    trunks.AddEntry("n", "0");
    trunks.Save();
    EXPECT_EQ(DatabaseText(), "section {\nn=0\n}\nsection {\nn=2\n}\nsection {\nn=3\n}\n");
}

TEST_F(TrunkDatabaseTest, EntriesAreFoundFromTheFirstOnWhateverWasReadOrErasedBefore) {
    WriteDatabase("section {\na=1\nb=2\nc=3\n}\n");
    TrunkDatabase trunks(OpenMode::kChange, Buffer());
    ASSERT_TRUE(trunks.NextSection());
    EXPECT_EQ(trunks.Get("c"), "3");
    EXPECT_EQ(trunks.Get("a"), "1");
    trunks.Erase("b");
    trunks.Erase("b");
    trunks.RestartSection();
    EXPECT_EQ(trunks.Get("a"), "1");
    EXPECT_EQ(trunks.Get("b"), "");
    EXPECT_EQ(trunks.Get("c"), "3");
}

}  // namespace
