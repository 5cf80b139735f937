#include "src/foundation/trunk_database.h"

#include "src/foundation/database_syntax.h"
#include "src/foundation/key_table.h"
#include "src/foundation/paths.h"

namespace raiklaik {

TrunkDatabase::TrunkDatabase(OpenMode mode, ValueBuffer buffer)
    : m_file(DatabasePath().c_str(), mode == OpenMode::kChangeOrCreate, mode == OpenMode::kReadOnly,
             false, syntax::kSection, syntax::kOpener, syntax::kCloser, syntax::kSeparator,
             syntax::kComment, nullptr),
      m_buffer(buffer) {
    m_file.Restart();
}

bool TrunkDatabase::NextSection() { return m_file.GotoNextSection(); }

bool TrunkDatabase::FindByName(const std::string& trunkName) {
    while (NextSection()) {
        if (Is(key::kTrunkName, trunkName)) {
            return true;
        }
    }
    return false;
}

bool TrunkDatabase::FindTrunkToMaster(const std::string& trunkName) {
    while (NextSection()) {
        if (Is(key::kTrunkType, type::kToMaster) && Is(key::kTrunkName, trunkName)) {
            return true;
        }
    }
    return false;
}

bool TrunkDatabase::Set(const char* key, const char* text) {
    return m_file.SetSectionEntry(key, text);
}

bool TrunkDatabase::Set(const char* key, const std::string& text) { return Set(key, text.c_str()); }

void TrunkDatabase::Copy(const char* from, const char* to) {
    (void)Read(from);  // an absent key leaves the empty text
    Set(to, m_buffer.text);
}

void TrunkDatabase::Erase(const char* key) { m_file.DeleteSectionEntry(key); }

void TrunkDatabase::AddEntry(const char* key, const char* text) {
    m_file.AddSectionEntry(key, text);
}

void TrunkDatabase::AppendSection() { m_file.AddSection(false); }

void TrunkDatabase::InsertFirstSection() { m_file.AddSection(true); }

void TrunkDatabase::DeleteSection() { m_file.DeleteSection(); }

void TrunkDatabase::RestartSection() { m_file.RestartSection(); }

void TrunkDatabase::Save() { m_file.Save(true, nullptr); }

}  // namespace raiklaik
