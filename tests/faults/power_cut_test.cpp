#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <optional>

#include "tests/faults/crash_states.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/operation_table.h"

// A power cut at any moment of a save leaves the old file or the new one; once the operation has
// answered, the new one. What each operation does to the disk is recorded, and all states that a
// file system may show after a cut are gone through.

namespace {

constexpr mode_t kMode = 0640;

struct Verdict {
    std::size_t states = 0;
    std::size_t bad = 0;
    std::string firstBad;
};

struct stat StatusOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status;
}

class PowerCut : public DeviceFixture {
  protected:
    void FillFile(const std::string& path, const std::string& text) {
        m_path = path;
        WriteFile(path, text);
        EXPECT_EQ(chmod(path.c_str(), kMode), 0);
        const struct stat status = StatusOf(path);
        m_before.entries[Target()] = status.st_ino;
        m_before.files[status.st_ino] = {text, kMode, status.st_uid, status.st_gid, {}};
    }

    void LeaveMissing(const std::string& path) { m_path = path; }

    // Makes the change, and takes note of what it does to the disk.
    template <typename Change>
    void Record(const Change& change) {
        const FixedClock stopped(kMoment);
        CSIPTrunkConfig withoutLog(nullptr);
        const DisturbedCalls calls;
        change(withoutLog);
        m_effects = calls.Effects();
    }

    Verdict Judge(const std::vector<DiskEffect>& effects) const {
        const std::string text = ReadFile(m_path);
        Verdict verdict;
        verdict.states = VisitCrashStates(m_before, effects, [&](const Disk& disk, bool isOver) {
            if (!IsRight(disk, isOver, text)) {
                const Disk::File* file = disk.Find(Target());
                verdict.firstBad =
                    verdict.bad++ == 0 && file != nullptr ? file->bytes : verdict.firstBad;
            }
        });
        return verdict;
    }

    std::vector<DiskEffect> Effects() const { return m_effects; }
    // Without the syncs of the file, or those of its folder.
    std::vector<DiskEffect> EffectsWithoutSync(bool ofFolder) const {
        std::vector<DiskEffect> rest = m_effects;
        const ino_t folder = Target().first;
        rest.erase(std::remove_if(rest.begin(), rest.end(),
                                  [&](const DiskEffect& effect) {
                                      return effect.kind == DiskEffect::Kind::kSync &&
                                             (effect.inode == folder) == ofFolder;
                                  }),
                   rest.end());
        return rest;
    }

  private:
    Disk::Entry Target() const {
        const std::size_t slash = m_path.rfind('/');
        return {StatusOf(m_path.substr(0, slash)).st_ino, m_path.substr(slash + 1)};
    }

    bool IsRight(const Disk& disk, bool isOver, const std::string& newText) const {
        const Disk::File* old = m_before.Find(Target());
        const Disk::File* file = disk.Find(Target());
        if (file == nullptr) {
            return old == nullptr && !isOver;
        }
        const bool isNew = file->bytes == newText;
        const bool isOld = file->bytes == (old != nullptr ? old->bytes : "");
        const bool isKept = old == nullptr ? file->mode == 0600
                                           : file->mode == old->mode && file->user == old->user &&
                                                 file->group == old->group;
        return isKept && (isNew || (isOld && !isOver));
    }

    std::string m_path;
    Disk m_before;
    std::vector<DiskEffect> m_effects;
};

void Report(const std::string& name, const Verdict& verdict) {
    std::cout << name << ": " << verdict.states << " states, " << verdict.bad << " bad"
              << std::endl;
}

