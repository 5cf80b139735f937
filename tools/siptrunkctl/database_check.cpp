#include "tools/siptrunkctl/database_check.h"

#include <algorithm>
#include <cctype>
#include <map>

#include "tools/siptrunkctl/text.h"
#include "tools/siptrunkctl/trunk_values.h"

namespace {

constexpr const char* kMasterSwitch = "siptrunk_master_enabled";
constexpr const char* kSlaveSwitch = "siptrunk_slave_enabled";

enum class Form { kAny, kFlag, kType, kPort, kPortOrEmpty, kDate, kTime };

struct KeyForm {
    const char* key;
    Form form;
};

constexpr KeyForm kKeyForms[] = {
    {kMasterSwitch, Form::kFlag},       {kSlaveSwitch, Form::kFlag},
    {"trunk_type", Form::kType},        {"registration_status", Form::kFlag},
    {"sym_nat", Form::kFlag},           {"master_port", Form::kPort},
    {"slave_port", Form::kPortOrEmpty}, {"changed_master_port", Form::kPortOrEmpty},
    {"registration_date", Form::kDate}, {"registration_time", Form::kTime}};

constexpr const char* kKeysOfAll[] = {"trunk_type", "user_name", "password"};
constexpr const char* kKeysToMaster[] = {"master_ip", "master_port", "registration_status"};
constexpr const char* kKeysForSlave[] = {"sym_nat"};

// A letter of `pattern` is itself, except 9, which is any digit.
bool HasPattern(const std::string& text, std::string_view pattern) {
    return text.size() == pattern.size() &&
           std::equal(text.begin(), text.end(), pattern.begin(), [](char byte, char wanted) {
               return wanted == '9' ? std::isdigit(static_cast<unsigned char>(byte)) != 0
                                    : byte == wanted;
           });
}

// Returns whether the two digits at a place of `text` are a number in these limits.
bool IsWithin(const std::string& text, std::size_t place, int least, int most) {
    const int number = (text[place] - '0') * 10 + text[place + 1] - '0';
    return number >= least && number <= most;
}

bool IsDate(const std::string& text) {
    return HasPattern(text, "99/99/9999") && IsWithin(text, 0, 1, 12) && IsWithin(text, 3, 1, 31);
}

bool IsTime(const std::string& text) {
    return HasPattern(text, "99:99:99") && IsWithin(text, 0, 0, 23) && IsWithin(text, 3, 0, 59) &&
           IsWithin(text, 6, 0, 60);  // a leap second
}

const char* FaultOf(Form form, const std::string& value) {
    const bool isFlag = value == "0" || value == "1";
    switch (form) {
        case Form::kAny:
            return nullptr;
        case Form::kFlag:
            return isFlag ? nullptr : "is neither 0 nor 1";
        case Form::kType:
            return isFlag ? nullptr : "is neither 1 (to a master) nor 0 (for a slave)";
        case Form::kPort:
            return IsPort(value) ? nullptr : "is no port from 1 to 65535";
        case Form::kPortOrEmpty:
            return value.empty() || IsPort(value) ? nullptr : "is no port from 1 to 65535";
        case Form::kDate:
            return value.empty() || IsDate(value) ? nullptr : "is no date MM/DD/YYYY";
        case Form::kTime:
            return value.empty() || IsTime(value) ? nullptr : "is no time HH:MM:SS";
    }
    return nullptr;
}

class Check {
  public:
    Check(const Database& database, const char* unit)
        : m_database(database), m_again(std::string(" again, first in ") + unit + " ") {}

    std::vector<Problem> Run() {
        for (std::size_t i = 0; i < m_database.sections.size(); ++i) {
            const DatabaseSection& section = m_database.sections[i];
            if (i == 0) {
                CheckSwitches(section);
            }
            if (i > 0 || section.Find("trunk_name") != nullptr) {
                CheckTrunk(section);
            }
            for (std::size_t j = 0; j < section.entries.size(); ++j) {
                CheckEntry(section, j);
            }
        }
        return std::move(m_problems);
    }

  private:
    void Add(std::size_t line, std::string reason) {
        m_problems.push_back({line, std::move(reason)});
    }

    void CheckSwitches(const DatabaseSection& section) {
        for (const char* key : {kMasterSwitch, kSlaveSwitch}) {
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
        if (section.Find("trunk_name") == nullptr) {
            Add(section.line, "section without \"trunk_name\"");
            return;
        }
        for (const char* key : kKeysOfAll) {
            RequireKey(section, key);
        }
        const std::string* type = section.Find("trunk_type");
        if (type != nullptr && *type == "1") {
            for (const char* key : kKeysToMaster) {
                RequireKey(section, key);
            }
        } else {
            for (const char* key : kKeysForSlave) {
                RequireKey(section, key);
            }
        }
    }

    void CheckEntry(const DatabaseSection& section, std::size_t place) {
        const DatabaseEntry& entry = section.entries[place];
        const auto isSame = [&](const DatabaseEntry& other) { return other.key == entry.key; };
        const auto first = std::find_if(section.entries.begin(), section.entries.end(), isSame);
        if (&*first != &entry) {
            Add(entry.line, "key " + Quoted(entry.key) + m_again + std::to_string(first->line));
            return;  // nobody reads it
        }
        CheckValueOf(entry);
        if (entry.key == "trunk_name") {
            CheckUnique(entry, m_names, "trunk name ");
        } else if (entry.key == "user_name") {
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
            const char* fault = entry.key == known.key ? FaultOf(known.form, entry.value) : nullptr;
            if (fault != nullptr) {
                Add(entry.line, entry.key + " " + Quoted(entry.value) + " " + fault);
            }
        }
    }

    void CheckUnique(const DatabaseEntry& entry, std::map<std::string, std::size_t>& known,
                     const char* what) {
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
    std::map<std::string, std::size_t> m_names;
    std::map<std::string, std::size_t> m_users;
};

}  // namespace

std::vector<Problem> FindProblems(const Database& database, const char* unit) {
    return Check(database, unit).Run();
}
