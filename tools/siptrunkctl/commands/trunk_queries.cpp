#include <unistd.h>

#include <algorithm>
#include <list>
#include <set>
#include <utility>

#include "src/foundation/key_table.h"
#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/commands/trunk_values.h"
#include "tools/siptrunkctl/device/trunks.h"
#include "tools/siptrunkctl/file/trunk_rows.h"
#include "tools/siptrunkctl/view/clock.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

constexpr const char* kGroup = "Trunks";

Record RecordOf(const TrunkRow& row) {
    Record record = {{"name", row.name},
                     {"type", row.Type()},
                     {"user", row.user},
                     {"ip", row.ip},
                     {"port", row.port},
                     {"sym_nat", row.isToMaster ? Value() : Switch{row.symNat}, Rank::kDetail}};
    AppendSince(record, row.date, row.time);
    record.push_back({"note", TextIf(!row.oddity.empty(), row.oddity), Rank::kWhenGiven});
    return record;
}

const Field* FindField(const Record& record, const std::string& name) {
    const auto found = std::find_if(record.begin(), record.end(),
                                    [&](const Field& field) { return field.name == name; });
    return found == record.end() ? nullptr : &*found;
}

// Keeps only the fields that were asked for, in that order, each once.
void Choose(std::vector<Record>& records, const std::vector<std::string>& names) {
    for (Record& record : records) {
        Record fields;
        for (const std::string& name : names) {
            if (FindField(fields, name) == nullptr) {
                fields.push_back(*FindField(record, name));
                fields.back().rank = Rank::kAlways;
            }
        }
        record = std::move(fields);
    }
}

// Name and address of trunks.
using Addresses = std::set<std::pair<std::string, std::string>>;

// Those that show a registration.
Addresses ActiveTrunks(Library& library) {
    std::list<Trunk> trunks;
    (void)library.Checked(library.Config().GetAllSIPTrunkParams(trunks));
    Addresses active;
    for (const Trunk& trunk : trunks) {
        if (!trunk.remote_ip.empty()) {  // a slave that was reset leaves an empty address
            active.emplace(trunk.trunk_name, trunk.remote_ip);
        }
    }
    return active;
}

void List(Context& context) {
    const Arguments& given = context.given;
    const auto active = given.active ? ActiveTrunks(context.library) : Addresses();
    std::vector<Record> records;
    for (const TrunkRow& row : ReadTrunkRows()) {
        if ((given.type != "all" && given.type != row.Type()) ||
            (given.active && active.count({row.name, row.ip}) == 0)) {
            continue;
        }
        records.push_back(RecordOf(row));
        if (given.names && !context.outputOptions.json) {
            context.output.PrintText(Printable(row.name) + "\n");
        }
    }
    if (given.names && !context.outputOptions.json) {
        return;
    }
    if (given.names || !given.fields.empty()) {
        Choose(records, given.names ? std::vector<std::string>{"name"} : given.fields);
    }
    context.output.PrintList(records, "trunk");
}

Record WholeRecord(const Trunk& trunk) {
    const bool isToMaster = IsToMaster(trunk);
    Record record = {{"name", trunk.trunk_name},
                     {"type", isToMaster ? "master" : "slave"},
                     {"user", trunk.user_name},
                     {"password", Secret{trunk.password}},
                     {"ip", trunk.remote_ip},
                     {"port", trunk.remote_port},
                     isToMaster ? Field{"registration", Switch{trunk.registration_status}}
                                : Field{"sym_nat", Switch{trunk.sym_nat}}};
    AppendSince(record, trunk.registration_date, trunk.registration_time);
    return record;
}

void Show(Context& context) {
    context.output.PrintOne(WholeRecord(RequireTrunk(context.library, context.given.name)));
}

// Returns a stored value under its key in the file; nothing when the trunk does not have it.
Value StoredValue(const std::string& name, const std::string& key) {
    const Database database = RequireDatabase(DatabasePath());
    const DatabaseSection* section = FindTrunk(database.sections, name);
    return ValueOf(key, section == nullptr ? nullptr : section->Find(key));
}

[[noreturn]] void ThrowNoKey(const Record& record, const std::string& name,
                             const std::string& key) {
    std::vector<std::string> keys;
    for (const Field& field : record) {
        keys.emplace_back(field.name);
    }
    throw Failure("trunk " + Quoted(name) + " has no key " + Quoted(key) + DidYouMean(key, keys));
}

