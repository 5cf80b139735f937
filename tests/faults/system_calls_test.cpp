#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <optional>

#include "tests/faults/disturbed_calls.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/operation_table.h"

// Each operation, with each of its system calls going wrong in every way: the first call, the
// second, and so on until a run meets no failure. Whatever happens, the file is the old one or the
// new one, and an operation that answers true has put the new one there.

namespace {

constexpr mode_t kMode = 0640;
constexpr uid_t kUser = 4321;
constexpr gid_t kGroup = 1234;
constexpr unsigned kFewestRuns = 200;  // of each saving operation: 2,500 of all together

std::vector<Fault> AllErrors() {
    std::vector<Fault> faults;
    for (const int error : {EIO, ENOSPC, EACCES, EROFS, EMFILE, ENOMEM}) {
        faults.push_back({Fault::Effect::kError, error});
        faults.push_back({Fault::Effect::kError, error, Fault::kAlways});
    }
    return faults;
}

// What no operation may fail of.
const std::array<Fault, 4> kHarmless = {{{Fault::Effect::kError, EINTR},
                                         {Fault::Effect::kError, EINTR, 3},
                                         {Fault::Effect::kShortTransfer},
                                         {Fault::Effect::kShortTransfer, 0, Fault::kAlways}}};

bool StartsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

std::vector<std::string> LinesWith(const std::string& text, const std::string& part) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        if (line.find(part) != std::string::npos) {
            lines.push_back(line);
        }
        begin = end + 1;
    }
    return lines;
}

// An operation, and how the file is there that it works on.
struct Situation {
    enum class File { kPlain, kBehindLink, kMissing };
    Operation operation;
    File file;
};

void PrintTo(const Situation& situation, std::ostream* stream) {
    *stream << situation.operation.name;
}

// What stands on the disk where the operation works; a missing file has no text.
struct DiskState {
    std::optional<std::string> text;
    struct stat status {};
};

unsigned runsOfAll = 0;

class SystemCalls : public DeviceFixture, public ::testing::WithParamInterface<Situation> {
  public:
    static void TearDownTestSuite() { std::cout << runsOfAll << " runs in all" << std::endl; }

  protected:
    SystemCalls() {
        FillFiles();
        m_old = Look();
        const FixedClock stopped(kMoment);
        EXPECT_EQ(Operate().call(config), Operate().answer);
        m_new = Look().text;
        (void)NewLogText();
    }

    const Operation& Operate() const { return GetParam().operation; }
    bool IsMissing() const { return GetParam().file == Situation::File::kMissing; }
    std::string Path() const { return Operate().UsesDatabase() ? DatabasePath() : StartFilePath(); }

    // Where the file itself is, and its temporary files.
    std::string RealPath() const {
        return GetParam().file == Situation::File::kBehindLink ? File("real") : Path();
    }
    std::string Folder() const { return RealPath().substr(0, RealPath().rfind('/')); }

    // Puts the file there that the operation finds.
    void FillFiles() const {
        (void)unlink(Path().c_str());
        if (IsMissing()) {
            return;
        }
        const std::string real = RealPath();
        (void)unlink(real.c_str());
        WriteFile(real, Operate().UsesDatabase() ? kOperationDatabase : kOperationStartFile);
        if (geteuid() == 0) {
            EXPECT_EQ(chown(real.c_str(), kUser, kGroup), 0);
        }
        EXPECT_EQ(chmod(real.c_str(), kMode), 0);
        if (real != Path()) {
            EXPECT_EQ(symlink("../real", Path().c_str()), 0);
        }
    }

    DiskState Look() const {
        DiskState state;
        if (stat(Path().c_str(), &state.status) == 0) {
            state.text = ReadFile(Path());
        }
        return state;
    }

    std::vector<std::string> Leftovers() const {
        std::vector<std::string> names = EntriesOf(Folder());
        names.erase(std::remove_if(names.begin(), names.end(),
                                   [](const std::string& name) { return name[0] != '.'; }),
                    names.end());
        return names;
    }

    // The file is the old one or the new one, whole, with the old one's owner and mode.
    void CheckFile(bool isNew, bool mayBeOld) const {
        const DiskState now = Look();
        const bool isOld = now.text == m_old.text || (IsMissing() && now.text == "");
        EXPECT_TRUE((isNew && now.text == m_new) || (mayBeOld && isOld))
            << now.text.value_or("(no file)");
        if (m_old.text && now.text) {
            EXPECT_EQ(now.status.st_mode, m_old.status.st_mode);
            EXPECT_EQ(now.status.st_uid, m_old.status.st_uid);
            EXPECT_EQ(now.status.st_gid, m_old.status.st_gid);
        }
        if (IsMissing() && now.text) {
            EXPECT_EQ(now.status.st_mode & 07777U, 0600U);
        }
    }

    // The next operation works, and takes away what a killed or hindered one has left.
    void CheckNextOperation() {
        const DiskState before = Look();
        if (Operate().UsesDatabase()) {
            EXPECT_EQ(config.SetTrunkToMasterInActiveState("no such trunk"),
                      before.text.has_value());
        } else {
            EXPECT_TRUE(config.SaveAgentStatus(before.text == kOperationStartFile));
        }
        EXPECT_EQ(Look().text, before.text);
        if (before.text) {
            EXPECT_EQ(Leftovers(), std::vector<std::string>());
        }
        (void)NewLogText();
    }

