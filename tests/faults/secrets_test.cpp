#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/faults/disturbed_calls.h"
#include "tests/fixture/device_fixture.h"
#include "tests/fixture/operation_table.h"

// Passwords stay in the database and in files that nobody else may read.

namespace {

// Sets the mask of the process's new files, and gives it back at the end.
class Umask {
  public:
    explicit Umask(mode_t mask) : m_before(umask(mask)) {}
    ~Umask() { umask(m_before); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

  private:
    mode_t m_before;
};

const mode_t kMasks[] = {0, 022, 077, 0777};

class Secrets : public DeviceFixture {
  protected:
    // Runs the operation and looks at the folder's files after each call that it makes. All have
    // one of the two modes, those that hold something as well as new ones, or less of the first
    // where a mask has taken from it.
    void CheckModesDuring(const Operation& operation, mode_t first, mode_t last) {
        CSIPTrunkConfig withoutLog(nullptr);
        const std::string folder =
            std::filesystem::path(operation.UsesDatabase() ? DatabasePath() : StartFilePath())
                .parent_path();
        const DisturbedCalls calls({}, [&] {
            for (const std::string& name : EntriesOf(folder)) {
                struct stat file {};
                ASSERT_EQ(stat((folder + "/" + name).c_str(), &file), 0);
                const mode_t mode = file.st_mode & 07777U;
                EXPECT_TRUE((mode & ~first) == 0 || mode == last)
                    << name << " has mode " << std::oct << mode;
            }
        });
        EXPECT_EQ(operation.call(withoutLog), operation.answer);
        for (const DiskEffect& effect : calls.Effects()) {
            if (effect.kind == DiskEffect::Kind::kCreate) {
                EXPECT_EQ(effect.mode & ~first, 0U) << effect.name;
            }
        }
    }

    void ExpectNoPasswordIn(const std::string& text) {
        EXPECT_EQ(text.find("-password"), std::string::npos) << text;
    }
};

}  // namespace

TEST_F(Secrets, AreInATemporaryFileOfTheOwnersAloneUntilItHasTheOldFilesMode) {
    for (const mode_t mask : kMasks) {
        for (const mode_t mode : {0600U, 0640U, 0644U, 0400U}) {
            SCOPED_TRACE(std::to_string(mask) + ", " + std::to_string(mode));
            for (const Operation& operation : Operations()) {
                WriteDatabase(kOperationDatabase);
                WriteStartFile(kOperationStartFile);
                ASSERT_EQ(chmod(DatabasePath().c_str(), mode), 0);
                ASSERT_EQ(chmod(StartFilePath().c_str(), mode), 0);
                const Umask masked(mask);
                CheckModesDuring(operation, 0600, mode);
                (void)unlink(DatabasePath().c_str());
                (void)unlink(StartFilePath().c_str());
            }
        }
    }
}

TEST_F(Secrets, AreInANewFileOfTheOwnersAlone) {
    for (const mode_t mask : kMasks) {
        SCOPED_TRACE(mask);
        for (const Operation& operation : Operations()) {
            if (operation.Creates()) {
                const Umask masked(mask);
                CheckModesDuring(operation, 0600, 0600);
                EXPECT_EQ(ModeOf(DatabasePath()), 0600U);
                (void)unlink(DatabasePath().c_str());
            }
        }
    }
}

TEST_F(Secrets, AreNeverLoggedByAnOperation) {
    for (const Operation& operation : Operations()) {
        WriteDatabase(kOperationDatabase);
        WriteStartFile(kOperationStartFile);
        EXPECT_EQ(operation.call(config), operation.answer);
        ExpectNoPasswordIn(NewLogText());
    }
}

TEST_F(Secrets, AreNotToldByTheRefusalOfAValue) {
    WriteDatabase(kOperationDatabase);
    CSIPTrunkBase::STParamsRecord record;
    record.trunk_name = "office";
    record.trunk_type = "1";
    record.password = "new-password\nwith a line feed";
    EXPECT_FALSE(config.SetSIPTrunkParams("office", record, false));
    const std::string log = NewLogText();
    EXPECT_NE(log.find("ERROR: "), std::string::npos);
    ExpectNoPasswordIn(log);
}

TEST_F(Secrets, AreNotToldByTheRefusalOfAFile) {
    const char* const files[] = {"section {\npassword office-password\n}\n",
                                 "password=office-password\n",
                                 "section {\n=office-password\n}\n",
                                 "section {\npassword=office-password\n",
                                 "section {\npassword=office-password\nsection {\n}\n}\n",
                                 "office-password\n",
                                 "section {\npassword=office-password\r\n}\r\n"};
    for (const char* file : files) {
        SCOPED_TRACE(file);
        WriteDatabase(file);
        for (const Operation& operation : Operations()) {
            if (operation.UsesDatabase()) {
                (void)operation.call(config);
                const std::string log = NewLogText();
                EXPECT_NE(log.find("ERROR: " + DatabasePath() + ":"), std::string::npos) << log;
                ExpectNoPasswordIn(log);
            }
        }
    }
}

TEST_F(Secrets, OfTheLogCannotBeForgedByANameFromTheNetwork) {
    WriteDatabase(kOperationDatabase);
    EXPECT_TRUE(config.SetRegisterParam(
        {"x\n12:00:00.000  ERROR: forged \n", "", "\r10.0.0.1", "\x1b[2J5060"}, false));
    EXPECT_EQ(NewLogText(),
              "INFO:SIP Trunk: Set x\\x0a12:00:00.000  ERROR: forged \\x0a@\\x0d10.0.0.1:"
              "\\x1b[2J5060 slave registration params in siptrunkdb... \n");
}
