#include <algorithm>

#include "tools/siptrunkctl/commands.h"
#include "tools/siptrunkctl/database_check.h"
#include "tools/siptrunkctl/database_json.h"
#include "tools/siptrunkctl/database_text.h"
#include "tools/siptrunkctl/device.h"
#include "tools/siptrunkctl/failure.h"
#include "tools/siptrunkctl/text.h"

namespace {

std::vector<Problem> AllProblems(const Database& database) {
    std::vector<Problem> problems = FindProblems(database, "line");
    problems.insert(problems.begin(), database.problems.begin(), database.problems.end());
    std::stable_sort(problems.begin(), problems.end(),
                     [](const Problem& a, const Problem& b) { return a.line < b.line; });
    return problems;
}

void PrintProblems(Session& session, const std::string& path,
                   const std::vector<Problem>& problems) {
    if (session.Options().json) {
        Json answer;
        PutText(answer, "file", path);
        answer["problems"] = Json::array();
        for (const Problem& problem : problems) {
            answer["problems"].push_back({{"line", problem.line}, {"reason", problem.reason}});
        }
        session.PrintText(JsonText(answer));
        return;
    }
    for (const Problem& problem : problems) {
        session.PrintText(Printable(path) + ":" + std::to_string(problem.line) + ": " +
                          problem.reason + "\n");
    }
    if (problems.empty() && !session.Options().quiet) {
        session.PrintText(Printable(path) + ": no problems\n");
    }
}

}  // namespace

void command::Validate(Session& session) {
    const std::string path = session.Options().words.empty() ? DatabasePath() : session.Word(0);
    const std::vector<Problem> problems = AllProblems(ReadDatabase(path));
    PrintProblems(session, path, problems);
    if (!problems.empty()) {
        session.SetResult(ExitCode::kMalformed);
    }
}

void command::Export(Session& session) {
    const std::string path = DatabasePath();
    session.PrintText(
        JsonText(ToJson(RequireDatabase(path).sections, path, session.Options().showSecrets)));
}
