#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

#include "tests/below/table.h"

// Runs every operation above stand-ins for the support library, and compares the calls that it
// makes on them, word for word, with those that it has to make.

namespace below {
namespace {

std::vector<Row> AllRows() {
    std::vector<Row> rows = TrunkRows();
    for (const auto& more : {MasterLinkRows(), SlaveRegistrationRows(), AgentRows()}) {
        rows.insert(rows.end(), more.begin(), more.end());
    }
    return rows;
}

std::string LogLine(const std::string& levelAndText) {
    return levelAndText.empty() ? "" : "log(3,<prefix>) log(" + levelAndText + ") Flush ";
}

std::string Progress(const Row& row) {
    return row.progress.empty() ? "" : LogLine("3," + row.progress);
}

bool Holds(const std::string& calls, const std::string& call) {
    return (" " + calls).find(" " + call) != std::string::npos;
}

// How all that `calls` have made is released again, a line being logged on the way. Only the check
// of a trunk releases its file last, once it stands before the first section.
std::string Release(const Row& row, const std::string& calls, const std::string& line) {
    const std::string file = Holds(calls, "database(")     ? "~database "
                             : Holds(calls, "start-file(") ? "~start-file "
                                                           : "";
    const std::string lock = Holds(calls, "Lock ") ? "Unlock " : "";
    const std::string buffer = Holds(calls, "SmartBuffer ") ? "~SmartBuffer " : "";
    const bool isLast = row.name.rfind("CheckTrunk", 0) == 0 && Holds(calls, "Restart ");
    return (isLast ? "" : file) + lock + buffer + line + (isLast ? file : "");
}

void StartRecording(const std::string& sections) {
    Recording() = {};
    std::istringstream rest(sections);
    for (std::string section; std::getline(rest, section, ';');) {
        std::istringstream words(section);
        Entries entries;
        for (std::string word; words >> word;) {
            const std::size_t separator = word.find('=');
            entries[word.substr(0, separator)] = word.substr(separator + 1);
        }
        Recording().startFile = entries;
        Recording().sections.push_back(entries);
    }
}

class SeenFromBelowTest : public ::testing::Test {
  protected:
    ~SeenFromBelowTest() override { Recording() = {}; }

    // Checks the calls and the answer of a row that runs to its end.
    static void ExpectCalls(const Row& row, CSIPTrunkConfig& config, const std::string& progress,
                            const std::string& refused) {
        SCOPED_TRACE(row.name);
        StartRecording(row.sections);
        Recording().refused = refused;
        (void)setenv("QORV_PATH", "/above/", 1);
        EXPECT_EQ(row.call(config), row.answer);
        EXPECT_EQ(Recording().calls, progress + row.calls + Release(row, row.calls, ""));
        Recording().shown = [] { return std::string(); };
    }

