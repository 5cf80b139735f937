#include <cstdio>

#include "include/raiklaik.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/record_values.h"

namespace {

using Switches = CSIPTrunkBase::STAgentStates;

constexpr bool kOn = true;
constexpr bool kOff = false;

const char* const kGetLine = "INFO:SIP Trunk: Get agent states from siptrunkdb...\n";
const char* const kSetLine = "INFO:SIP Trunk: Set agent states to siptrunkdb...\n";

class GetSwitchesTest : public UntouchedDeviceFixture {
  protected:
    // Reads into switches that hold `own`, with the result `expected`.
    Switches Read(const Switches& own, bool expected) {
        Switches switches = own;
        EXPECT_EQ(config.GetSIPTrunkAgentStates(switches), expected);
        EXPECT_EQ(NewLogText(), kGetLine);
        return switches;
    }
};

TEST_F(GetSwitchesTest, EachSwitchComesFromItsOwnKey) {
    WriteDatabase("section {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=0\n}\n");
    EXPECT_EQ(Read({kOff, kOff}, true), (Switches{kOff, kOn}));
    WriteDatabase("section {\nsiptrunk_master_enabled=0\nsiptrunk_slave_enabled=1\n}\n");
    EXPECT_EQ(Read({kOff, kOff}, true), (Switches{kOn, kOff}));
    WriteDatabase("section {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=1\n}\n");
    EXPECT_EQ(Read({kOff, kOff}, true), (Switches{kOn, kOn}));
    WriteDatabase("section {\nsiptrunk_master_enabled=0\nsiptrunk_slave_enabled=0\n}\n");
    EXPECT_EQ(Read({kOff, kOff}, true), (Switches{kOff, kOff}));
}

TEST_F(GetSwitchesTest, ASwitchThatIsOffKeepsTheCallersValue) {
    WriteDatabase("section {\nsiptrunk_master_enabled=0\nsiptrunk_slave_enabled=0\n}\n");
    EXPECT_EQ(Read({kOn, kOff}, true), (Switches{kOn, kOff}));
    EXPECT_EQ(Read({kOff, kOn}, true), (Switches{kOff, kOn}));
    WriteDatabase("section {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=0\n}\n");
    EXPECT_EQ(Read({kOn, kOff}, true), (Switches{kOn, kOn}));
}

TEST_F(GetSwitchesTest, ADatabaseWithoutSectionsGivesTrueAndLeavesTheSwitches) {
    for (const char* text : {"", "# nothing\n"}) {
        WriteDatabase(text);
        EXPECT_EQ(Read({kOff, kOff}, true), (Switches{kOff, kOff}));
        EXPECT_EQ(Read({kOn, kOn}, true), (Switches{kOn, kOn}));
    }
}

TEST_F(GetSwitchesTest, AMissingSwitchGivesFalseAndTheOtherIsReadAllTheSame) {
    WriteDatabase("section {\nsiptrunk_master_enabled=1\n}\n");
    EXPECT_EQ(Read({kOff, kOff}, false), (Switches{kOff, kOn}));
    EXPECT_EQ(Read({kOn, kOff}, false), (Switches{kOn, kOn}));
    WriteDatabase("section {\nsiptrunk_slave_enabled=1\n}\n");
    EXPECT_EQ(Read({kOff, kOff}, false), (Switches{kOn, kOff}));
    WriteDatabase("section {\ntrunk_name=office\n}\n");
    EXPECT_EQ(Read({kOff, kOff}, false), (Switches{kOff, kOff}));
}

TEST_F(GetSwitchesTest, ASwitchIsOnWhenItsTextBeginsWithTheDigitOne) {
    const std::pair<const char*, bool> values[] = {{"1", kOn},     {"1x", kOn},  {"10", kOn},
                                                   {"true", kOff}, {" 1", kOff}, {"", kOff},
                                                   {"01", kOff},   {"2", kOff}};
    for (const auto& [text, isOn] : values) {
        SCOPED_TRACE(text);
        const std::string value = text;
        WriteDatabase("section {\nsiptrunk_master_enabled=" + value +
                      "\nsiptrunk_slave_enabled=0\n}\n");
        EXPECT_EQ(Read({kOff, kOff}, true), (Switches{kOff, isOn}));
        WriteDatabase("section {\nsiptrunk_master_enabled=0\nsiptrunk_slave_enabled=" + value +
                      "\n}\n");
        EXPECT_EQ(Read({kOff, kOff}, true), (Switches{isOn, kOff}));
    }
}

TEST_F(GetSwitchesTest, SwitchesAfterTheFirstSectionAreIgnored) {
    WriteDatabase("section {\ntrunk_name=office\n}\n" +
                  std::string("section {\nsiptrunk_master_enabled=1\n"
                              "siptrunk_slave_enabled=1\n}\n"));
    EXPECT_EQ(Read({kOff, kOff}, false), (Switches{kOff, kOff}));
}

class SetSwitchesTest : public DeviceFixture {
  protected:
    void Set(const Switches& switches) {
        EXPECT_TRUE(Saves([&] { EXPECT_TRUE(config.SetSIPTrunkAgentStates(switches)); }));
        EXPECT_EQ(NewLogText(), kSetLine);
    }
};

const char* const kMasterOn = "section {\nsiptrunk_master_enabled=1\nsiptrunk_slave_enabled=0\n}\n";
const char* const kSlaveOn = "section {\nsiptrunk_master_enabled=0\nsiptrunk_slave_enabled=1\n}\n";

TEST_F(SetSwitchesTest, TheSwitchesOfTheFirstSectionAreSetWhereTheyStand) {
    WriteDatabase("# agents\nsection{\n\tsiptrunk_slave_enabled=x\n# and\n" +
                  std::string("siptrunk_master_enabled=\nown=kept\n}\n") + kOffice);
    Set({kOn, kOff});
    EXPECT_EQ(DatabaseText(), "# agents\nsection{\n\tsiptrunk_slave_enabled=1\n# and\n" +
                                  std::string("siptrunk_master_enabled=0\nown=kept\n}\n") +
                                  kOffice);
    Set({kOff, kOn});
    EXPECT_EQ(DatabaseText(), "# agents\nsection{\n\tsiptrunk_slave_enabled=0\n# and\n" +
                                  std::string("siptrunk_master_enabled=1\nown=kept\n}\n") +
                                  kOffice);
}

TEST_F(SetSwitchesTest, ADatabaseWithoutSectionsGetsOneWithTheMastersSwitchFirst) {
    WriteDatabase("");
    Set({kOn, kOff});
    EXPECT_EQ(DatabaseText(), kSlaveOn);
    WriteDatabase("");
    Set({kOff, kOn});
    EXPECT_EQ(DatabaseText(), kMasterOn);
}

TEST_F(SetSwitchesTest, AMissingDatabaseIsCreated) {
    EXPECT_TRUE(config.SetSIPTrunkAgentStates({kOff, kOn}));
    EXPECT_EQ(DatabaseText(), kMasterOn);
    EXPECT_EQ(ModeOf(DatabasePath()), 0600U);
    EXPECT_EQ(NewLogText(), kSetLine);
}

TEST_F(SetSwitchesTest, AFirstSectionThatLacksASwitchIsKeptAfterANewOne) {
    for (const char* first :
         {"section {\nsiptrunk_master_enabled=1\n}\n", "section {\nsiptrunk_slave_enabled=1\n}\n",
          "section {\n}\n", kOffice}) {
        SCOPED_TRACE(first);
        WriteDatabase(std::string("# top\n") + first + kBranch);
        Set({kOn, kOff});
        EXPECT_EQ(DatabaseText(), std::string("# top\n") + kSlaveOn + first + kBranch);
    }
}

TEST_F(SetSwitchesTest, SwitchesAfterTheFirstSectionAreIgnored) {
    WriteDatabase(std::string(kOffice) + kSlaveOn);
    Set({kOff, kOn});
    EXPECT_EQ(DatabaseText(), std::string(kMasterOn) + kOffice + kSlaveOn);
    Set({kOff, kOff});
    EXPECT_EQ(DatabaseText(),
              Replaced(kMasterOn, "siptrunk_master_enabled=1", "siptrunk_master_enabled=0") +
                  kOffice + kSlaveOn);
}

TEST_F(SetSwitchesTest, WhatIsSetIsRead) {
    for (const Switches& switches :
         {Switches{kOff, kOff}, Switches{kOn, kOff}, Switches{kOff, kOn}, Switches{kOn, kOn}}) {
        ASSERT_TRUE(config.SetSIPTrunkAgentStates(switches));
        Switches read{kOff, kOff};
        EXPECT_TRUE(config.GetSIPTrunkAgentStates(read));
        EXPECT_EQ(read, switches);
    }
}

TEST_F(SetSwitchesTest, AFailedSaveIsReported) {
    WriteDatabase(kMasterOn);
    const FailingCall failing(Call::kOpenat, EROFS);
    EXPECT_FALSE(config.SetSIPTrunkAgentStates({kOn, kOn}));
    EXPECT_EQ(DatabaseText(), kMasterOn);
    EXPECT_EQ(NewLogText(), kSetLine + ("ERROR: " + DatabasePath() +
                                        ": create temporary file: Read-only file system \n"));
}

}  // namespace
