#include "tools/siptrunkctl/file/compare.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <unordered_map>

#include "src/foundation/key_table.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

using Text = std::optional<std::string>;

Text NameOf(const DatabaseSection& section) {
    const std::string* name = section.Find(key::kTrunkName);
    return name == nullptr ? std::nullopt : Text(*name);
}

// The sections that count, by their names: no name for the agents' switches.
using Index = std::unordered_map<Text, const DatabaseSection*>;

Index IndexOf(const Sections& sections) {
    Index index;
    for (const DatabaseSection& section : sections) {
        index.emplace(NameOf(section), &section);
    }
    return index;
}

const DatabaseSection* Counterpart(const Index& index, const DatabaseSection& section) {
    const auto found = index.find(NameOf(section));
    return found == index.end() ? nullptr : found->second;
}

bool IsEqual(const DatabaseSection& a, const DatabaseSection& b) {
    return std::equal(a.entries.begin(), a.entries.end(), b.entries.begin(), b.entries.end(),
                      [](const DatabaseEntry& one, const DatabaseEntry& other) {
                          return one.key == other.key && one.value == other.value;
                      });
}

// Appends the keys whose first values differ.
void AppendKeys(std::vector<Change>& changes, const Text& name, const DatabaseSection* old,
                const DatabaseSection* now) {
    std::vector<Change> keys;
    std::unordered_map<std::string_view, std::size_t> places;
    const auto take = [&](const DatabaseSection* section, Text Change::*side) {
        for (std::size_t i = 0; section != nullptr && i < section->entries.size(); ++i) {
            const DatabaseEntry& entry = section->entries[i];
            const auto [place, isNew] = places.emplace(entry.key, keys.size());
            if (isNew) {
                keys.push_back({"changed", name, entry.key, {}, {}});
            }
            Text& value = keys[place->second].*side;
            value = value ? value : entry.value;
        }
    };
    take(old, &Change::before);
    take(now, &Change::after);
    std::copy_if(keys.begin(), keys.end(), std::back_inserter(changes),
                 [](const Change& change) { return change.before != change.after; });
}

std::string Shown(const Text& value, bool isHidden) {
    return !value ? "none" : isHidden ? "(hidden)" : Quoted(*value);
}

}  // namespace

std::vector<Change> Compare(const Sections& before, const Sections& after) {
    const Index old = IndexOf(before);
    const Index now = IndexOf(after);
    std::vector<Change> changes;
    // The switches are always there, as it were: what comes or goes are their keys.
    const auto append = [&](const char* what, const DatabaseSection& section,
                            const DatabaseSection* from, const DatabaseSection* to) {
        const Text name = NameOf(section);
        if (name && (from == nullptr || to == nullptr)) {
            changes.push_back({what, name, "", {}, {}});
        } else if (from == nullptr || to == nullptr || !IsEqual(*from, *to)) {
            AppendKeys(changes, name, from, to);
        }
    };
    for (const DatabaseSection& section : before) {
        if (Counterpart(old, section) == &section && Counterpart(now, section) == nullptr) {
            append("deleted", section, &section, nullptr);
        }
    }
    for (const DatabaseSection& section : after) {
        if (Counterpart(now, section) == &section) {
            append("added", section, Counterpart(old, section), &section);
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
    const auto value = [&](const Text& text) {
        return ValueOf(change.key, text ? &*text : nullptr);
    };
    Record record = {{"change", std::string(change.what)},
                     {"name", TextIf(change.name.has_value(), change.name.value_or(""))}};
    if (!change.key.empty()) {
        record.push_back({"key", change.key});
        record.push_back({"old", value(change.before)});
        record.push_back({"new", value(change.after)});
    }
    return record;
}
