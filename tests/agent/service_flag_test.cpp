#include <cstdio>

#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"

namespace {

class ServiceFlagTest : public DeviceFixture {
  protected:
    // Whether the service starts by a start file of this text, which stays as it is.
    bool Load(const std::string& text) {
        WriteStartFile(text);
        const ino_t inode = InodeOf(StartFilePath());
        const bool result = config.LoadAgentStatus();
        EXPECT_EQ(StartFileText(), text);
        EXPECT_EQ(InodeOf(StartFilePath()), inode);
        EXPECT_EQ(NewLogText(), "");
        return result;
    }

    // The start file after storing `flag`.
    std::string Saved(const std::string& text, bool flag) {
        WriteStartFile(text);
        const ino_t inode = InodeOf(StartFilePath());
        EXPECT_TRUE(config.SaveAgentStatus(flag));
        EXPECT_NE(InodeOf(StartFilePath()), inode);
        EXPECT_EQ(NewLogText(), "");
        return StartFileText();
    }
};

TEST_F(ServiceFlagTest, OnlyTheTextTrueStartsTheService) {
    EXPECT_TRUE(Load("START_SIPTRUNK=true\n"));
    EXPECT_TRUE(Load("START_SIPTRUNK=true"));
    for (const char* value : {"false", "", "True", "TRUE", "true ", " true", "1", "yes", "tru",
                              "\"true\"", "true # yes"}) {
        EXPECT_FALSE(Load(std::string("START_SIPTRUNK=") + value + "\n")) << value;
    }
    EXPECT_FALSE(Load("START_SIPTRUNK=true" + std::string(1, '\0') + "false\n"));
}

TEST_F(ServiceFlagTest, ANulDoesNotEndTheValue) {
    for (const char* more : {"", "x", "\r"}) {
        EXPECT_FALSE(Load(std::string("START_SIPTRUNK=true") + '\0' + more + "\n"));
    }
    EXPECT_FALSE(Load(std::string("START_SIPTRUNK=") + '\0' + "true\n"));
}

TEST_F(ServiceFlagTest, AMissingEntryDoesNotStartTheService) {
    for (const char* text : {"", "START_OTHER=true\n", "start_siptrunk=true\n",
                             "#START_SIPTRUNK=true\n", "START_SIPTRUNKS=true\n"}) {
        EXPECT_FALSE(Load(text)) << text;
    }
}

TEST_F(ServiceFlagTest, OfSeveralEntriesTheLastCounts) {
    EXPECT_TRUE(Load("START_SIPTRUNK=false\nSTART_SIPTRUNK=true\n"));
    EXPECT_FALSE(Load("START_SIPTRUNK=true\nSTART_SIPTRUNK=false\n"));
}

TEST_F(ServiceFlagTest, AMissingFileDoesNotStartTheServiceAndIsReported) {
    EXPECT_FALSE(config.LoadAgentStatus());
    EXPECT_EQ(NewLogText(), "ERROR: " + StartFilePath() + ": open: No such file or directory \n");
    EXPECT_EQ(EntriesOf(File("sysconfig")), std::vector<std::string>());
}

TEST_F(ServiceFlagTest, SavingChangesTheEntryAndKeepsAllOtherLines) {
    const std::string before =
        "#!/bin/sh\n"
        "# START_SIPTRUNK=old\n"
        "START_OTHER=true\n"
        "  START_SIPTRUNK=maybe\n"
        "if [ -x /bin/x ]; then /bin/x; fi\n"
        "\n"
        "nonsense";
    EXPECT_EQ(Saved(before, true), Replaced(before, "SIPTRUNK=maybe", "SIPTRUNK=true"));
    EXPECT_EQ(Saved(before, false), Replaced(before, "SIPTRUNK=maybe", "SIPTRUNK=false"));
}

TEST_F(ServiceFlagTest, SavingAddsAMissingEntryAtTheEnd) {
    EXPECT_EQ(Saved("", true), "START_SIPTRUNK=true\n");
    EXPECT_EQ(Saved("START_OTHER=true\n", false), "START_OTHER=true\nSTART_SIPTRUNK=false\n");
    EXPECT_EQ(Saved("START_OTHER=true", true), "START_OTHER=true\nSTART_SIPTRUNK=true\n");
}

TEST_F(ServiceFlagTest, WhatIsSavedIsLoaded) {
    WriteStartFile("");
    EXPECT_TRUE(config.SaveAgentStatus(true));
    EXPECT_TRUE(config.LoadAgentStatus());
    EXPECT_TRUE(config.SaveAgentStatus(false));
    EXPECT_FALSE(config.LoadAgentStatus());
}

TEST_F(ServiceFlagTest, SavingToAMissingFileIsReportedAndCreatesNothing) {
    EXPECT_FALSE(config.SaveAgentStatus(true));
    EXPECT_EQ(NewLogText(), "ERROR: " + StartFilePath() + ": open: No such file or directory \n");
    EXPECT_EQ(EntriesOf(File("sysconfig")), std::vector<std::string>());
}

TEST_F(ServiceFlagTest, TheDatabaseIsNotTouched) {
    WriteStartFile("");
    EXPECT_TRUE(config.SaveAgentStatus(true));
    EXPECT_EQ(EntriesOf(File("telephony")), std::vector<std::string>());
}

}  // namespace