    // Runs the operation under the fault. Returns whether it met it.
    bool RunDisturbed(const Fault& fault, bool isHarmless) {
        SCOPED_TRACE(std::string(Operate().name) + ": " + fault.Text());
        FillFiles();
        std::string answer;
        bool isMet = false;
        bool isRemovalHindered = false;
        {
            const FixedClock stopped(kMoment);
            const DisturbedCalls calls(fault);
            answer = Operate().call(config);
            isMet = calls.IsFaultMet();
            isRemovalHindered = calls.HasHinderedRemoval();
            EXPECT_EQ(calls.OpenDescriptors(), 0);
            EXPECT_EQ(calls.LocksHeld(), 0);
        }
        const bool isDone = answer == Operate().answer;
        EXPECT_TRUE(isDone || (!isHarmless && !StartsWith(answer, "true"))) << answer;
        logger.TRACE(3, "the disk works again\n");
        CheckLog(isDone, fault);
        EXPECT_TRUE(isRemovalHindered || Leftovers().empty());
        CheckNextOperation();
        return isMet;
    }

    // A failure has one ERROR line that tells the cause; only the one of the folder's sync may come
    // with the new file, and says so.
    void CheckLog(bool isDone, const Fault& fault) {
        const std::string log = NewLogText();
        const std::vector<std::string> errors = LinesWith(log, "ERROR: ");
        EXPECT_EQ(errors.size(), isDone ? 0U : 1U) << log;
        EXPECT_EQ(LinesWith(log, "-password").size(), 0U) << log;
        if (isDone) {
            CheckFile(true, false);
            return;
        }
        const bool isInPlace =
            !errors.empty() && errors[0].find("the new file is in place") != std::string::npos;
        CheckFile(isInPlace, !isInPlace);
        EXPECT_EQ(LinesWith(log, std::strerror(fault.error)).size(), 1U) << log;
    }

    // Runs the operation in a process that dies at the fault's call. Returns whether it did.
    bool RunKilled(const Fault& fault) {
        SCOPED_TRACE(std::string(Operate().name) + ": " + fault.Text());
        FillFiles();
        const pid_t child = fork();
        if (child == 0) {
            // Without a log: a line cut off by death stays cut off.
            CSIPTrunkConfig own(nullptr);
            const FixedClock stopped(kMoment);
            const DisturbedCalls calls(fault);
            _exit(Operate().call(own) == Operate().answer ? 0 : 1);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        const bool isKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
        EXPECT_TRUE(isKilled || (WIFEXITED(status) && WEXITSTATUS(status) == 0));
        CheckFile(true, isKilled);
        for (const std::string& name : Leftovers()) {
            EXPECT_EQ(ModeOf(Folder() + "/" + name) & ~kMode, 0U);
        }
        CheckNextOperation();
        return isKilled;
    }

    // Returns how many runs it took until one met no failure.
    template <typename Run>
    unsigned UntilUndisturbed(Fault fault, const Run& run) {
        while (!HasFailure() && run(fault)) {
            ++fault.number;
        }
        return fault.number;
    }

    void RunAll() {
        unsigned runs = 0;
        for (const Fault& fault : AllErrors()) {
            runs += UntilUndisturbed(fault, [&](const Fault& f) { return RunDisturbed(f, false); });
        }
        for (const Fault& fault : kHarmless) {
            runs += UntilUndisturbed(fault, [&](const Fault& f) { return RunDisturbed(f, true); });
        }
        runs +=
            UntilUndisturbed({Fault::Effect::kKill}, [&](const Fault& f) { return RunKilled(f); });
        std::cout << Operate().name << ": " << runs << " runs" << std::endl;
        RecordProperty("runs", std::to_string(runs));
        runsOfAll += runs;
        EXPECT_TRUE(HasFailure() || !Operate().Saves() || runs >= kFewestRuns) << runs;
    }

  private:
    DiskState m_old;
    std::optional<std::string> m_new;
};

std::vector<Situation> Situations() {
    std::vector<Situation> situations;
    for (const Operation& operation : Operations()) {
        situations.push_back({operation, Situation::File::kPlain});
        if (operation.Creates()) {
            situations.push_back({operation, Situation::File::kMissing});
        } else if (operation.Saves()) {
            situations.push_back({operation, Situation::File::kBehindLink});
        }
    }
    return situations;
}

std::string NameOf(const ::testing::TestParamInfo<Situation>& info) {
    static const std::array<const char*, 3> kFiles = {"", "BehindALink", "OnAMissingFile"};
    std::string name = info.param.operation.name;
    name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
    return name + kFiles.at(static_cast<std::size_t>(info.param.file));
}

}  // namespace

TEST_P(SystemCalls, LeaveTheOldFileOrTheNewOneHoweverTheyFail) { RunAll(); }

INSTANTIATE_TEST_SUITE_P(Every, SystemCalls, ::testing::ValuesIn(Situations()), NameOf);
