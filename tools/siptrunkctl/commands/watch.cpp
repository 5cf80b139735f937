#include <nlohmann/json.hpp>

#include "tools/siptrunkctl/commands/commands.h"
#include "tools/siptrunkctl/device/cause.h"
#include "tools/siptrunkctl/file/compare.h"
#include "tools/siptrunkctl/file/watch.h"
#include "tools/siptrunkctl/view/clock.h"

using namespace raiklaik;

namespace {

// By the library's clock, which goes on after 2038 on 32-bit systems, too.
std::string IsoNow() {
    std::string time;
    std::string date;
    CSIPTrunkConfig(nullptr).GetLocalDateTime(time, date);
    return IsoTime(date, time).value_or(date + " " + time);
}

void PrintChanges(Context& context, const Sections& before, const Sections& after) {
    const OutputOptions& options = context.outputOptions;
    const std::string now = IsoNow();
    for (const Change& change : Compare(before, after)) {
        if (options.json) {
            Record record = ChangeRecord(change);
            record.insert(record.begin(), {"time", now});
            context.output.PrintText(JsonText(ToJson(record, options.showSecrets), -1));
        } else {
            context.output.PrintText(now + "  " + ChangeText(change, options.showSecrets) + "\n");
        }
    }
    context.output.Flush();
}

Sections ReadSections(const std::string& path) {
    return HasDatabase() ? RequireDatabase(path).sections : Sections();
}

void TellNews(FileWatch::News news, const std::string& path) {
    if (news == FileWatch::News::kFolderReplaced) {
        Tell("the folder of " + path + " was replaced; watching the new one");
    } else if (news == FileWatch::News::kFolderGone) {
        Tell("the folder of " + path + " is gone; waiting for it");
    }
}

void Watch(Context& context) {
    const std::string path = DatabasePath();
    FileWatch watch(path);
    Sections before = ReadSections(path);
    if (!context.outputOptions.quiet) {
        Tell("watching " + path);
    }
    for (bool isBroken = false; true;) {
        TellNews(watch.Wait(), path);
        Sections after;
        try {
            after = ReadSections(path);
        } catch (const std::exception& failure) {
            Tell(failure.what());
            isBroken = true;
            continue;
        }
        if (isBroken) {
            Tell(path + " can be read again");
        }
        isBroken = false;
        PrintChanges(context, before, after);
        before = std::move(after);
    }
}

}  // namespace

void AddWatch(const Command& root) {
    root.Add("watch", "The database as a whole", "print each change as it happens",
             "Changes of trunks and of the agents' switches, with the time. Ends with Ctrl-C.\n"
             "With --json each change is one line.\n\nExample:\n  siptrunkctl watch",
             Watch);
}