void Get(Context& context) {
    const std::string& name = context.given.name;
    const std::string& key = context.given.key;
    const Record record = WholeRecord(RequireTrunk(context.library, name));
    const Field* field = FindField(record, key);
    const Value value = field != nullptr ? field->value : StoredValue(name, key);
    if (std::holds_alternative<Nothing>(value)) {
        ThrowNoKey(record, name, key);
    }
    const auto* secret = std::get_if<Secret>(&value);
    if (secret != nullptr && !context.outputOptions.showSecrets) {
        throw UsageFailure(key + " is hidden; --show-secrets shows it");
    }
    if (context.outputOptions.json) {
        context.output.PrintOne({{"name", name}, {"key", key}, {"value", value}});
        return;
    }
    // A script gets the bytes as they are stored, and a terminal none that could play with it.
    const auto* bytes = secret != nullptr ? &secret->text : std::get_if<std::string>(&value);
    const std::string text = bytes == nullptr             ? CellText(value, {})
                             : isatty(STDOUT_FILENO) == 1 ? Printable(*bytes)
                                                          : *bytes;
    context.output.PrintText(text + "\n");
}

void Check(Context& context) {
    const Arguments& given = context.given;
    CheckValue("NAME", given.name);
    if (!given.edited.empty()) {
        (void)RequireTrunk(context.library, given.edited);
    }
    const bool hasUser = !given.user.empty();
    const auto clash = FindClash(context.library, given.edited, given.name, given.user);
    if (clash && !context.outputOptions.json) {
        throw clash->ToFailure();
    }
    context.output.Confirm(
        "name " + Quoted(given.name) +
            (hasUser ? " and user " + Quoted(given.user) + " are free" : " is free"),
        Record{{"name", given.name},
               {"user", TextIf(hasUser, given.user)},
               {"free", State{!clash}},
               {"taken", clash ? Value(clash->isName ? "name" : "user") : Value()},
               {"by", clash && clash->holder ? Value(clash->holder->trunk_name) : Value()}});
    context.result = clash ? ExitCode::kTaken : ExitCode::kDone;
}

void AddList(const Command& root) {
    std::vector<Candidate> fields;
    for (const Field& field : RecordOf({})) {
        fields.push_back({field.name});
    }
    root.Add("list", kGroup, "list the trunks",
             "The order is that of the file. Fields: name, type, user, ip, port, sym_nat,\n"
             "since, since_iso, note.\n\n"
             "Examples:\n  siptrunkctl list --type master\n"
             "  siptrunkctl list --fields name,user,since",
             List)
        .Type()
        .Flag("--active", root.Given().active, "only trunks that show a registration")
        .Flag("--names", root.Given().names, "print the names alone, one a line")
        .List("--fields", root.Given().fields, "A,B...", "only these fields, in this order", fields)
        .Excluding("--names");
}

}  // namespace

void AddTrunkQueries(const Command& root) {
    AddList(root);
    root.Add("show", kGroup, "show one trunk whole", "Example:\n  siptrunkctl show office", Show)
        .TrunkName();
    root.Add("get", kGroup, "print one value of a trunk, for scripts",
             "KEY is one that \"show\" prints, or one of the database. A password needs\n"
             "--show-secrets.\n\nExample:\n  siptrunkctl get office port",
             Get)
        .TrunkName()
        .Word("KEY", root.Given().key, "the value's key",
              These({{"type", "master or slave"},
                     {"user", "account"},
                     {"password", "hidden"},
                     {"ip", "address of the other end"},
                     {"port", "its port"},
                     {"registration", "is it to be kept registered"},
                     {"sym_nat", "symmetric NAT"},
                     {"since", "time of the registration"},
                     {"since_iso", "the same in ISO 8601"}}));
    Arguments& given = root.Given();
    root.Add("check", kGroup, "tell whether a name (and a user) is free",
             "Exit code 0 when free, 4 when somebody has it.\n\nExamples:\n"
             "  siptrunkctl check office --user 1001\n"
             "  siptrunkctl check headquarters --user 1001 --edit office",
             Check)
        .Word("NAME", given.name, "the name that must be free")
        .Value("--user", given.user, "USER", "a user name that must be free too")
        .Value("--edit", given.edited, "TRUNK", "the trunk that is to be changed, not compared",
               TrunkNames());
}
