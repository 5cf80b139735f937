#include <functional>

#include "tests/fixture/device_fixture.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/operation_table.h"
#include "tests/fixture/reference_file.h"

// Every text argument of every operation, with every text that could do harm.

namespace {

using Base = CSIPTrunkBase;

constexpr std::size_t kLongestRead = 1023;

std::vector<std::string> Values() {
    std::vector<std::string> values = {"\n",
                                       "a\nb",
                                       "line\n",
                                       "\nline",
                                       "x\n}\nsection {\ntrunk_name=evil",
                                       "section {",
                                       "section{",
                                       "}",
                                       "{",
                                       "#",
                                       "# comment",
                                       "=",
                                       "==",
                                       "a=b",
                                       " ",
                                       "\t",
                                       " before",
                                       "behind ",
                                       "\r",
                                       "a\r",
                                       "\r\n",
                                       "%n",
                                       "%s%s%s%n",
                                       "%1000000d",
                                       "\\n",
                                       "\x1b[2J",
                                       "../../etc/passwd",
                                       "$(reboot)",
                                       "\xff\xfe",
                                       "\xc3\xa4"};
    for (const std::size_t size : {1022U, 1023U, 1024U, 1025U, 2048U, 5000U}) {
        values.emplace_back(size, 'x');
        values.emplace_back(size, ' ');
    }
    std::string all;
    for (unsigned byte = 1; byte < 256; ++byte) {
        values.emplace_back(1, static_cast<char>(byte));
        if (byte != '\n') {
            all += static_cast<char>(byte);
        }
    }
    values.push_back(all);
    return values;
}

// An argument that is stored.
struct StoredArgument {
    const char* name;
    // Stores the value, and tells in the second file what is to come of it.
    bool (*store)(CSIPTrunkConfig& service, const std::string& value, ReferenceFile& expected);
};

constexpr std::size_t kOffice = 1;
constexpr std::size_t kBranch = 2;

// Rewrites the trunk to a master with one field that holds the value.
bool StoreField(CSIPTrunkConfig& service, ReferenceFile& expected, const char* key,
                std::string Base::STParamsRecord::*field, const std::string& value) {
    Base::STParamsRecord record;
    EXPECT_TRUE(service.GetSIPTrunkParams("office", record));
    record.*field = value;
    expected.Set(kOffice, key, value);
    return service.SetSIPTrunkParams("office", record, false);
}

// Stores a slave's registration, stamped with the time of the tests.
bool StoreAddress(CSIPTrunkConfig& service, ReferenceFile& expected, const std::string& address,
                  const std::string& port) {
    expected.Set(kBranch, "slave_ip", address);
    expected.Set(kBranch, "slave_port", port);
    expected.Set(kBranch, "registration_date", kMomentDate);
    expected.Set(kBranch, "registration_time", kMomentTime);
    return service.SetRegisterParam({"branch-user", "", address, port}, false);
}

const StoredArgument kStored[] = {
    {"trunk_name",
     [](auto& service, const auto& value, auto& expected) {
         return StoreField(service, expected, "trunk_name", &Base::STParamsRecord::trunk_name,
                           value);
     }},
    {"user_name",
     [](auto& service, const auto& value, auto& expected) {
         return StoreField(service, expected, "user_name", &Base::STParamsRecord::user_name, value);
     }},
    {"password",
     [](auto& service, const auto& value, auto& expected) {
         return StoreField(service, expected, "password", &Base::STParamsRecord::password, value);
     }},
    {"remote_ip",
     [](auto& service, const auto& value, auto& expected) {
         return StoreField(service, expected, "master_ip", &Base::STParamsRecord::remote_ip, value);
     }},
    {"remote_port",
     [](auto& service, const auto& value, auto& expected) {
         return StoreField(service, expected, "master_port", &Base::STParamsRecord::remote_port,
                           value);
     }},
    {"trunk_type",
     [](auto& service, const auto& value, auto& expected) {
         if (value != "1") {
             expected.Set(kOffice, "sym_nat", "0");
         }
         return StoreField(service, expected, "trunk_type", &Base::STParamsRecord::trunk_type,
                           value);
     }},
    {"slave_ip", [](auto& service, const auto& value,
                    auto& expected) { return StoreAddress(service, expected, value, "5063"); }},
    {"slave_port",
     [](auto& service, const auto& value, auto& expected) {
         return StoreAddress(service, expected, "10.0.0.3", value);
     }},
};

// An argument that is only looked for, and what the operation answers when it finds nothing.
struct SoughtArgument {
    const char* name;
    bool answer;
    bool (*seek)(CSIPTrunkConfig& service, const std::string& value);
};

const SoughtArgument kSought[] = {
    {"GetSIPTrunkParams", false,
     [](auto& service, const auto& value) {
         Base::STParamsRecord record;
         return service.GetSIPTrunkParams(value, record);
     }},
    {"GetSIPTrunkParams, kind", true,
     [](auto& service, const auto& value) {
         std::list<Base::STParamsRecord> trunks;
         return service.GetSIPTrunkParams(trunks, value + "?", true) && trunks.empty();
     }},
    {"SetSIPTrunkParams", false,
     [](auto& service, const auto& value) {
         Base::STParamsRecord record;
         return service.SetSIPTrunkParams(value, record, true);
     }},
    {"DeleteTrunk", false,
     [](auto& service, const auto& value) {
         bool wasRegistered = false;
         return service.DeleteTrunk(value, true, wasRegistered) || wasRegistered;
     }},
    {"CheckTrunk", true,
     [](auto& service, const auto& value) {
         return service.CheckTrunk(value, value, value, value) == 0 &&
                service.CheckTrunk(value, value, value, "op_edit") == 0;
     }},
    {"GetSIPTrunksState", true,
     [](auto& service, const auto& value) {
         std::list<Base::STTrunkState> states;
         return service.GetSIPTrunksState(states, value + "?") && states.empty();
     }},
    {"GetSIPTrunkState", true,
     [](auto& service, const auto& value) {
         auto activity = Base::TRUNK_ACTIVE;
         return service.GetSIPTrunkState(value, activity) && activity == Base::TRUNK_NOT_FOUND;
     }},
    {"GetStateOfTrunkToMaster", false,
     [](auto& service, const auto& value) { return service.GetStateOfTrunkToMaster(value); }},
    {"SetTrunkToMasterActiveState", true,
     [](auto& service, const auto& value) { return service.SetTrunkToMasterActiveState(value); }},
    {"SetTrunkToMasterInActiveState", true,
     [](auto& service, const auto& value) { return service.SetTrunkToMasterInActiveState(value); }},
    {"GetTrunkToMasterParams", true,
     [](auto& service, const auto& value) {
         Base::STRegistrationFields fields;
         return service.GetTrunkToMasterParams(value, fields, true) && fields.user_name.empty();
     }},
    {"ChangeTrunkToMasterConfig", true,
     [](auto& service, const auto& value) { return service.ChangeTrunkToMasterConfig(value); }},
    {"SetRegisterParam", true,
     [](auto& service, const auto& value) {
         return service.SetRegisterParam({value, value, value, value}, false);
     }},
    {"ChangeRegisterParam", true,
     [](auto& service, const auto& value) {
         return service.ChangeRegisterParam({value, value, value, value},
                                            {value, value, value, value});
     }},
    {"SetUnregisterParam", true,
     [](auto& service, const auto& value) {
         return service.SetUnregisterParam({value, value, value, value});
     }},
};

class HostileValues : public DeviceFixture {
  protected:
    HostileValues() { WriteDatabase(kOperationDatabase); }

