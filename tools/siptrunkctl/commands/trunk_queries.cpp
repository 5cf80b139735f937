#include <algorithm>
#include <set>

#include <unistd.h>

#include "src/foundation/key_table.h"
#include "src/foundation/paths.h"
#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/commands/define.h"
#include "tools/siptrunkctl/device/trunks.h"
#include "tools/siptrunkctl/file/trunk_rows.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

constexpr const char* kGroup = "Trunks";

struct ListOptions {
    std::string type = "all";
    std::vector<std::string> fields;
    bool active = false;
    bool names = false;
};

Record RecordOf(const TrunkRow& row) {
    Record record = {{"name", row.name},
                     {"type", std::string(row.Type())},
                     {"user", row.user},
                     {"ip", row.ip},
                     {"port", row.port},
                     {"sym_nat", row.isToMaster ? Value() : Switch{row.symNat}, Rank::kDetail}};
    AppendSince(record, row.date, row.time);
    record.push_back({"note", TextIf(!row.oddity.empty(), row.oddity), Rank::kRest});
    return record;
}

// Of the fields, those that were asked for, in that order.
void Choose(std::vector<Record>& records, const std::vector<std::string>& names) {
    for (Record& record : records) {
        Record fields;
        for (const std::string& name : names) {
            const auto found = std::find_if(record.begin(), record.end(),
                                            [&](const Field& field) { return field.name == name; });
            fields.push_back(*found);
            fields.back().rank = Rank::kAlways;
        }
        record = std::move(fields);
    }
}

std::set<std::string> ActiveNames(Library& library) {
    std::list<Trunk> trunks;
    (void)library.Checked(library.Config().GetAllSIPTrunkParams(trunks));
    std::set<std::string> names;
    for (const Trunk& trunk : trunks) {
        // A slave that was reset leaves an empty address behind.
        if (!trunk.remote_ip.empty()) {
            names.insert(trunk.trunk_name);
        }
    }
    return names;
}

void List(Context& context, const ListOptions& options) {
    const std::set<std::string> active =
        options.active ? ActiveNames(context.library) : std::set<std::string>();
    std::vector<Record> records;
    for (const TrunkRow& row : ReadTrunkRows()) {
        if ((options.type != "all" && options.type != row.Type()) ||
            (options.active && active.count(row.name) == 0)) {
            continue;
        }
        if (!options.names) {
            records.push_back(RecordOf(row));
        } else if (context.outputOptions.json) {
            records.push_back({{"name", row.name}});
        } else {
            context.output.PrintText(Printable(row.name) + "\n");
        }
    }
    if (options.names && !context.outputOptions.json) {
        return;
    }
    if (!options.fields.empty()) {
        Choose(records, options.fields);
    } else if (!options.names) {
        HideEmptyNotes(records);
    }
    context.output.PrintList(records, "trunk");
}

Record WholeRecord(const Trunk& trunk) {
    const bool isToMaster = IsToMaster(trunk);
    Record record = {{"name", trunk.trunk_name},
                     {"type", std::string(isToMaster ? "master" : "slave")},
                     {"user", trunk.user_name},
                     {"password", Secret{trunk.password}},
                     {"ip", trunk.remote_ip},
                     {"port", trunk.remote_port},
                     isToMaster ? Field{"registration", Switch{trunk.registration_status}}
                                : Field{"sym_nat", Switch{trunk.sym_nat}}};
    AppendSince(record, trunk.registration_date, trunk.registration_time);
    return record;
}

// Returns a stored value under its key in the file; nothing when the trunk does not have it.
Value StoredValue(const std::string& name, const std::string& key) {
    for (const DatabaseSection& section : RequireDatabase(DatabasePath()).sections) {
        const std::string* value = section.Find(key);
        if (section.Find(key::kTrunkName) != nullptr && section.Get(key::kTrunkName) == name) {
            return value == nullptr ? Value()
                   : IsSecret(key)  ? Value(Secret{*value})
                                    : Value(*value);
        }
    }
    return {};
}