void SaveInPlace(const std::string& path, const std::string& text) {
    const int file = open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    EXPECT_EQ(write(file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    EXPECT_EQ(fsync(file), 0);
    EXPECT_EQ(close(file), 0);
}

}  // namespace

TEST_F(PowerCut, LeavesTheOldFileOrTheNewOneInEachSavingOperation) {
    for (const Operation& operation : Operations()) {
        if (!operation.Saves()) {
            continue;
        }
        SCOPED_TRACE(operation.name);
        if (operation.UsesDatabase()) {
            FillFile(DatabasePath(), kOperationDatabase);
        } else {
            FillFile(StartFilePath(), kOperationStartFile);
        }
        Record([&](CSIPTrunkConfig& service) {
            EXPECT_EQ(operation.call(service), operation.answer);
        });
        const Verdict verdict = Judge(Effects());
        Report(operation.name, verdict);
        EXPECT_EQ(verdict.bad, 0U) << verdict.firstBad;
    }
}

TEST_F(PowerCut, LeavesNoFileAnEmptyOneOrTheNewOneWhereThereWasNone) {
    for (const Operation& operation : Operations()) {
        if (!operation.Creates()) {
            continue;
        }
        SCOPED_TRACE(operation.name);
        (void)unlink(DatabasePath().c_str());
        LeaveMissing(DatabasePath());
        Record([&](CSIPTrunkConfig& service) {
            EXPECT_EQ(operation.call(service), operation.answer);
        });
        const Verdict verdict = Judge(Effects());
        Report(operation.name, verdict);
        EXPECT_EQ(verdict.bad, 0U) << verdict.firstBad;
    }
}

TEST_F(PowerCut, LeavesTheOldFileOrTheNewOneAmongLeftoversOfKilledProcesses) {
    WriteFile(File("telephony/.siptrunkdb.~aB3dE"), "section {\n");
    FillFile(DatabasePath(), kOperationDatabase);
    Record([](CSIPTrunkConfig& service) { EXPECT_TRUE(service.SetUnregisterStateToTrunks()); });
    EXPECT_EQ(Judge(Effects()).bad, 0U);
    EXPECT_EQ(EntriesOf(File("telephony")), std::vector<std::string>{"siptrunkdb"});
}

// The search for bad states is worth something only if it finds them in a worse save.

class WorseSave : public PowerCut {
  protected:
    WorseSave() {
        FillFile(DatabasePath(), kOperationDatabase);
        Record([](CSIPTrunkConfig& service) { EXPECT_TRUE(service.SetUnregisterStateToTrunks()); });
        EXPECT_EQ(Judge(Effects()).bad, 0U);
    }

    void ExpectFoundOut(const std::string& name, const std::vector<DiskEffect>& effects) const {
        const Verdict verdict = Judge(effects);
        Report(name, verdict);
        EXPECT_GT(verdict.bad, 0U);
    }
};

TEST_F(WorseSave, WithoutSyncOfTheFileIsFoundOut) {
    ExpectFoundOut("without sync of the file", EffectsWithoutSync(false));
}

TEST_F(WorseSave, WithoutSyncOfTheFolderIsFoundOut) {
    ExpectFoundOut("without sync of the folder", EffectsWithoutSync(true));
}

TEST_F(WorseSave, ThatSyncsTheFileAfterTheRenameIsFoundOut) {
    std::vector<DiskEffect> effects = Effects();
    const auto rename = std::find_if(effects.begin(), effects.end(), [](const DiskEffect& effect) {
        return effect.kind == DiskEffect::Kind::kRename;
    });
    ASSERT_EQ(std::prev(rename)->kind, DiskEffect::Kind::kSync);
    std::iter_swap(rename, std::prev(rename));
    ExpectFoundOut("sync of the file after the rename", effects);
}

TEST_F(WorseSave, ThatLosesTheModeIsFoundOut) {
    std::vector<DiskEffect> effects = Effects();
    effects.erase(std::remove_if(effects.begin(), effects.end(),
                                 [](const DiskEffect& effect) {
                                     return effect.kind == DiskEffect::Kind::kMode;
                                 }),
                  effects.end());
    ExpectFoundOut("without the mode", effects);
}

TEST_F(WorseSave, InPlaceIsFoundOut) {
    FillFile(DatabasePath(), kOperationDatabase);
    Record([&](CSIPTrunkConfig&) { SaveInPlace(DatabasePath(), "section {\n}\n"); });
    ExpectFoundOut("in place", Effects());
}
