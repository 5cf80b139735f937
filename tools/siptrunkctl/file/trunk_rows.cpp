#include "tools/siptrunkctl/file/trunk_rows.h"

#include <unordered_set>

#include "src/foundation/key_table.h"
#include "src/foundation/paths.h"
#include "tools/siptrunkctl/view/clock.h"
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
    row.hasAddress = section.Find(row.isToMaster ? key::kMasterIp : key::kSlaveIp) != nullptr;
    row.symNat = section.Get(key::kSymNat).substr(0, 1) == "1";
    row.registration = section.Get(key::kRegistrationStatus) == "1";
    return row;
}

std::string OddityOf(const DatabaseSection& section, bool isNew) {
    const std::string_view type = section.Get(key::kTrunkType);
    std::string oddity = isNew ? "" : "not found by its name, which occurs before";
    if (type != type::kToMaster && type != type::kForSlave) {
        oddity += (oddity.empty() ? "" : "; ");
        oddity +=
            section.Find(key::kTrunkType) == nullptr ? "no type" : "unknown type " + Quoted(type);
    }
    return oddity;
}

}  // namespace

std::string SinceText(const std::string& date, const std::string& time) {
    return date + (!date.empty() && !time.empty() ? " " : "") + time;
}

std::string TrunkRow::Since() const { return SinceText(date, time); }

std::vector<TrunkRow> TrunkRowsOf(const Sections& sections) {
    std::vector<TrunkRow> rows;
    std::unordered_set<std::string_view> names;
    for (const DatabaseSection& section : sections) {
        if (section.Find(key::kTrunkName) != nullptr) {
            rows.push_back(RowOf(section));
            rows.back().oddity =
                OddityOf(section, names.insert(section.Get(key::kTrunkName)).second);
        }
    }
    return rows;
}

std::vector<TrunkRow> ReadTrunkRows() {
    return TrunkRowsOf(RequireDatabase(DatabasePath()).sections);
}

void AppendSince(Record& record, const std::string& date, const std::string& time) {
    const std::optional<std::string> iso = IsoTime(date, time);
    record.push_back({"since", SinceText(date, time), Rank::kUseful});
    record.push_back({"since_iso", TextIf(iso.has_value(), iso.value_or("")), Rank::kOnlyJson});
}