    CSIPTrunkLogger m_logger{"trace"};
    CSIPTrunkConfig m_config{&m_logger};
    CSIPTrunkConfig m_silent{nullptr};
};

TEST_F(SeenFromBelowTest, EachOperationMakesTheCallsOfTheTableWithAndWithoutALogger) {
    for (const Row& row : AllRows()) {
        ExpectCalls(row, m_config, Progress(row), row.refused);
        ExpectCalls(row, m_silent, "", row.refused);
    }
}

TEST_F(SeenFromBelowTest, OnlyTheAgentsOperationsAskWhetherAnEntryWasSet) {
    for (const auto& rows : {TrunkRows(), MasterLinkRows(), SlaveRegistrationRows()}) {
        for (const Row& row : rows) {
            ExpectCalls(row, m_silent, "", "*");
        }
    }
}

// Each row is broken off at each of its calls.
TEST_F(SeenFromBelowTest, AFailureReleasesAllThenIsLoggedAndLeavesWhatWasHandedOutBefore) {
    for (const Row& row : AllRows()) {
        for (std::size_t begin = 0; begin < row.calls.size();) {
            const std::size_t end = row.calls.find(' ', begin) + 1;
            const std::string before = row.calls.substr(0, begin);
            const std::string call = row.calls.substr(begin, end - begin);
            begin = end;
            if (call == "* ") {
                continue;
            }
            SCOPED_TRACE(row.name + ", failing at " + before + call);
            const std::string expected = Progress(row) + before + call;
            std::string shown;
            StartRecording(row.sections);
            Recording().onCall = [&](const std::string&) {
                if (Recording().calls == expected) {
                    shown = Recording().shown();
                    throw std::runtime_error("broken");
                }
            };
            const bool isCode = row.name.rfind("CheckTrunk", 0) == 0;
            const std::string answer = row.call(m_config);
            EXPECT_EQ(answer, (isCode ? "3" : "false") + shown);
            EXPECT_EQ(Recording().calls,
                      expected + Release(row, before, LogLine("1,ERROR: broken \n")));
            Recording().shown = [] { return std::string(); };
        }
    }
}

// The calls of an operation on a trunk to a master whose flag is turned over at the call `when`.
std::string CallsWithFlagTurned(bool flag, const std::string& when,
                                const std::function<bool(CSIPTrunkConfig&, const bool&)>& call) {
    StartRecording(kOffice);
    CSIPTrunkConfig config(nullptr);
    const bool before = flag;
    Recording().onCall = [&](const std::string& made) { flag = made == when ? !flag : flag; };
    EXPECT_TRUE(call(config, flag));
    EXPECT_NE(flag, before) << when;
    const std::string calls = Recording().calls;
    Recording() = {};
    return calls;
}

TEST_F(SeenFromBelowTest, RefreshOnlyIsReadOnceAfterTheTrunkWasFound) {
    const auto call = [](CSIPTrunkConfig& config, const bool& refreshOnly) {
        return config.SetRegisterParam({"o1", "", "i", "p"}, refreshOnly);
    };
    for (const char* when : {"Lock", "Next", "user_name?"}) {
        EXPECT_TRUE(Holds(CallsWithFlagTurned(true, when, call), "slave_ip=i slave_port=p "));
        EXPECT_FALSE(Holds(CallsWithFlagTurned(false, when, call), "slave_ip"));
    }
    EXPECT_TRUE(Holds(CallsWithFlagTurned(false, "slave_ip=i", call), "slave_ip=i slave_port=p "));
    EXPECT_FALSE(Holds(CallsWithFlagTurned(true, "registration_date=<date>", call), "slave_"));
}

TEST_F(SeenFromBelowTest, CurrentIsReadOnceAfterTheTrunkWasFound) {
    const auto call = [](CSIPTrunkConfig& config, const bool& current) {
        CSIPTrunkBase::STRegistrationFields fields;
        return config.GetTrunkToMasterParams("office", fields, current);
    };
    for (const char* when : {"Lock", "Next", "trunk_name?"}) {
        EXPECT_FALSE(Holds(CallsWithFlagTurned(false, when, call), "changed_"));
        EXPECT_TRUE(Holds(CallsWithFlagTurned(true, when, call), "changed_"));
    }
    EXPECT_FALSE(Holds(CallsWithFlagTurned(true, "registration_status?", call), "changed_"));
}

TEST_F(SeenFromBelowTest, TheStartFlagIsReadBeforeTheLockIsTaken) {
    const auto call = [](CSIPTrunkConfig& config, const bool& flag) {
        return config.SaveAgentStatus(flag);
    };
    EXPECT_TRUE(Holds(CallsWithFlagTurned(true, "Lock", call), "START_SIPTRUNK=true "));
    EXPECT_TRUE(Holds(CallsWithFlagTurned(false, "Lock", call), "START_SIPTRUNK=false "));
}

TEST_F(SeenFromBelowTest, ALineThatCannotBeMadeIsEndedAndReported) {
    StartRecording("");
    Recording().onCall = [](const std::string& call) {
        if (call == "log(1,broken)") {
            throw std::runtime_error("no memory");
        }
    };
    EXPECT_THROW(m_logger.TRACE(1, "broken"), std::runtime_error);
    EXPECT_EQ(Recording().calls, "log(3,<prefix>) log(1,broken) log(1,\n) ");
}

TEST_F(SeenFromBelowTest, AServiceHasOneHandleOnTheLockAndALoggerOneStream) {
    StartRecording("");
    {
        CSIPTrunkLogger logger("trace");
        logger.TRACE(1, "%s is %d\n", "this", 7);
        EXPECT_EQ(Recording().logFormat, "%s is %d\n");
        const CSIPTrunkConfig config(&logger);
    }
    EXPECT_EQ(Recording().calls, "LogStream(trace,true,true,2147483647,1,2048,false) " +
                                     LogLine("1,this is 7\n") +
                                     "Semaphore(43,/bin/ls) ~Semaphore ~LogStream ");
}

}  // namespace
}  // namespace below
