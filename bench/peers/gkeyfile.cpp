// GLib's GKeyFile: a group for each trunk.

#include <glib.h>

#include <memory>
#include <stdexcept>

#include "bench/contestant.h"
#include "bench/files.h"

using namespace raiklaik;

namespace {

struct Release {
    void operator()(GKeyFile* file) const { g_key_file_free(file); }
    void operator()(gchar* text) const { g_free(text); }
    void operator()(gchar** texts) const { g_strfreev(texts); }
};

using Text = std::unique_ptr<gchar, Release>;

std::string Get(GKeyFile* file, const char* group, const char* key) {
    const Text text(g_key_file_get_string(file, group, key, nullptr));
    return text == nullptr ? std::string() : std::string(text.get());
}

class KeyFile final : public Contestant {
  public:
    KeyFile(const std::string& folder, int trunks)
        : m_folder(folder), m_path(folder + "/trunks.ini") {
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
        const auto file = Open(G_KEY_FILE_NONE);
        return FoundRecord(
            [&](const char* key) { return Get(file.get(), trunkName.c_str(), key); });
    }

    std::list<Record> List() override {
        const BenchLock lock;
        const auto file = Open(G_KEY_FILE_NONE);
        const std::unique_ptr<gchar*, Release> groups(g_key_file_get_groups(file.get(), nullptr));
        std::list<Record> records;
        for (gchar** group = groups.get(); *group != nullptr; ++group) {
            if (Get(file.get(), *group, key::kTrunkType) == type::kToMaster) {
                FillListedRecord(records.emplace_back(),
                                 [&](const char* key) { return Get(file.get(), *group, key); });
            }
        }
        return records;
    }

    void Store(Record& record) override {
        const BenchLock lock;
        const auto file = Open(G_KEY_FILE_KEEP_COMMENTS);
        for (const auto& [key, value] : StoredEntries(record)) {
            g_key_file_set_string(file.get(), record.trunk_name.c_str(), key.c_str(),
                                  value.c_str());
        }
        gsize size = 0;
        const Text text(g_key_file_to_data(file.get(), &size, nullptr));
        ReplaceDurably(m_folder, m_path, {text.get(), size});
    }

  private:
    std::unique_ptr<GKeyFile, Release> Open(GKeyFileFlags flags) const {
        std::unique_ptr<GKeyFile, Release> file(g_key_file_new());
        if (g_key_file_load_from_file(file.get(), m_path.c_str(), flags, nullptr) == FALSE) {
            throw std::runtime_error("GKeyFile cannot load");
        }
        return file;
    }

    std::string m_folder;
    std::string m_path;
};

const ContestantKind kKeyFile("GKeyFile", MakeContestant<KeyFile>);

}  // namespace