    // Nothing that the operations say makes more than one line of it, nor one of its own making.
    // NewLogText finds fault with a line without a time.
    std::string OneLine() {
        const std::string log = NewLogText();
        EXPECT_EQ(log.find('\n'), log.size() - 1) << log;
        return log;
    }
};

}  // namespace

TEST_F(HostileValues, AreStoredWholeOrRefused) {
    CSIPTrunkConfig withoutLog(nullptr);
    for (const StoredArgument& argument : kStored) {
        for (const std::string& value : Values()) {
            SCOPED_TRACE(std::string(argument.name) + ": " + value);
            WriteDatabase(kOperationDatabase);
            std::optional<ReferenceFile> expected = ReferenceFile::Parse(kOperationDatabase);
            const FixedClock stopped(kMoment);
            const bool isStorable = value.find('\n') == std::string::npos;
            EXPECT_EQ(argument.store(config, value, *expected), isStorable);
            EXPECT_EQ(DatabaseText(), isStorable ? expected->Text() : kOperationDatabase);
            const std::string log = NewLogText();
            EXPECT_EQ(log.find("ERROR: ") == std::string::npos, isStorable) << log;
            if (isStorable) {
                std::list<Base::STTrunkState> states;
                EXPECT_TRUE(withoutLog.GetSIPTrunksState(states, "2"));
            }
        }
    }
}

