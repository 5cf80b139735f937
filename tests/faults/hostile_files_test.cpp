#include <sys/stat.h>

#include <list>
#include <optional>

#include "tests/fixture/device_fixture.h"
#include "tests/fixture/operation_table.h"
#include "tests/fixture/reference_file.h"

// Databases that no operation has written: cut, torn, flipped, huge. Each operation does exactly
// what a plain reading of the file asks for, or answers false with one ERROR line and leaves the
// file as it is.

namespace {

using Base = CSIPTrunkBase;

constexpr const char* kUser = "branch-user";
const Base::STRegistrationParam kSlave = {kUser, "", "10.0.0.3", "5063"};

class HostileFiles : public DeviceFixture {
  protected:
    // One operation that changes and one that reads, on this text.
    void Check(const std::string& text) {
        WriteDatabase(text);
        const std::optional<ReferenceFile> file = ReferenceFile::Parse(text);
        CheckList(file);
        EXPECT_EQ(DatabaseText(), text);
        CheckUnregistration(file, text);
    }

    // A large text is not shown when it differs.
    void ExpectDatabase(const std::string& text) const {
        EXPECT_TRUE(DatabaseText() == text) << (text.size() < 4096 ? DatabaseText() : "");
    }

    void CheckLog(bool isWellFormed) {
        const std::string log = TakeLog();
        const std::string error = "ERROR: " + DatabasePath() + ":";
        EXPECT_EQ(log.find("ERROR") == std::string::npos, isWellFormed) << log;
        EXPECT_EQ(log.find(error) == std::string::npos, isWellFormed) << log;
        EXPECT_EQ(log.rfind("ERROR"), log.find("ERROR")) << log;
    }

  private:
    // Empties the log, so that thousands of checks need not go through it.
    std::string TakeLog() const {
        std::string log = ReadFile(File("log"));
        WriteFile(File("log"), "");
        return log;
    }

    void CheckList(const std::optional<ReferenceFile>& file) {
        std::list<Base::STTrunkState> states;
        EXPECT_EQ(config.GetSIPTrunksState(states, "2"), file.has_value());
        std::list<std::string> expected;
        for (std::size_t section = 0; file && section < file->SectionCount(); ++section) {
            const std::string name = file->Read(section, "trunk_name");
            if (!name.empty()) {
                expected.push_back(name);
            }
        }
        std::list<std::string> names;
        for (const Base::STTrunkState& state : states) {
            names.push_back(state.trunk_name);
        }
        EXPECT_EQ(names, expected);
        CheckLog(file.has_value());
    }

    void CheckUnregistration(std::optional<ReferenceFile> file, const std::string& text) {
        const ino_t before = InodeOf(DatabasePath());
        EXPECT_EQ(config.SetUnregisterParam(kSlave), file.has_value());
        EXPECT_EQ(InodeOf(DatabasePath()) != before, file.has_value());
        const std::optional<std::size_t> section =
            file ? file->Find("user_name", kUser) : std::nullopt;
        if (section) {
            for (const char* key :
                 {"slave_ip", "slave_port", "registration_date", "registration_time"}) {
                file->Delete(*section, key);
            }
        }
        ExpectDatabase(file ? file->Text() : text);
        CheckLog(file.has_value());
    }
};

}  // namespace

TEST_F(HostileFiles, CutAtEachByte) {
    const std::string& whole = kOperationDatabase;
    for (std::size_t size = 0; !HasFailure() && size <= whole.size(); ++size) {
        SCOPED_TRACE(size);
        Check(whole.substr(0, size));
    }
}

TEST_F(HostileFiles, WithEachBitOfEachByteFlipped) {
    for (std::size_t place = 0; place < kOperationDatabase.size(); ++place) {
        for (unsigned bit = 0; !HasFailure() && bit < 8; ++bit) {
            SCOPED_TRACE(std::to_string(place) + ", bit " + std::to_string(bit));
            std::string text = kOperationDatabase;
            text[place] = static_cast<char>(static_cast<unsigned char>(text[place]) ^ (1U << bit));
            Check(text);
        }
    }
}

TEST_F(HostileFiles, WithEachByteReplacedByOneThatMeansSomething) {
    for (std::size_t place = 0; place < kOperationDatabase.size(); ++place) {
        for (const char byte : {'\0', '\n', '\r', '\t', ' ', '#', '=', '{', '}'}) {
            if (HasFailure()) {
                return;
            }
            SCOPED_TRACE(std::to_string(place) + ", byte " + std::to_string(byte));
            std::string text = kOperationDatabase;
            text[place] = byte;
            Check(text);
        }
    }
}

