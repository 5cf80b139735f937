#include "tools/siptrunkctl/database_text.h"

#include "support/entry.h"
#include "support/section_grammar.h"
#include "support/whole_file.h"
#include "tools/siptrunkctl/failure.h"

namespace {

using Configuration::SectionGrammar;

DatabaseEntry EntryOf(std::string_view line, std::size_t number) {
    const std::size_t separator = line.find('=');
    const std::string_view key = WithoutTrailingBlanks(line.substr(0, separator));
    return {std::string(WithoutLeadingBlanks(key)), std::string(line.substr(separator + 1)),
            number};
}

}  // namespace

const std::string* DatabaseSection::Find(std::string_view key) const {
    for (const DatabaseEntry& entry : entries) {
        if (entry.key == key) {
            return &entry.value;
        }
    }
    return nullptr;
}

bool IsSecret(std::string_view key) { return key == "password" || key == "changed_password"; }

Database ScanDatabase(std::string_view text) {
    const SectionGrammar grammar("section", "{\n", "}\n", "=", "#");
    Database database;
    bool inSection = false;
    std::size_t number = 0;
    std::size_t end = 0;
    for (std::size_t begin = 0; begin < text.size(); begin = end) {
        const SectionGrammar::LineKind kind = grammar.KindAt(text, begin, end);
        std::string_view line = text.substr(begin, end - begin);
        const bool hasNul = line.find('\0') != std::string_view::npos;
        const char* fault = hasNul ? "NUL byte" : SectionGrammar::FaultOf(kind, inSection);
        ++number;
        if (fault != nullptr) {
            database.problems.push_back({number, fault});
        }
        if (kind == SectionGrammar::LineKind::kOpener) {
            inSection = true;
            database.sections.push_back({number, {}});
        } else if (kind == SectionGrammar::LineKind::kCloser) {
            inSection = false;
        } else if (kind == SectionGrammar::LineKind::kEntry && fault == nullptr) {
            line.remove_suffix(line.back() == '\n' ? 1 : 0);
            database.sections.back().entries.push_back(EntryOf(line, number));
        }
    }
    if (inSection) {
        database.problems.push_back({database.sections.back().line, "section is not closed"});
    }
    return database;
}

Database ReadDatabase(const std::string& path) {
    const FileText text = ReadWholeFile(path.c_str(), false);
    return ScanDatabase(text.View());
}

Database RequireDatabase(const std::string& path) {
    Database database = ReadDatabase(path);
    if (!database.problems.empty()) {
        const Problem& first = database.problems.front();
        throw Failure(ExitCode::kMalformed, path + ":" + std::to_string(first.line) + ": " +
                                                first.reason +
                                                "; \"siptrunkctl validate\" lists every problem");
    }
    return database;
}
