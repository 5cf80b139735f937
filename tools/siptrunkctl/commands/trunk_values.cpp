#include "tools/siptrunkctl/commands/trunk_values.h"

#include "src/foundation/key_table.h"
#include "tools/siptrunkctl/file/values.h"
#include "tools/siptrunkctl/view/failure.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

enum class Value { kType, kUser, kIp, kPort, kRegistration, kSymNat, kName, kPassword };

struct KeyName {
    const char* name;
    Value value;
};

// The tool's own words and, for those who know the file, the database's keys.
constexpr KeyName kKeyNames[] = {{"type", Value::kType},
                                 {key::kTrunkType, Value::kType},
                                 {"user", Value::kUser},
                                 {key::kUserName, Value::kUser},
                                 {"ip", Value::kIp},
                                 {"remote_ip", Value::kIp},
                                 {key::kMasterIp, Value::kIp},
                                 {key::kSlaveIp, Value::kIp},
                                 {"port", Value::kPort},
                                 {"remote_port", Value::kPort},
                                 {key::kMasterPort, Value::kPort},
                                 {key::kSlavePort, Value::kPort},
                                 {"registration", Value::kRegistration},
                                 {key::kRegistrationStatus, Value::kRegistration},
                                 {key::kSymNat, Value::kSymNat},
                                 {"name", Value::kName},
                                 {key::kTrunkName, Value::kName},
                                 {key::kPassword, Value::kPassword},
                                 {key::kChangedPassword, Value::kPassword}};

Value ReadKey(const std::string& key) {
    std::vector<std::string> names;
    for (const KeyName& known : kKeyNames) {
        if (key == known.name) {
            return known.value;
        }
        names.emplace_back(known.name);
    }
    const std::string meant = DidYouMean(key, names);
    throw UsageFailure(
        "unknown key " + Quoted(key) +
        (meant.empty() ? "; the keys are type, user, ip, port, registration, sym_nat" : meant));
}

std::string ReadType(const std::string& value) {
    if (value == "master" || value == type::kToMaster) {
        return type::kToMaster;
    }
    if (value == "slave" || value == type::kForSlave) {
        return type::kForSlave;
    }
    throw UsageFailure("type=: " + Quoted(value) + " is neither master nor slave");
}

template <typename Stored>
void Put(std::optional<Stored>& place, const std::string& key, Stored value) {
    if (place) {
        throw UsageFailure(key + "= is given twice");
    }
    place = std::move(value);
}

std::string ReadText(const std::string& key, const std::string& value) {
    CheckValue(key + "=", value);
    return value;
}

void ReadValue(TrunkValues& values, const std::string& key, const std::string& value) {
    switch (ReadKey(key)) {
        case Value::kType:
            return Put(values.type, key, ReadType(value));
        case Value::kUser:
            return Put(values.user, key, ReadText(key, value));
        case Value::kIp:
            CheckAddress(key + "=", value);
            return Put(values.ip, key, value);
        case Value::kPort:
            CheckPort(key + "=", value);
            return Put(values.port, key, value);
        case Value::kRegistration:
            return Put(values.registration, key, ReadSwitch(key + "=", value));
        case Value::kSymNat:
            return Put(values.symNat, key, ReadSwitch(key + "=", value));
        case Value::kName:
            throw UsageFailure(key + "=: the name stands before the keys; \"rename\" changes it");
        case Value::kPassword:
            throw UsageFailure(key +
                               "=: a password is not taken from the command line, where others see "
                               "it; use --password-file or --ask-password");
    }
}

void ApplyToMaster(const TrunkValues& values, Trunk& trunk, bool wasToMaster) {
    if (values.symNat) {
        throw UsageFailure("sym_nat=: only trunks for a slave have it");
    }
    if (!wasToMaster && (!values.ip || !values.port)) {
        throw UsageFailure("a trunk to a master needs ip= and port=");
    }
    trunk.remote_ip = values.ip.value_or(trunk.remote_ip);
    trunk.remote_port = values.port.value_or(trunk.remote_port);
    trunk.registration_status = values.registration.value_or(trunk.registration_status);
}

void ApplyForSlave(const TrunkValues& values, Trunk& trunk) {
    if (values.registration) {
        throw UsageFailure("registration=: only trunks to a master have it");
    }
    if (values.ip || values.port) {
        throw UsageFailure(
            "ip= and port=: a trunk for a slave gets its address when the slave registers; use "
            "\"slave register\" or \"slave move\"");
    }
    trunk.sym_nat = values.symNat.value_or(trunk.sym_nat);
}

}  // namespace

bool ReadSwitch(const std::string& what, const std::string& value) {
    if (value == "on" || value == "1") {
        return true;
    }
    if (value == "off" || value == "0") {
        return false;
    }
    throw UsageFailure(what + ": " + Quoted(value) + " is neither on nor off");
}

void CheckValue(const std::string& what, const std::string& value) {
    if (value.empty()) {
        throw UsageFailure(what + ": it is empty");
    }
    if (value.find('\n') != std::string::npos) {
        throw UsageFailure(what + ": it holds a line feed, which the database cannot store");
    }
    if (value.size() > kLongestValue) {
        throw UsageFailure(what + ": it has " + std::to_string(value.size()) + " bytes; at most " +
                           std::to_string(kLongestValue) + " can be read back");
    }
}

void CheckPort(const std::string& what, const std::string& value) {
    if (const char* fault = PortFault(value)) {
        throw UsageFailure(what + ": " + Quoted(value) + " " + fault);
    }
}

void CheckAddress(const std::string& what, const std::string& value) {
    CheckValue(what, value);
    if (const char* fault = AddressFault(value)) {
        throw UsageFailure(what + ": " + Quoted(value) + " " + fault);
    }
}

std::vector<Candidate> TrunkValueCandidates() {
    return {{"type=master", "this device registers there"},
            {"type=slave", "a slave registers at this device"},
            {"user=", "account"},
            {"ip=", "the master's address"},
            {"port=", "the master's port"},
            {"registration=on", "keep it registered"},
            {"registration=off", ""},
            {"sym_nat=on", "the slave is behind a symmetric NAT"},
            {"sym_nat=off", ""}};
}

TrunkValues ReadTrunkValues(const std::vector<std::string>& words) {
    TrunkValues values;
    for (const std::string& word : words) {
        const std::size_t separator = word.find('=');
        if (separator == std::string::npos) {
            throw UsageFailure(Quoted(word) +
                               " is not KEY=VALUE; a name with blanks goes in quotation marks");
        }
        ReadValue(values, word.substr(0, separator), word.substr(separator + 1));
    }
    return values;
}

void ApplyTrunkValues(const TrunkValues& values, Trunk& trunk) {
    const bool isNew = trunk.trunk_type.empty() && trunk.trunk_name.empty();
    if (isNew && (!values.type || !values.user)) {
        throw UsageFailure("a trunk needs type=master or type=slave, and user=");
    }
    const bool wasToMaster = IsToMaster(trunk);
    trunk.trunk_type = values.type.value_or(trunk.trunk_type);
    trunk.user_name = values.user.value_or(trunk.user_name);
    if (IsToMaster(trunk)) {
        ApplyToMaster(values, trunk, wasToMaster);
    } else {
        ApplyForSlave(values, trunk);
    }
}
