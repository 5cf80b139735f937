#include "tools/siptrunkctl/file/store.h"

#include "src/foundation/database_syntax.h"
#include "src/foundation/paths.h"
#include "support/durable_file.h"
#include "support/whole_file.h"
#include "tools/siptrunkctl/view/failure.h"

using namespace raiklaik;

namespace {

std::string TextOf(const DatabaseSection& section) {
    std::string text = std::string(syntax::kSection) + " " + syntax::kOpener;
    for (const DatabaseEntry& entry : section.entries) {
        text.append(entry.key).append(syntax::kSeparator).append(entry.value).append("\n");
    }
    return text + syntax::kCloser;
}

std::string WithoutSections(const std::string& text, const Sections& sections) {
    std::string rest;
    std::size_t begin = 0;
    for (const DatabaseSection& section : sections) {
        rest.append(text, begin, section.begin - begin);
        begin = section.end;
    }
    return rest.append(text, begin);
}

}  // namespace

std::string TextWith(const std::string& text, const Database& stored, const Sections& sections,
                     bool replace) {
    const std::string kept = replace ? WithoutSections(text, stored.sections) : text;
    std::string first;
    std::string last;
    for (const DatabaseSection& section : sections) {
        (IsSwitches(section) ? first : last) += TextOf(section);
    }
    const bool hasFirst = !replace && !stored.sections.empty();
    const std::size_t place = hasFirst ? stored.sections.front().begin : kept.size();
    const bool isOpen = !kept.empty() && kept.back() != '\n';  // the last line has no line end
    std::string whole = kept.substr(0, place);
    whole += isOpen && !hasFirst ? "\n" : "";
    whole.append(first).append(kept, place);
    return whole.append(isOpen && hasFirst && !last.empty() ? "\n" : "").append(last);
}

void StoreDatabase(const std::string& before, const std::string& text) {
    const std::string path = DatabasePath();
    support::FileText loaded = support::ReadWholeFile(path.c_str(), true);
    if (loaded.View() != before) {
        throw Failure(ExitCode::kFailed, path + ": it was changed meanwhile");
    }
    support::ReplaceFile(path.c_str(), loaded.identity, {text});
}
