// libconfig: a list of groups, one for each trunk.

#include <libconfig.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "bench/contestant.h"
#include "bench/files.h"

using namespace raiklaik;

namespace {

class Configuration {
  public:
    explicit Configuration(const std::string& path) {
        config_init(&m_config);
        if (config_read_file(&m_config, path.c_str()) == CONFIG_FALSE) {
            config_destroy(&m_config);
            throw std::runtime_error("libconfig cannot load");
        }
        m_trunks = config_lookup(&m_config, "trunks");
    }
    ~Configuration() { config_destroy(&m_config); }
    Configuration(const Configuration&) = delete;
    Configuration& operator=(const Configuration&) = delete;

    const config_t& Whole() const { return m_config; }
    // Null behind the last one.
    config_setting_t* Trunk(unsigned int index) const {
        return config_setting_get_elem(m_trunks, index);
    }
    config_setting_t* Named(const std::string& trunkName) const;

  private:
    config_t m_config;
    config_setting_t* m_trunks;
};

const char* Get(const config_setting_t* trunk, const char* key) {
    const char* text = "";
    (void)config_setting_lookup_string(trunk, key, &text);
    return text;
}

config_setting_t* Configuration::Named(const std::string& trunkName) const {
    for (unsigned int i = 0; config_setting_t* trunk = Trunk(i); ++i) {
        if (trunkName == Get(trunk, key::kTrunkName)) {
            return trunk;
        }
    }
    throw std::runtime_error("no such trunk");
}

class LibConfig final : public Contestant {
  public:
    LibConfig(const std::string& folder, int trunks)
        : m_folder(folder), m_path(folder + "/trunks.cfg") {
        std::string text = "trunks = (\n";
        for (int i = 0; i < trunks; ++i) {
            text += i == 0 ? "{\n" : ",\n{\n";
            for (const auto& [key, value] : TrunkEntries(i)) {
                text.append(key).append(" = \"").append(value).append("\";\n");
            }
            text += "}";
        }
        WriteText(m_path, text + ");\n");
    }

    Record Find(const std::string& trunkName) override {
        const BenchLock lock;
        const Configuration file(m_path);
        const config_setting_t* trunk = file.Named(trunkName);
        return FoundRecord([&](const char* key) { return Get(trunk, key); });
    }

    std::list<Record> List() override {
        const BenchLock lock;
        const Configuration file(m_path);
        std::list<Record> records;
        for (unsigned int i = 0; const config_setting_t* trunk = file.Trunk(i); ++i) {
            if (std::string_view(Get(trunk, key::kTrunkType)) == type::kToMaster) {
                FillListedRecord(records.emplace_back(),
                                 [&](const char* key) { return Get(trunk, key); });
            }
        }
        return records;
    }

    void Store(Record& record) override {
        const BenchLock lock;
        const Configuration file(m_path);
        const config_setting_t* trunk = file.Named(record.trunk_name);
        for (const auto& [key, value] : StoredEntries(record)) {
            (void)config_setting_set_string(config_setting_get_member(trunk, key.c_str()),
                                            value.c_str());
        }
        char* text = nullptr;
        std::size_t size = 0;
        std::FILE* stream = open_memstream(&text, &size);
        config_write(&file.Whole(), stream);
        (void)std::fclose(stream);
        ReplaceDurably(m_folder, m_path, {text, size});
        std::free(text);
    }

  private:
    std::string m_folder;
    std::string m_path;
};

const ContestantKind kLibConfig("libconfig", MakeContestant<LibConfig>);

}  // namespace
