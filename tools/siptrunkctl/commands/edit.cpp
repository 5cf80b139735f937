#include <optional>
#include <set>

#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/file/check.h"
#include "tools/siptrunkctl/file/compare.h"
#include "tools/siptrunkctl/file/database.h"
#include "tools/siptrunkctl/file/input.h"
#include "tools/siptrunkctl/file/private_copy.h"

using namespace raiklaik;

namespace {

// Asks what to do with a text that has problems. Without an answer, nothing is lost and nothing
// stored.
char Ask(bool mayStore) {
    const Person person;
    while (true) {
        WriteError(std::string("(e)dit again, ") + (mayStore ? "(s)tore all the same, " : "") +
                   "(q)uit and keep the text, (d)iscard it? ");
        const std::optional<std::string> answer = person.ReadLine();
        if (!answer) {
            WriteError("\n");  // the line end that the missing answer would have had
            return 'q';
        }
        if (answer == "e" || answer == "q" || answer == "d" || (answer == "s" && mayStore)) {
            return answer->front();
        }
    }
}

// The problems that were not there before; lines move, so their reasons alone tell them apart.
std::vector<Problem> NewProblems(const Database& before, const Database& after) {
    std::multiset<std::string> known;
    for (const Problem& problem : AllProblems(before)) {
        known.insert(problem.reason);
    }
    std::vector<Problem> problems;
    for (const Problem& problem : AllProblems(after)) {
        const auto place = known.find(problem.reason);
        if (place == known.end()) {
            problems.push_back(problem);
        } else {
            known.erase(place);
        }
    }
    return problems;
}

[[noreturn]] void ThrowKept(PrivateCopy& copy, ExitCode code, const std::string& reason) {
    copy.Keep();
    throw Failure(code, reason + "; nothing was stored, and your text is kept in " + copy.Path());
}

// Lets the editor run until the text is good, or given up. Returns the text.
std::string EditedText(PrivateCopy& copy, const std::string& before) {
    const Database old = ScanDatabase(before);
    while (true) {
        RunEditor(copy.Path());
        std::string text = copy.Text();
        const Database edited = ScanDatabase(text);
        std::vector<Problem> problems =
            edited.problems.empty() ? NewProblems(old, edited) : edited.problems;
        if (problems.empty() || text == before) {
            return text;
        }
        for (const Problem& problem : problems) {
            Tell("line " + std::to_string(problem.line) + ": " + problem.reason);
        }
        const char answer = Ask(edited.problems.empty());
        if (answer == 'q') {
            ThrowKept(copy, ExitCode::kMalformed, "the text has problems");
        }
        if (answer != 'e') {
            return answer == 's' ? text : before;
        }
    }
}

// Stores the text, unless somebody has changed the file since it was read.
void StoreUnchanged(Context& context, PrivateCopy& copy, const std::string& before,
                    const std::string& text) {
    WaitForLock(context.libraryOptions.wait);
    const DeviceLock lock;
    const std::string now = ReadDatabaseText(DatabasePath());
    if (now != before) {
        Tell("somebody else has changed the database meanwhile:");
        for (const Change& change :
             Compare(ScanDatabase(before).sections, ScanDatabase(now).sections)) {
            WriteError("  " + ChangeText(change, context.outputOptions.showSecrets) + "\n");
        }
        ThrowKept(copy, ExitCode::kFailed, DatabasePath() + ": it was changed meanwhile");
    }
    StoreDatabase(before, text);
}

void Edit(Context& context) {
    const std::string before = ReadDatabaseText(DatabasePath());
    PrivateCopy copy(before);
    std::string text;
    try {
        text = EditedText(copy, before);
        if (text != before) {
            StoreUnchanged(context, copy, before, text);
        }
    } catch (const std::exception& failure) {
        if (!copy.IsKept() && copy.IsOther(before)) {
            copy.Keep();
            Tell("your text is kept in " + copy.Path());
        }
        throw;
    }
    ConfirmChanges(context, Compare(ScanDatabase(before).sections, ScanDatabase(text).sections),
                   true, text == before ? "nothing was changed" : "stored the database",
                   {{"action", "edited"}, {"changed", State{text != before}}});
}

}  // namespace

void AddEdit(const Command& root) {
    root.Add("edit", "The database as a whole", "edit the database in an editor",
             "The editor of VISUAL or EDITOR, or vi, gets a private copy. What comes back is\n"
             "checked, and stored only when nobody else has changed the database meanwhile;\n"
             "else the difference is shown and your text is kept.\n\nExample:\n"
             "  EDITOR=nano siptrunkctl edit",
             Edit);
}
