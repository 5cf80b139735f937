#include "tools/siptrunkctl/commands/trunk_values.h"

#include <algorithm>

#include "src/foundation/key_table.h"
#include "tools/siptrunkctl/file/check.h"
#include "tools/siptrunkctl/view/failure.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

bool IsMaster(const std::string& value) { return value == "master" || value == type::kToMaster; }

void CheckType(const std::string& what, const std::string& value) {
    if (!IsMaster(value) && value != "slave" && value != type::kForSlave) {
        throw UsageFailure(what + ": " + Quoted(value) + " is neither master nor slave");
    }
}

void CheckSwitch(const std::string& what, const std::string& value) {
    (void)ReadSwitch(what, value);
}

[[noreturn]] void RefuseName(const std::string& what, const std::string& /*value*/) {
    throw UsageFailure(what + ": the name stands before the keys; \"rename\" changes it");
}

[[noreturn]] void RefusePassword(const std::string& what, const std::string& /*value*/) {
    throw UsageFailure(what +
                       ": a password is not taken from the command line, where others see it; use "
                       "--password-file or --ask-password");
}

struct Setting {
    std::vector<std::string> names;  ///< the tool's own word first, then the database's keys
    void (*check)(const std::string& what, const std::string& value);
};

const Setting& FindSetting(const std::string& name) {
    static const std::vector<Setting> settings = {
        {{"type", key::kTrunkType}, CheckType},
        {{"user", key::kUserName}, CheckValue},
        {{"ip", key::kMasterIp, key::kSlaveIp}, CheckAddress},
        {{"port", key::kMasterPort, key::kSlavePort}, CheckPort},
        {{"registration", key::kRegistrationStatus}, CheckSwitch},
        {{key::kSymNat}, CheckSwitch},
        {{"name", key::kTrunkName}, RefuseName},
        {{key::kPassword, key::kChangedPassword}, RefusePassword}};
    std::vector<std::string> known;
    for (const Setting& setting : settings) {
        if (std::find(setting.names.begin(), setting.names.end(), name) != setting.names.end()) {
            return setting;
        }
        known.insert(known.end(), setting.names.begin(), setting.names.end());
    }
    const std::string meant = DidYouMean(name, known);
    throw UsageFailure(
        "unknown key " + Quoted(name) +
        (meant.empty() ? "; the keys are type, user, ip, port, registration, sym_nat" : meant));
}

// Says which of the values a trunk of this kind does not have, or lacks.
void CheckKind(const TrunkValues& values, bool isToMaster, bool wasToMaster) {
    const auto has = [&](const char* key) { return values.count(key) != 0; };
    if (isToMaster && has("sym_nat")) {
        throw UsageFailure("sym_nat=: only trunks for a slave have it");
    }
    if (isToMaster && !wasToMaster && (!has("ip") || !has("port"))) {
        throw UsageFailure("a trunk to a master needs ip= and port=");
    }
    if (!isToMaster && has("registration")) {
        throw UsageFailure("registration=: only trunks to a master have it");
    }
    if (!isToMaster && (has("ip") || has("port"))) {
        throw UsageFailure(
            "ip= and port=: a trunk for a slave gets its address when the slave registers; use "
            "\"slave register\" or \"slave move\"");
    }
}

}  // namespace

bool ReadSwitch(const std::string& what, const std::string& value) {
    const bool isOn = value == "on" || value == "1";
    if (!isOn && value != "off" && value != "0") {
        throw UsageFailure(what + ": " + Quoted(value) + " is neither on nor off");
    }
    return isOn;
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

Candidates TrunkValueCandidates() {
    return These({{"type=master", "this device registers there"},
                  {"type=slave", "a slave registers at this device"},
                  {"user=", "account"},
                  {"ip=", "the master's address"},
                  {"port=", "the master's port"},
                  {"registration=on", "keep it registered"},
                  {"registration=off"},
                  {"sym_nat=on", "the slave is behind a symmetric NAT"},
                  {"sym_nat=off"}});
}

TrunkValues ReadTrunkValues(const std::vector<std::string>& words) {
    TrunkValues values;
    for (const std::string& word : words) {
        const std::size_t separator = word.find('=');
        if (separator == std::string::npos) {
            throw UsageFailure(Quoted(word) + " is not KEY=VALUE; " +
                               (word.compare(0, 2, "--") == 0
                                    ? "options stand before the \"--\" that ends them"
                                    : "a name with blanks goes in quotation marks"));
        }
        const std::string what = word.substr(0, separator + 1);
        const std::string value = word.substr(separator + 1);
        const Setting& setting = FindSetting(word.substr(0, separator));
        setting.check(what, value);
        if (!values.emplace(setting.names.front(), value).second) {
            throw UsageFailure(what + " is given twice");
        }
    }
    return values;
}

void ApplyTrunkValues(const TrunkValues& values, Trunk& trunk) {
    const bool isNew = trunk.trunk_type.empty() && trunk.trunk_name.empty();
    if (isNew && (values.count("type") == 0 || values.count("user") == 0)) {
        throw UsageFailure("a trunk needs type=master or type=slave, and user=");
    }
    const bool wasToMaster = IsToMaster(trunk);
    for (const auto& [key, value] : values) {
        if (key == "type") {
            trunk.trunk_type = IsMaster(value) ? type::kToMaster : type::kForSlave;
        } else if (key == "user") {
            trunk.user_name = value;
        } else if (key == "ip") {
            trunk.remote_ip = value;
        } else if (key == "port") {
            trunk.remote_port = value;
        } else {
            (key == "sym_nat" ? trunk.sym_nat : trunk.registration_status) = ReadSwitch(key, value);
        }
    }
    CheckKind(values, IsToMaster(trunk), wasToMaster);
}
