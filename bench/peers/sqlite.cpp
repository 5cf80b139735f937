// SQLite: a table with a row for each trunk and the trunk's name as primary key, with SQLite's own
// durability (a journal, synchronous=FULL).

#include <sqlite3.h>

#include <stdexcept>

#include "bench/contestant.h"
#include "bench/files.h"

using namespace raiklaik;

namespace {

class Database {
  public:
    Database(const std::string& path, int flags) {
        if (sqlite3_open_v2(path.c_str(), &m_database, flags, nullptr) != SQLITE_OK) {
            (void)sqlite3_close(m_database);
            throw std::runtime_error("SQLite cannot open");
        }
    }
    ~Database() { (void)sqlite3_close(m_database); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void Execute(const char* statement) {
        if (sqlite3_exec(m_database, statement, nullptr, nullptr, nullptr) != SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(m_database));
        }
    }

    sqlite3* Handle() const { return m_database; }

  private:
    sqlite3* m_database = nullptr;
};

class Statement {
  public:
    Statement(const Database& database, const std::string& text) {
        if (sqlite3_prepare_v2(database.Handle(), text.c_str(), -1, &m_statement, nullptr) !=
            SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(database.Handle()));
        }
    }
    ~Statement() { (void)sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void Bind(const std::string& value) {
        (void)sqlite3_bind_text(m_statement, ++m_bound, value.c_str(), -1, SQLITE_TRANSIENT);
    }
    bool Step() {
        const int result = sqlite3_step(m_statement);
        if (result != SQLITE_ROW && result != SQLITE_DONE) {
            throw std::runtime_error("an SQLite statement failed");
        }
        return result == SQLITE_ROW;
    }
    /// The text of a column of the current row, by its name.
    const char* Get(std::string_view column) const {
        for (int i = 0; i < sqlite3_column_count(m_statement); ++i) {
            if (column == sqlite3_column_name(m_statement, i)) {
                const auto* text =
                    reinterpret_cast<const char*>(sqlite3_column_text(m_statement, i));
                return text == nullptr ? "" : text;
            }
        }
        throw std::invalid_argument("no such column");
    }

  private:
    sqlite3_stmt* m_statement = nullptr;
    int m_bound = 0;
};

class Sqlite final : public Contestant {
  public:
    Sqlite(const std::string& folder, int trunks) : m_path(folder + "/trunks.db") {
        Database database(m_path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        database.Execute(
            "CREATE TABLE trunks (trunk_name TEXT PRIMARY KEY, trunk_type TEXT, user_name TEXT, "
            "password TEXT, master_ip TEXT, master_port TEXT, registration_status TEXT, "
            "registration_date TEXT, registration_time TEXT, slave_ip TEXT, slave_port TEXT, "
            "sym_nat TEXT)");
        database.Execute("BEGIN");
        for (int i = 0; i < trunks; ++i) {
            std::string columns;
            std::string values;
            for (const auto& [key, value] : TrunkEntries(i)) {
                columns.append(columns.empty() ? "" : ",").append(key);
                values.append(values.empty() ? "'" : ",'").append(value).append("'");
            }
            const std::string statement =
                "INSERT INTO trunks (" + columns + ") VALUES (" + values + ")";
            database.Execute(statement.c_str());
        }
        database.Execute("COMMIT");
    }

    Record Find(const std::string& trunkName) override {
        const BenchLock lock;
        const Database database(m_path, SQLITE_OPEN_READONLY);
        Statement query(database,
                        "SELECT trunk_name, trunk_type, user_name, password, master_ip, "
                        "master_port, registration_status, registration_date, registration_time "
                        "FROM trunks WHERE trunk_name = ?");
        query.Bind(trunkName);
        if (!query.Step()) {
            throw std::runtime_error("no such trunk");
        }
        return FoundRecord([&](const char* key) { return query.Get(key); });
    }

    std::list<Record> List() override {
        const BenchLock lock;
        const Database database(m_path, SQLITE_OPEN_READONLY);
        Statement query(database,
                        "SELECT trunk_name, user_name, master_ip, master_port, registration_date, "
                        "registration_time FROM trunks WHERE trunk_type = ?");
        query.Bind(type::kToMaster);
        std::list<Record> records;
        while (query.Step()) {
            FillListedRecord(records.emplace_back(),
                             [&](const char* key) { return query.Get(key); });
        }
        return records;
    }

    void Store(Record& record) override {
        const BenchLock lock;
        const Database database(m_path, SQLITE_OPEN_READWRITE);
        const Entries changes = StoredEntries(record);
        std::string assignments;
        for (const auto& [key, value] : changes) {
            assignments.append(assignments.empty() ? "" : ", ").append(key).append(" = ?");
        }
        Statement update(database, "UPDATE trunks SET " + assignments + " WHERE trunk_name = ?");
        for (const auto& [key, value] : changes) {
            update.Bind(value);
        }
        update.Bind(record.trunk_name);
        (void)update.Step();
    }

  private:
    std::string m_path;
};

const ContestantKind kSqlite("SQLite", MakeContestant<Sqlite>);

}  // namespace