[[noreturn]] void ThrowNoKey(const Record& record, const std::string& name,
                             const std::string& key) {
    std::vector<std::string> keys;
    for (const Field& field : record) {
        keys.emplace_back(field.name);
    }
    throw Failure(ExitCode::kFailed,
                  "trunk " + Quoted(name) + " has no key " + Quoted(key) + DidYouMean(key, keys));
}

void Get(Context& context, const std::string& name, const std::string& key) {
    const Record record = WholeRecord(RequireTrunk(context.library, name));
    const auto field = std::find_if(record.begin(), record.end(),
                                    [&](const Field& known) { return known.name == key; });
    const Value value = field != record.end() ? field->value : StoredValue(name, key);
    if (std::holds_alternative<Nothing>(value)) {
        ThrowNoKey(record, name, key);
    }
    if (std::holds_alternative<Secret>(value) && !context.outputOptions.showSecrets) {
        throw UsageFailure(key + " is hidden; --show-secrets shows it");
    }
    if (context.outputOptions.json) {
        context.output.PrintOne({{"name", name}, {"key", key}, {"value", value}});
        return;
    }
    // A script gets the bytes as they are stored, and a terminal none that could play with it.
    const auto* text = std::get_if<std::string>(&value);
    const auto* secret = std::get_if<Secret>(&value);
    const std::string* bytes = secret != nullptr ? &secret->text : text;
    if (bytes == nullptr) {
        context.output.PrintText(CellText(value, {}) + "\n");
    } else {
        context.output.PrintText((isatty(STDOUT_FILENO) == 1 ? Printable(*bytes) : *bytes) + "\n");
    }
}

void AddList(CLI::App& root, Context& context) {
    CLI::App* command = AddCommand(root, "list", kGroup, "list the trunks",
                                   "The order is that of the file. Fields: name, type, user, ip, "
                                   "port, sym_nat, since,\nsince_iso, note.\n\n"
                                   "Examples:\n  siptrunkctl list --type master\n"
                                   "  siptrunkctl list --fields name,user,since");
    auto options = std::make_shared<ListOptions>();
    AddType(context, *command, options->type);
    command->add_flag("--active", options->active, "only trunks that show a registration");
    CLI::Option* names =
        command->add_flag("--names", options->names, "print the names alone, one a line");
    std::vector<std::string> known;
    std::vector<Candidate> candidates;
    for (const Field& field : RecordOf({})) {
        known.emplace_back(field.name);
        candidates.push_back({field.name, ""});
    }
    CLI::Option* fields =
        command->add_option("--fields", options->fields, "only these fields, in this order")
            ->delimiter(',')
            ->allow_extra_args(false)
            ->check(CLI::IsMember(known))
            ->option_text("A,B...")
            ->excludes(names);
    CompleteWith(context, fields, std::move(candidates));
    command->callback([&context, options] { List(context, *options); });
}

void AddShowAndGet(CLI::App& root, Context& context) {
    CLI::App* show = AddCommand(root, "show", kGroup, "show one trunk whole",
                                "Example:\n  siptrunkctl show office");
    auto name = std::make_shared<std::string>();
    AddTrunkName(context, *show, *name);
    show->callback([&context, name] {
        context.output.PrintOne(WholeRecord(RequireTrunk(context.library, *name)));
    });

    CLI::App* get =
        AddCommand(root, "get", kGroup, "print one value of a trunk, for scripts",
                   "KEY is one that \"show\" prints, or one of the database. A password "
                   "wants --show-secrets.\n\nExample:\n  siptrunkctl get office port");
    auto key = std::make_shared<std::string>();
    AddTrunkName(context, *get, *name);
    CLI::Option* option = AddWord(*get, "KEY", *key, "the value's key");
    CompleteWith(context, option,
                 {{"type", "master or slave"},
                  {"user", "account"},
                  {"password", "hidden"},
                  {"ip", "address of the other end"},
                  {"port", "its port"},
                  {"registration", "is it to be kept registered"},
                  {"sym_nat", "symmetric NAT"},
                  {"since", "time of the registration"},
                  {"since_iso", "the same in ISO 8601"}});
    get->callback([&context, name, key] { Get(context, *name, *key); });
}

}  // namespace

void AddTrunkQueries(CLI::App& root, Context& context) {
    AddList(root, context);
    AddShowAndGet(root, context);
    AddCheck(root, context);
}
