// simdjson, on demand: a JSON array of objects. It reads only, and validates only what it is asked
// for; a store writes the text with the stretch of one object replaced.

#include <simdjson.h>

#include <algorithm>
#include <stdexcept>

#include "bench/contestant.h"
#include "bench/files.h"

using namespace raiklaik;

namespace {

namespace ondemand = simdjson::ondemand;

std::string ObjectText(const Entries& entries) {
    std::string text = "{";
    for (const auto& [key, value] : entries) {
        text.append(text.size() == 1 ? "\"" : ",\"").append(key).append("\":\"");
        text.append(value).append("\"");
    }
    return text + "}";
}

std::string_view Get(ondemand::object trunk, const char* key) {
    return trunk.find_field_unordered(key).get_string();
}

class Json final : public Contestant {
  public:
    Json(const std::string& folder, int trunks)
        : m_folder(folder), m_path(folder + "/trunks.json") {
        std::string text = "{\"trunks\":[\n";
        for (int i = 0; i < trunks; ++i) {
            text.append(i == 0 ? "" : ",\n").append(ObjectText(TrunkEntries(i)));
        }
        WriteText(m_path, text + "\n]}\n");
    }

    Record Find(const std::string& trunkName) override {
        const BenchLock lock;
        Record record;
        WithTrunk(trunkName, [&](const simdjson::padded_string&, ondemand::object trunk) {
            record = FoundRecord([&](const char* key) { return Get(trunk, key); });
        });
        return record;
    }

    std::list<Record> List() override {
        const BenchLock lock;
        const simdjson::padded_string text = simdjson::padded_string::load(m_path);
        ondemand::parser parser;
        ondemand::document document = parser.iterate(text);
        std::list<Record> records;
        for (ondemand::object trunk : document["trunks"].get_array()) {
            if (Get(trunk, key::kTrunkType) == type::kToMaster) {
                FillListedRecord(records.emplace_back(),
                                 [&](const char* key) { return Get(trunk, key); });
            }
        }
        return records;
    }

    void Store(Record& record) override {
        const BenchLock lock;
        WithTrunk(record.trunk_name, [&](const simdjson::padded_string& text,
                                         ondemand::object trunk) {
            Entries entries = StoredEntries(record);
            for (const char* key : {key::kRegistrationDate, key::kRegistrationTime}) {
                entries.emplace_back(key, Get(trunk, key));
            }
            trunk.reset();
            const std::string_view old = trunk.raw_json();
            std::string changed(text.data(), static_cast<std::size_t>(old.data() - text.data()));
            changed.append(ObjectText(entries));
            const char* rest = old.data() + old.size();
            changed.append(rest, static_cast<std::size_t>(text.data() + text.size() - rest));
            ReplaceDurably(m_folder, m_path, changed);
        });
    }

  private:
    template <typename Work>
    void WithTrunk(const std::string& trunkName, const Work& work) const {
        const simdjson::padded_string text = simdjson::padded_string::load(m_path);
        ondemand::parser parser;
        ondemand::document document = parser.iterate(text);
        for (ondemand::object trunk : document["trunks"].get_array()) {
            if (Get(trunk, key::kTrunkName) == trunkName) {
                work(text, trunk);
                return;
            }
        }
        throw std::runtime_error("no such trunk");
    }

    std::string m_folder;
    std::string m_path;
};

const ContestantKind kJson("simdjson", MakeContestant<Json>);

}  // namespace
