#include <nlohmann/json.hpp>

#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/file/check.h"
#include "tools/siptrunkctl/file/compare.h"
#include "tools/siptrunkctl/file/transfer.h"
#include "tools/siptrunkctl/view/text.h"

using namespace raiklaik;

namespace {

constexpr const char* kGroup = "The database as a whole";

void Validate(Context& context) {
    const std::vector<std::string>& file = context.given.words;
    const std::string path = file.empty() ? DatabasePath() : file.front();
    const std::vector<Problem> problems = AllProblems(ScanDatabase(ReadDatabaseText(path)));
    context.result = problems.empty() ? ExitCode::kDone : ExitCode::kMalformed;
    if (context.outputOptions.json) {
        Json answer = ToJson(Record{{"file", path}}, false);
        answer["problems"] = Json::array();
        for (const Problem& problem : problems) {
            answer["problems"].push_back({{"line", problem.line}, {"reason", problem.reason}});
        }
        context.output.PrintText(JsonText(answer));
        return;
    }
    for (const Problem& problem : problems) {
        context.output.PrintText(Printable(path) + ":" + std::to_string(problem.line) + ": " +
                                 problem.reason + "\n");
    }
    if (problems.empty() && !context.outputOptions.quiet) {
        context.output.PrintText(Printable(path) + ": no problems\n");
    }
}

void Export(Context& context) {
    const std::string path = DatabasePath();
    context.output.PrintText(
        JsonText(ToJson(RequireDatabase(path).sections, path, context.outputOptions.showSecrets)));
}

}  // namespace

void ConfirmChanges(Context& context, const std::vector<Change>& changes, bool isTold,
                    const std::string& text, const Record& record) {
    const bool secrets = context.outputOptions.showSecrets;
    std::string lines;
    std::vector<Record> records;
    for (const Change& change : changes) {
        lines += isTold ? ChangeText(change, secrets) + "\n" : "";
        records.push_back(ChangeRecord(change));
    }
    Json json = ToJson(record, secrets);
    json["changes"] = ToJson(records, secrets);
    context.output.Confirm(lines + text, json);
}

void AddDatabase(const Command& root) {
    root.Add("validate", kGroup, "list every problem of a database",
             "Exit code 5 when there is one. Without FILE it is the device's database.\n\n"
             "Example:\n  siptrunkctl validate /etc/qorv-conf/telephony/siptrunkdb",
             Validate)
        .Words("FILE", "a database", These({{kFiles}}), 1);
    root.Add("export", kGroup, "print the database as JSON",
             "All sections with all keys. Passwords are null unless --show-secrets is given.\n\n"
             "Example:\n  (umask 077 && siptrunkctl export --show-secrets > trunks.json)",
             Export);
}
