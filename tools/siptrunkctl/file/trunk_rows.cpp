#include "tools/siptrunkctl/file/trunk_rows.h"

#include <unordered_set>

#include "src/foundation/key_table.h"
#include "src/foundation/paths.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

TrunkRow RowOf(const DatabaseSection& section) {
    TrunkRow row;
    row.isToMaster = section.Get(key::kTrunkType) == type::kToMaster;
    row.name = section.Get(key::kTrunkName);
    row.user = section.Get(key::kUserName);
    row.ip = section.Get(row.isToMaster ? key::kMasterIp : key::kSlaveIp);
    row.port = section.Get(row.isToMaster ? key::kMasterPort : key::kSlavePort);
    row.date = section.Get(key::kRegistrationDate);
    row.time = section.Get(key::kRegistrationTime);
    row.symNat = section.Get(key::kSymNat).substr(0, 1) == "1";
    row.registration = section.Get(key::kRegistrationStatus) == "1";
    return row;
}

std::string OddityOf(const DatabaseSection& section, bool isNew) {
    const std::string_view type = section.Get(key::kTrunkType);
    std::string oddity = isNew ? "" : "an earlier trunk has this name, and programs find that one";
    if (type != type::kToMaster && type != type::kForSlave) {
        oddity += (oddity.empty() ? "" : "; ");
        oddity +=
            section.Find(key::kTrunkType) == nullptr ? "no type" : "unknown type " + Quoted(type);
    }
    return oddity;
}

}  // namespace

std::vector<TrunkRow> ReadTrunkRows() {
    const Database database = RequireDatabase(DatabasePath());
    std::vector<TrunkRow> rows;
    std::unordered_set<std::string_view> names;
    for (const DatabaseSection& section : database.sections) {
        if (section.Find(key::kTrunkName) != nullptr) {
            rows.push_back(RowOf(section));
            rows.back().oddity =
                OddityOf(section, names.insert(section.Get(key::kTrunkName)).second);
        }
    }
    return rows;
}
