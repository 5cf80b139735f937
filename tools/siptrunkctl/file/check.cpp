#include "tools/siptrunkctl/file/check.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "src/foundation/key_table.h"
#include "tools/siptrunkctl/file/values.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

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

constexpr const char* kKeysOfAll[] = {key::kTrunkType, key::kUserName, key::kPassword};
constexpr const char* kKeysToMaster[] = {key::kMasterIp, key::kMasterPort,
                                         key::kRegistrationStatus};
constexpr const char* kKeysForSlave[] = {key::kSymNat};

class Check {
  public:
    Check(const Database& database, const char* unit)
        : m_database(database), m_again(std::string(" again, first in ") + unit + " ") {}

    std::vector<Problem> Run() {
        for (const DatabaseSection& section : m_database.sections) {
            const bool isFirst = &section == &m_database.sections.front();
            if (isFirst) {
                CheckSwitches(section);
            }
            if (!isFirst || section.Find(key::kTrunkName) != nullptr) {
                CheckTrunk(section);
            }
            Places keys;
            for (const DatabaseEntry& entry : section.entries) {
                CheckEntry(entry, keys);
            }
        }
        return std::move(m_problems);
    }

  private:
    using Places = std::unordered_map<std::string_view, std::size_t>;

    void Add(std::size_t line, std::string reason) {
        m_problems.push_back({line, std::move(reason)});
    }

    void CheckSwitches(const DatabaseSection& section) {
        for (const char* key : {key::kMasterEnabled, key::kSlaveEnabled}) {
            if (section.Find(key) == nullptr) {
                Add(section.line, std::string("first section without \"") + key + "\"");
            }
        }
    }

    void RequireKey(const DatabaseSection& section, const char* key) {
        if (section.Find(key) == nullptr) {
            Add(section.line, std::string("trunk without \"") + key + "\"");
        }
    }

    void CheckTrunk(const DatabaseSection& section) {
        if (section.Find(key::kTrunkName) == nullptr) {
            Add(section.line, std::string("section without \"") + key::kTrunkName + "\"");
            return;
        }
        for (const char* key : kKeysOfAll) {
            RequireKey(section, key);
        }
        if (section.Get(key::kTrunkType) == type::kToMaster) {
            for (const char* key : kKeysToMaster) {
                RequireKey(section, key);
            }
        } else {
            for (const char* key : kKeysForSlave) {
                RequireKey(section, key);
            }
        }
    }

    void CheckEntry(const DatabaseEntry& entry, Places& keys) {
        const auto [first, isNew] = keys.emplace(entry.key, entry.line);
        if (!isNew) {
            Add(entry.line, "key " + Quoted(entry.key) + m_again + std::to_string(first->second));
            return;  // nobody reads it
        }
        CheckValueOf(entry);
        if (entry.key == key::kTrunkName) {
            CheckUnique(entry, m_names, "trunk name ");
        } else if (entry.key == key::kUserName) {
            CheckUnique(entry, m_users, "user name ");
        }
    }

    void CheckValueOf(const DatabaseEntry& entry) {
        if (entry.value.size() > kLongestValue) {
            Add(entry.line, "value of " + Quoted(entry.key) + " has " +
                                std::to_string(entry.value.size()) + " bytes, of which only " +
                                std::to_string(kLongestValue) + " are read");
        }
        if (!entry.value.empty() && entry.value.back() == '\r') {
            Add(entry.line, "value of " + Quoted(entry.key) + " ends in a carriage return");
            return;
        }
        for (const KeyForm& known : kKeyForms) {
            const char* fault = entry.key == known.key && !(known.mayBeEmpty && entry.value.empty())
                                    ? known.fault(entry.value)
                                    : nullptr;
            if (fault != nullptr) {
                Add(entry.line, entry.key + " " + Quoted(entry.value) + " " + fault);
            }
        }
    }

    void CheckUnique(const DatabaseEntry& entry, Places& known, const char* what) {
        if (entry.value.empty()) {
            Add(entry.line, std::string(what) + "is empty");
            return;
        }
        const auto [place, isNew] = known.emplace(entry.value, entry.line);
        if (!isNew) {
            Add(entry.line, what + Quoted(entry.value) + m_again + std::to_string(place->second));
        }
    }

    const Database& m_database;
    std::string m_again;
    std::vector<Problem> m_problems;
    Places m_names;
    Places m_users;
};

}  // namespace

std::vector<Problem> FindProblems(const Database& database, const char* unit) {
    return Check(database, unit).Run();
}

std::vector<Problem> AllProblems(const Database& database) {
    std::vector<Problem> problems = FindProblems(database, "line");
    problems.insert(problems.begin(), database.problems.begin(), database.problems.end());
    std::stable_sort(problems.begin(), problems.end(),
                     [](const Problem& a, const Problem& b) { return a.line < b.line; });
    return problems;
}