TEST_F(HostileValues, AreReadBackUpToWhatABufferHolds) {
    for (const std::string& value : Values()) {
        if (value.find('\n') != std::string::npos) {
            continue;
        }
        SCOPED_TRACE(value);
        Base::STParamsRecord record;
        record.trunk_name = "office";
        record.trunk_type = "1";
        record.user_name = record.password = record.remote_ip = record.remote_port = value;
        ASSERT_TRUE(config.SetSIPTrunkParams("office", record, false));
        Base::STParamsRecord read;
        ASSERT_TRUE(config.GetSIPTrunkParams("office", read));
        const std::string cut = value.substr(0, kLongestRead);
        EXPECT_EQ(read.user_name, cut);
        EXPECT_EQ(read.password, cut);
        EXPECT_EQ(read.remote_ip, cut);
        EXPECT_EQ(read.remote_port, cut);
        EXPECT_TRUE(config.ChangeTrunkToMasterConfig("office"));
        Base::STRegistrationFields saved;
        EXPECT_TRUE(config.GetTrunkToMasterParams("office", saved, false));
        EXPECT_EQ(saved.password, cut);
    }
}

TEST_F(HostileValues, AreNotFoundAndChangeNothing) {
    for (const SoughtArgument& argument : kSought) {
        for (const std::string& value : Values()) {
            SCOPED_TRACE(std::string(argument.name) + ": " + value);
            EXPECT_EQ(argument.seek(config, value), argument.answer);
            ASSERT_EQ(DatabaseText(), kOperationDatabase);
            const std::string log = NewLogText();
            EXPECT_EQ(log.find("ERROR"), std::string::npos) << log;
        }
    }
}

TEST_F(HostileValues, WithANulAreNotTakenForWhatStandsBeforeIt) {
    const std::string office("office\0x", 8);
    for (const SoughtArgument& argument : kSought) {
        SCOPED_TRACE(argument.name);
        EXPECT_EQ(argument.seek(config, office), argument.answer);
        EXPECT_EQ(argument.seek(config, std::string("branch-user\0", 12)), argument.answer);
        ASSERT_EQ(DatabaseText(), kOperationDatabase);
    }
}

TEST_F(HostileValues, MakeOneLineOfTheLogEach) {
    for (const std::string& value : Values()) {
        SCOPED_TRACE(value);
        EXPECT_TRUE(config.SetTrunkToMasterActiveState(value));
        EXPECT_EQ(OneLine().find("INFO:SIP Trunk: Set active state trunk to master : "), 0U);
        EXPECT_TRUE(config.SetUnregisterParam({value, value, value, value}));
        EXPECT_EQ(OneLine().find("INFO:SIP Trunk: Set "), 0U);
    }
}
