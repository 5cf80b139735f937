#include "tools/siptrunkctl/file/compare.h"

#include <nlohmann/json.hpp>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "src/foundation/key_table.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

std::optional<std::string> NameOf(const DatabaseSection& section) {
    const std::string* name = section.Find(key::kTrunkName);
    return name == nullptr ? std::nullopt : std::optional(*name);
}

// The first value of each key of a section.
using Values = std::unordered_map<std::string_view, std::string_view>;

Values ValuesOf(const DatabaseSection* section) {
    Values values;
    for (std::size_t i = 0; section != nullptr && i < section->entries.size(); ++i) {
        values.emplace(section->entries[i].key, section->entries[i].value);
    }
    return values;
}

std::optional<std::string> ValueOf(const Values& values, const std::string& key) {
    const auto found = values.find(key);
    return found == values.end() ? std::nullopt : std::optional<std::string>(found->second);
}

/// The sections of one state by their names.
class Index {
  public:
    explicit Index(const Sections& sections) {
        for (const DatabaseSection& section : sections) {
            const std::string* name = section.Find(key::kTrunkName);
            if (name != nullptr) {
                m_trunks.emplace(*name, &section);
            } else if (m_switches == nullptr) {
                m_switches = &section;
            }
        }
    }

    const DatabaseSection* Counterpart(const DatabaseSection& section) const {
        const std::string* name = section.Find(key::kTrunkName);
        if (name == nullptr) {
            return m_switches;
        }
        const auto found = m_trunks.find(*name);
        return found == m_trunks.end() ? nullptr : found->second;
    }

  private:
    std::unordered_map<std::string_view, const DatabaseSection*> m_trunks;
    const DatabaseSection* m_switches = nullptr;
};

// Of the switches, what they are counts also when they come or go.
void AppendKeys(std::vector<Change>& changes, const DatabaseSection* old,
                const DatabaseSection* section) {
    const Values before = ValuesOf(old);
    const Values after = ValuesOf(section);
    std::unordered_set<std::string_view> told;
    for (const DatabaseSection* side : {old, section}) {
        if (side == nullptr) {
            continue;
        }
        for (const DatabaseEntry& entry : side->entries) {
            if (!told.insert(entry.key).second) {
                continue;
            }
            Change change{"changed", NameOf(*side), entry.key, ValueOf(before, entry.key),
                          ValueOf(after, entry.key)};
            if (change.before != change.after) {
                changes.push_back(std::move(change));
            }
        }
    }
}

std::string Shown(const std::optional<std::string>& value, bool isHidden) {
    return !value ? "none" : isHidden ? "(hidden)" : Quoted(*value);
}

}  // namespace

std::vector<Change> Compare(const Sections& before, const Sections& after) {
    const Index old(before);
    const Index now(after);
    std::vector<Change> changes;
    for (const DatabaseSection& section : before) {
        if (old.Counterpart(section) == &section && now.Counterpart(section) == nullptr) {
            if (NameOf(section)) {
                changes.push_back({"deleted", NameOf(section), "", {}, {}});
            } else {
                AppendKeys(changes, &section, nullptr);
            }
        }
    }
    for (const DatabaseSection& section : after) {
        if (now.Counterpart(section) != &section) {
            continue;
        }
        const DatabaseSection* counterpart = old.Counterpart(section);
        if (counterpart == nullptr && NameOf(section)) {
            changes.push_back({"added", NameOf(section), "", {}, {}});
        } else {
            AppendKeys(changes, counterpart, &section);
        }
    }
    return changes;
}

std::string ChangeText(const Change& change, bool secrets) {
    const bool isHidden = IsSecret(change.key) && !secrets;
    std::string text = change.what;
    text += change.name ? " trunk " + Quoted(*change.name) : " the agents' switches";
    if (!change.key.empty()) {
        text += ": " + Printable(change.key) + " " + Shown(change.before, isHidden) + " -> " +
                Shown(change.after, isHidden);
    }
    return text;
}

Record ChangeRecord(const Change& change) {
    Record record = {{"change", std::string(change.what)},
                     {"name", TextIf(change.name.has_value(), change.name.value_or(""))}};
    if (!change.key.empty()) {
        const auto value = [&](const std::optional<std::string>& text) {
            return !text ? Value() : IsSecret(change.key) ? Value(Secret{*text}) : Value(*text);
        };
        record.push_back({"key", change.key});
        record.push_back({"old", value(change.before)});
        record.push_back({"new", value(change.after)});
    }
    return record;
}

Json ToJson(const std::vector<Change>& changes, bool secrets) {
    Json list = Json::array();
    for (const Change& change : changes) {
        list.push_back(ToJson(ChangeRecord(change), secrets));
    }
    return list;
}