TEST_F(HostileFiles, WithAByteMoreOrLessAtEachPlace) {
    for (std::size_t place = 0; place < kOperationDatabase.size(); ++place) {
        for (const char* more : {"", "\n", "\r", " ", "#", "=", "}", "}\n", "section {\n"}) {
            if (HasFailure()) {
                return;
            }
            SCOPED_TRACE(std::to_string(place) + ", more: " + more);
            std::string text = kOperationDatabase;
            text.replace(place, *more == '\0' ? 1 : 0, more);
            Check(text);
        }
    }
}

TEST_F(HostileFiles, WithTheLineEndsOfAnotherSystem) {
    std::string text = kOperationDatabase;
    for (std::size_t place = 0; (place = text.find('\n', place)) != std::string::npos; place += 2) {
        text.insert(place, "\r");
    }
    Check(text);
}

TEST_F(HostileFiles, OfZerosAsALostWriteLeavesThem) {
    for (const std::size_t size : {1U, 512U, 4096U, 1U << 20U}) {
        Check(std::string(size, '\0'));
        Check(kOperationDatabase + std::string(size, '\0'));
    }
}

TEST_F(HostileFiles, WithLinesOfAMebibyte) {
    const std::string megabyte(1U << 20U, 'x');
    const std::string trunk = "section {\ntrunk_name=a\nuser_name=branch-user\nslave_ip=1\n";
    Check(trunk + "password=" + megabyte + "\n}\n");
    Check(trunk + megabyte + "=1\n}\n");
    Check(trunk + "# " + megabyte + "\n}\n#" + megabyte);
    Check(std::string(1U << 20U, ' ') + trunk + std::string(1U << 20U, '\t') + "}\n");
    Check(trunk + megabyte + "\n}\n");
    Check("section {\ntrunk_name=" + megabyte + "\n}\n");
}

TEST_F(HostileFiles, WithAHundredThousandSections) {
    constexpr unsigned kSections = 100000;
    std::string before;
    for (unsigned section = 0; section < kSections; ++section) {
        before += "section {\ntrunk_name=" + std::to_string(section) + "\n}\n";
    }
    WriteDatabase(before + "section {\nuser_name=branch-user\nslave_ip=1\n}\n");
    EXPECT_TRUE(config.SetUnregisterParam(kSlave));
    ExpectDatabase(before + "section {\nuser_name=branch-user\n}\n");
    std::list<Base::STTrunkState> states;
    EXPECT_TRUE(config.GetSIPTrunksState(states, "2"));
    ASSERT_EQ(states.size(), kSections);
    EXPECT_EQ(states.back().trunk_name, std::to_string(kSections - 1));
}

TEST_F(HostileFiles, OfSixtyFourMebibytes) {
    std::string before;
    const std::string comment = "# " + std::string(1020, 'c') + "\n";
    before.reserve((64U << 20U) + comment.size());
    while (before.size() < 64U << 20U) {
        before += comment;
    }
    WriteDatabase(before + "section {\nuser_name=branch-user\nslave_ip=1\n}\n");
    EXPECT_TRUE(config.SetUnregisterParam(kSlave));
    ExpectDatabase(before + "section {\nuser_name=branch-user\n}\n");
}

TEST_F(HostileFiles, ThatAreMalformedAreSavedOverByNoOperation) {
    const std::string text = kOperationDatabase + "section {\n";
    WriteDatabase(text);
    for (const Operation& operation : Operations()) {
        if (operation.UsesDatabase()) {
            SCOPED_TRACE(operation.name);
            const ino_t before = InodeOf(DatabasePath());
            EXPECT_EQ(operation.call(config), operation.failureToOpen);
            EXPECT_EQ(InodeOf(DatabasePath()), before);
            EXPECT_EQ(DatabaseText(), text);
            CheckLog(false);
        }
    }
}

TEST_F(HostileFiles, OfTheStartKeepWhateverTheyHold) {
    std::string all;
    for (unsigned byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    const std::string megabyte(1U << 20U, '=');
    for (const std::string& text :
         {std::string(), all, all + all, megabyte, std::string("\0\0\n\0", 4),
          std::string("START_SIPTRUNK"), std::string("if [ -f x ]; then\r\n\tSTART=1\r\nfi")}) {
        WriteStartFile(text + "\nSTART_SIPTRUNK=false\n" + text);
        EXPECT_TRUE(config.SaveAgentStatus(true));
        EXPECT_TRUE(config.LoadAgentStatus());
        EXPECT_EQ(StartFileText(), text + "\nSTART_SIPTRUNK=true\n" + text);
    }
}
