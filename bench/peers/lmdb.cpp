// LMDB: the trunk's name is the key, its lines are the value. Our lock stands for LMDB's own.

#include <lmdb.h>

#include <stdexcept>

#include "bench/contestant.h"
#include "bench/files.h"

using namespace raiklaik;

namespace {

void Check(int result) {
    if (result != MDB_SUCCESS) {
        throw std::runtime_error(mdb_strerror(result));
    }
}

MDB_val ValueOf(std::string_view text) { return {text.size(), const_cast<char*>(text.data())}; }

std::string_view TextOf(const MDB_val& value) {
    return {static_cast<const char*>(value.mv_data), value.mv_size};
}

class Environment {
  public:
    Environment(const std::string& path, unsigned int flags) {
        constexpr std::size_t kLargest = std::size_t{64} << 20U;
        Check(mdb_env_create(&m_environment));
        Check(mdb_env_set_mapsize(m_environment, kLargest));
        Check(mdb_env_open(m_environment, path.c_str(), flags | MDB_NOSUBDIR | MDB_NOLOCK, 0600));
        Check(mdb_txn_begin(m_environment, nullptr, flags, &m_transaction));
        Check(mdb_dbi_open(m_transaction, nullptr, 0, &m_database));
    }
    ~Environment() {
        mdb_txn_abort(m_transaction);
        mdb_env_close(m_environment);
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

    std::string_view Get(std::string_view name) const {
        MDB_val key = ValueOf(name);
        MDB_val value{};
        Check(mdb_get(m_transaction, m_database, &key, &value));
        return TextOf(value);
    }
    void Put(std::string_view name, std::string_view text) {
        MDB_val key = ValueOf(name);
        MDB_val value = ValueOf(text);
        Check(mdb_put(m_transaction, m_database, &key, &value, 0));
    }
    void Commit() {
        MDB_txn* transaction = m_transaction;
        m_transaction = nullptr;
        Check(mdb_txn_commit(transaction));
    }
    template <typename Visit>
    void VisitAll(const Visit& visit) const {
        MDB_cursor* cursor = nullptr;
        Check(mdb_cursor_open(m_transaction, m_database, &cursor));
        MDB_val key{};
        MDB_val value{};
        while (mdb_cursor_get(cursor, &key, &value, MDB_NEXT) == MDB_SUCCESS) {
            visit(TextOf(value));
        }
        mdb_cursor_close(cursor);
    }

  private:
    MDB_env* m_environment = nullptr;
    MDB_txn* m_transaction = nullptr;
    MDB_dbi m_database = 0;
};

std::string Pack(const Entries& entries) {
    std::string text;
    for (const auto& [key, value] : entries) {
        text.append("\n").append(key).append("=").append(value);
    }
    return text + "\n";
}

std::string_view Get(std::string_view packed, std::string_view key) {
    for (std::size_t lineFeed = 0; lineFeed + 1 < packed.size();) {
        const std::string_view line = packed.substr(lineFeed + 1);
        const std::size_t end = line.find('\n');
        if (line.substr(0, key.size()) == key && line[key.size()] == '=') {
            return line.substr(key.size() + 1, end - key.size() - 1);
        }
        lineFeed += 1 + end;
    }
    return {};
}

class Lmdb final : public Contestant {
  public:
    Lmdb(const std::string& folder, int trunks) : m_path(folder + "/trunks.mdb") {
        Environment database(m_path, 0);
        for (int i = 0; i < trunks; ++i) {
            database.Put(TrunkName(i), Pack(TrunkEntries(i)));
        }
        database.Commit();
    }

    Record Find(const std::string& trunkName) override {
        const BenchLock lock;
        const Environment database(m_path, MDB_RDONLY);
        const std::string_view packed = database.Get(trunkName);
        return FoundRecord([&](const char* key) { return Get(packed, key); });
    }

    std::list<Record> List() override {
        const BenchLock lock;
        const Environment database(m_path, MDB_RDONLY);
        std::list<Record> records;
        database.VisitAll([&](std::string_view packed) {
            if (Get(packed, key::kTrunkType) == type::kToMaster) {
                FillListedRecord(records.emplace_back(),
                                 [&](const char* key) { return Get(packed, key); });
            }
        });
        return records;
    }

    void Store(Record& record) override {
        const BenchLock lock;
        Environment database(m_path, 0);
        Entries entries = StoredEntries(record);
        const std::string_view old = database.Get(record.trunk_name);
        for (const char* key : {key::kRegistrationDate, key::kRegistrationTime}) {
            entries.emplace_back(key, Get(old, key));
        }
        database.Put(record.trunk_name, Pack(entries));
        database.Commit();
    }

  private:
    std::string m_path;
};

const ContestantKind kLmdb("LMDB", MakeContestant<Lmdb>);

}  // namespace
