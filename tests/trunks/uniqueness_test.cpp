#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"

namespace {

class UniquenessTest : public UntouchedDeviceFixture {
  protected:
    int Add(const std::string& newName, const std::string& userName) {
        return config.CheckTrunk("", newName, userName, "op_add");
    }
    int Edit(const std::string& currentName, const std::string& newName,
             const std::string& userName) {
        return config.CheckTrunk(currentName, newName, userName, "op_edit");
    }
};

TEST_F(UniquenessTest, ANewNameAndUserAreFree) {
    WriteDatabase(std::string(kAgents) + kOffice + kBranch);
    EXPECT_EQ(Add("new", "new-user"), 0);
    EXPECT_EQ(NewLogText(), "");
}

TEST_F(UniquenessTest, ATakenNameClashesWhateverTheCurrentName) {
    WriteDatabase(std::string(kAgents) + kOffice + kBranch);
    for (const char* operation :
         {"op_add", "", "op_Edit", "OP_EDIT", "op_edit ", " op_edit", "op_edi", "op_edits"}) {
        SCOPED_TRACE(operation);
        EXPECT_EQ(config.CheckTrunk("branch", "branch", "new-user", operation), 1);
        EXPECT_EQ(config.CheckTrunk("branch", "new", "branch-user", operation), 2);
    }
    EXPECT_EQ(config.CheckTrunk("branch", "branch", "new-user", std::string("op_edit\0", 8)), 1);
}

TEST_F(UniquenessTest, TrunksOfBothKindsShareTheirUserNames) {
    WriteDatabase(std::string(kAgents) + kOffice + kBranch);
    EXPECT_EQ(Add("new", "office-user"), 2);
    EXPECT_EQ(Add("new", "branch-user"), 2);
}

TEST_F(UniquenessTest, AnEditThatKeepsNameAndUserDoesNotClashWithItself) {
    WriteDatabase(std::string(kAgents) + kOffice + kBranch);
    EXPECT_EQ(Edit("office", "office", "office-user"), 0);
    EXPECT_EQ(Edit("branch", "branch", "branch-user"), 0);
    EXPECT_EQ(Edit("branch", "renamed", "branch-user"), 0);
    EXPECT_EQ(Edit("branch", "branch", "renamed-user"), 0);
}

TEST_F(UniquenessTest, AnEditClashesWithAnotherTrunksNameOrUser) {
    WriteDatabase(std::string(kAgents) + kOffice + kBranch);
    EXPECT_EQ(Edit("branch", "office", "branch-user"), 1);
    EXPECT_EQ(Edit("branch", "branch", "office-user"), 2);
    EXPECT_EQ(Edit("office", "branch", "office-user"), 1);
    EXPECT_EQ(Edit("office", "office", "branch-user"), 2);
}

TEST_F(UniquenessTest, AnEditOfANameThatTwoTrunksHaveSkipsBoth) {
    WriteDatabase(
        "section {\ntrunk_name=twin\nuser_name=a\n}\n"
        "section {\ntrunk_name=other\nuser_name=b\n}\n"
        "section {\ntrunk_name=twin\nuser_name=c\n}\n");
    EXPECT_EQ(Edit("twin", "twin", "a"), 0);
    EXPECT_EQ(Edit("twin", "twin", "c"), 0);
    EXPECT_EQ(Edit("twin", "twin", "b"), 2);
}

TEST_F(UniquenessTest, TheFirstSectionThatClashesDecides) {
    WriteDatabase(
        "section {\ntrunk_name=a\nuser_name=x\n}\n"
        "section {\ntrunk_name=b\nuser_name=y\n}\n");
    EXPECT_EQ(Add("b", "x"), 2);
    EXPECT_EQ(Add("a", "y"), 1);
}

TEST_F(UniquenessTest, WithinASectionTheNameIsComparedFirst) {
    WriteDatabase("section {\nuser_name=x\ntrunk_name=a\n}\n");
    EXPECT_EQ(Add("a", "x"), 1);
}

TEST_F(UniquenessTest, NamesAndUsersAreComparedWhole) {
    WriteDatabase("section {\ntrunk_name=office\nuser_name=alice\n}\n");
    for (const char* name : {"Office", "office ", " office", "offic", "alice"}) {
        EXPECT_EQ(Add(name, "new-user"), 0) << name;
    }
    for (const char* user : {"Alice", "alice ", " alice", "alic", "office"}) {
        EXPECT_EQ(Add("new", user), 0) << user;
    }
    EXPECT_EQ(Add(std::string("office\0", 7), std::string("alice\0", 6)), 0);
    EXPECT_EQ(Edit("Office", "office", "new-user"), 1);
    EXPECT_EQ(Edit("office ", "office", "new-user"), 1);
}

TEST_F(UniquenessTest, ADatabaseWithoutSectionsHasNoClash) {
    WriteDatabase("");
    EXPECT_EQ(Add("office", "alice"), 0);
    EXPECT_EQ(Add("", ""), 0);
}

TEST_F(UniquenessTest, ASectionWithoutNameOrUserTakesPartAsIfTheyWereEmpty) {
    WriteDatabase(std::string(kAgents) + kOffice);
    EXPECT_EQ(Add("", "new-user"), 1);
    EXPECT_EQ(Add("new", ""), 2);
    EXPECT_EQ(Add("", ""), 1);
    EXPECT_EQ(Edit("office", "", "new-user"), 1);
    EXPECT_EQ(Edit("office", "new", ""), 2);
    EXPECT_EQ(Edit("", "", ""), 0);
    EXPECT_EQ(Edit("", "new", ""), 0);
}

TEST_F(UniquenessTest, AnEmptyNameThatIsStoredClashesLikeAnyOther) {
    WriteDatabase("section {\ntrunk_name=\nuser_name=alice\n}\n");
    EXPECT_EQ(Add("", "new-user"), 1);
    EXPECT_EQ(Edit("", "", "alice"), 0);
}

TEST_F(UniquenessTest, AFailureIsNoFreeName) {
    WriteDatabase("section {\n");
    EXPECT_EQ(Add("new", "new-user"), 3);
    EXPECT_EQ(NewLogText(), "ERROR: " + DatabasePath() + ":1: section is not closed \n");
}

}  // namespace
