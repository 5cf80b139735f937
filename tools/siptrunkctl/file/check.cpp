#include "tools/siptrunkctl/file/check.h"

#include <arpa/inet.h>

#include <algorithm>
#include <initializer_list>
#include <string_view>
#include <unordered_map>

#include "src/foundation/key_table.h"
#include "tools/siptrunkctl/view/clock.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

const char* DateFault(const std::string& text) {
    return IsoTime(text, "00:00:00") ? nullptr : "is not a date MM/DD/YYYY";
}

const char* TimeFault(const std::string& text) {
    return IsoTime("01/01/2000", text) ? nullptr : "is not a time HH:MM:SS";
}

const char* FlagFault(const std::string& value) {
    return value == "0" || value == "1" ? nullptr : "is neither 0 nor 1";
}

const char* TypeFault(const std::string& value) {
    return value == type::kToMaster || value == type::kForSlave
               ? nullptr
               : "is neither 1 (to a master) nor 0 (for a slave)";
}

struct KeyForm {
    const char* key;
    const char* (*fault)(const std::string& value);
    bool mayBeEmpty;
};

constexpr KeyForm kKeyForms[] = {{key::kMasterEnabled, FlagFault, false},
                                 {key::kSlaveEnabled, FlagFault, false},
                                 {key::kTrunkType, TypeFault, false},
                                 {key::kRegistrationStatus, FlagFault, false},
                                 {key::kSymNat, FlagFault, false},
                                 {key::kMasterPort, PortFault, false},
                                 {key::kSlavePort, PortFault, true},
                                 {key::kChangedMasterPort, PortFault, true},
                                 {key::kMasterIp, AddressFault, true},
                                 {key::kSlaveIp, AddressFault, true},
                                 {key::kChangedMasterIp, AddressFault, true},
                                 {key::kRegistrationDate, DateFault, true},
                                 {key::kRegistrationTime, TimeFault, true}};

/// Looks at one section after the other, and remembers the names and users.
class Check {
  public:
    explicit Check(const char* unit) : m_again(std::string(" again, first in ") + unit + " ") {}

    void Look(const DatabaseSection& section, bool isFirst) {
        if (isFirst) {
            Require(section, {key::kMasterEnabled, key::kSlaveEnabled}, "first section");
        }
        if (section.Find(key::kTrunkName) != nullptr) {
            const bool isToMaster = section.Get(key::kTrunkType) == type::kToMaster;
            Require(section, {key::kTrunkType, key::kUserName, key::kPassword}, "trunk");
            if (isToMaster) {
                Require(section, {key::kMasterIp, key::kMasterPort, key::kRegistrationStatus},
                        "trunk");
            } else {
                Require(section, {key::kSymNat}, "trunk");
            }
        } else if (!isFirst) {
            Require(section, {key::kTrunkName}, "section");
        }
        Places keys;
        for (const DatabaseEntry& entry : section.entries) {
            // Of a key that occurs twice nobody reads the second value.
            if (IsNew(entry, entry.key, keys, "key ")) {
                LookAtValue(entry);
            }
        }
    }
    std::vector<Problem> Take() { return std::move(m_problems); }

  private:
    using Places = std::unordered_map<std::string_view, std::size_t>;

    void Add(std::size_t line, const std::string& reason) { m_problems.push_back({line, reason}); }

    void Require(const DatabaseSection& section, std::initializer_list<const char*> keys,
                 const char* what) {
        for (const char* key : keys) {
            if (section.Find(key) == nullptr) {
                Add(section.line, std::string(what) + " without \"" + key + "\"");
            }
        }
    }

    bool IsNew(const DatabaseEntry& entry, std::string_view text, Places& known, const char* what) {
        const auto [place, isNew] = known.emplace(text, entry.line);
        if (!isNew) {
            Add(entry.line, what + Quoted(text) + m_again + std::to_string(place->second));
        }
        return isNew;
    }

    void LookAtValue(const DatabaseEntry& entry) {
        const std::string& value = entry.value;
        if (value.size() > kLongestValue) {
            Add(entry.line, "value of " + Quoted(entry.key) + " has " +
                                std::to_string(value.size()) + " bytes, of which only " +
                                std::to_string(kLongestValue) + " are read");
        }
        if (!value.empty() && value.back() == '\r') {
            Add(entry.line, "value of " + Quoted(entry.key) + " ends in a carriage return");
        } else if (const char* fault = FaultOf(entry)) {
            Add(entry.line, entry.key + " " + Quoted(value) + " " + fault);
        }
        const bool isName = entry.key == key::kTrunkName;
        if (isName || entry.key == key::kUserName) {
            const char* what = isName ? "trunk name " : "user name ";
            if (value.empty()) {
                Add(entry.line, std::string(what) + "is empty");
            } else {
                (void)IsNew(entry, value, isName ? m_names : m_users, what);
            }
        }
    }

    static const char* FaultOf(const DatabaseEntry& entry) {
        for (const KeyForm& known : kKeyForms) {
            if (entry.key == known.key && !(known.mayBeEmpty && entry.value.empty())) {
                return known.fault(entry.value);
            }
        }
        return nullptr;
    }

    std::string m_again;
    std::vector<Problem> m_problems;
    Places m_names;
    Places m_users;
};

}  // namespace

const char* PortFault(const std::string& text) {
    const bool isNumber = !text.empty() && text.size() <= 5 && text.front() != '0' &&
                          text.find_first_not_of("0123456789") == std::string::npos;
    return isNumber && std::stoi(text) <= 65535 ? nullptr : "is not a port (1 to 65535)";
}

const char* AddressFault(const std::string& text) {
    if (text.find_first_of(" \t") != std::string::npos) {
        return "holds a blank";
    }
    const bool isNumeric =
        !text.empty() && text.find_first_not_of("0123456789.") == std::string::npos;
    struct in_addr address {};
    return isNumeric && inet_pton(AF_INET, text.c_str(), &address) != 1 ? "is not an IP address"
                                                                        : nullptr;
}

std::vector<Problem> FindProblems(const Database& database, const char* unit) {
    Check check(unit);
    for (const DatabaseSection& section : database.sections) {
        check.Look(section, &section == &database.sections.front());
    }
    return check.Take();
}

std::vector<Problem> AllProblems(const Database& database) {
    std::vector<Problem> problems = FindProblems(database, "line");
    problems.insert(problems.begin(), database.problems.begin(), database.problems.end());
    std::stable_sort(problems.begin(), problems.end(),
                     [](const Problem& a, const Problem& b) { return a.line < b.line; });
    return problems;
}
