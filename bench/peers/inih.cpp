// inih: a section for each trunk. It reads only; a store writes what it reads, with the changes.

#include <ini.h>

#include <cstring>
#include <functional>
#include <stdexcept>

#include "bench/contestant.h"
#include "bench/files.h"

using namespace raiklaik;

namespace {

using Handler = std::function<void(const char* section, const char* key, const char* value)>;

void Parse(const std::string& path, const Handler& handler) {
    const auto call = [](void* user, const char* section, const char* key, const char* value) {
        (*static_cast<const Handler*>(user))(section, key, value);
        return 1;
    };
    if (ini_parse(path.c_str(), call, const_cast<Handler*>(&handler)) != 0) {
        throw std::runtime_error("inih cannot load");
    }
}

std::string Get(const Entries& entries, const char* key) {
    for (const auto& entry : entries) {
        if (entry.first == key) {
            return entry.second;
        }
    }
    return {};
}

class Inih final : public Contestant {
  public:
    Inih(const std::string& folder, int trunks) : m_folder(folder), m_path(folder + "/trunks.ini") {
        std::string text;
        for (int i = 0; i < trunks; ++i) {
            text.append("[").append(TrunkName(i)).append("]\n");
            for (const auto& [key, value] : TrunkEntries(i)) {
                text.append(key).append("=").append(value).append("\n");
            }
        }
        WriteText(m_path, text);
    }

    Record Find(const std::string& trunkName) override {
        const BenchLock lock;
        Entries found;
        Parse(m_path, [&](const char* section, const char* key, const char* value) {
            if (trunkName == section) {
                found.emplace_back(key, value);
            }
        });
        return FoundRecord([&](const char* key) { return Get(found, key); });
    }

    std::list<Record> List() override {
        const BenchLock lock;
        std::list<Record> records;
        std::string current;
        Entries entries;
        const auto leaveSection = [&] {
            if (Get(entries, key::kTrunkType) == type::kToMaster) {
                FillListedRecord(records.emplace_back(),
                                 [&](const char* key) { return Get(entries, key); });
            }
            entries.clear();
        };
        Parse(m_path, [&](const char* section, const char* key, const char* value) {
            if (current != section) {
                leaveSection();
                current = section;
            }
            entries.emplace_back(key, value);
        });
        leaveSection();
        return records;
    }

    void Store(Record& record) override {
        const BenchLock lock;
        const Entries changes = StoredEntries(record);
        std::string text;
        std::string current;
        Parse(m_path, [&](const char* section, const char* key, const char* value) {
            if (current != section) {
                text.append("[").append(section).append("]\n");
                current = section;
            }
            const std::string changed =
                record.trunk_name == section ? Get(changes, key) : std::string();
            text.append(key).append("=").append(changed.empty() ? value : changed).append("\n");
        });
        ReplaceDurably(m_folder, m_path, text);
    }

  private:
    std::string m_folder;
    std::string m_path;
};

const ContestantKind kInih("inih", MakeContestant<Inih>);

}  // namespace
