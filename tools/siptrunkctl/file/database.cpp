#include "tools/siptrunkctl/file/database.h"

#include <filesystem>

#include "src/foundation/database_syntax.h"
#include "src/foundation/key_table.h"
#include "src/foundation/paths.h"
#include "support/durable_file.h"
#include "support/entry.h"
#include "support/line_scanner.h"
#include "support/section_text.h"
#include "support/whole_file.h"
#include "tools/siptrunkctl/file/input.h"
#include "tools/siptrunkctl/view/failure.h"

using namespace raiklaik;

namespace {

using support::LineKind;
DatabaseEntry EntryOf(std::string_view line, std::size_t number) {
    const std::size_t separator = line.find(*syntax::kSeparator);
    const std::string_view key = support::WithoutTrailingBlanks(line.substr(0, separator));
    return {std::string(support::WithoutLeadingBlanks(key)),
            std::string(line.substr(separator + 1)), number};
}

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

const std::string* DatabaseSection::Find(std::string_view key) const {
    for (const DatabaseEntry& entry : entries) {
        if (entry.key == key) {
            return &entry.value;
        }
    }
    return nullptr;
}

std::string_view DatabaseSection::Get(std::string_view key) const {
    const std::string* value = Find(key);
    return value == nullptr ? std::string_view() : *value;
}

bool IsSecret(std::string_view key) {
    return key == key::kPassword || key == key::kChangedPassword;
}

Value ValueOf(std::string_view key, const std::string* text) {
    return text == nullptr ? Value() : IsSecret(key) ? Value(Secret{*text}) : Value(*text);
}

bool IsSwitches(const DatabaseSection& section) {
    return section.Find(key::kMasterEnabled) != nullptr &&
           section.Find(key::kSlaveEnabled) != nullptr && section.Find(key::kTrunkName) == nullptr;
}

const DatabaseSection* FindTrunk(const Sections& sections, const std::string& name) {
    for (const DatabaseSection& section : sections) {
        const std::string* own = section.Find(key::kTrunkName);
        if (own != nullptr && *own == name) {
            return &section;
        }
    }
    return nullptr;
}

Database ScanDatabase(std::string_view text) {
    const support::SectionGrammar grammar(syntax::kSection, syntax::kOpener, syntax::kCloser,
                                          syntax::kSeparator, syntax::kComment);
    Database database;
    bool inSection = false;
    std::size_t number = 0;
    for (support::LineScanner lines(text); lines.Next();) {
        const std::string_view line = lines.Line();
        const LineKind kind = grammar.KindOf(line);
        const bool hasNul = line.find('\0') != std::string_view::npos;
        const char* fault = hasNul ? "NUL byte" : support::FaultOf(kind, inSection);
        ++number;
        if (fault != nullptr) {
            database.problems.push_back({number, fault});
        }
        if (kind == LineKind::kOpener) {
            database.sections.push_back({number, {}, lines.Begin(), lines.End()});
        } else if (kind == LineKind::kCloser && inSection) {
            database.sections.back().end = lines.End();
        } else if (kind == LineKind::kEntry && fault == nullptr) {
            database.sections.back().entries.push_back(EntryOf(line, number));
        }
        inSection = kind == LineKind::kOpener || (inSection && kind != LineKind::kCloser);
    }
    if (inSection) {
        database.problems.push_back({database.sections.back().line, "section is not closed"});
    }
    return database;
}

std::string ReadDatabaseText(const std::string& path) {
    std::error_code noFile;  // which reading tells better
    if (std::filesystem::file_size(path, noFile) > kLargestFile && !noFile) {
        throw Failure(path + ": it has more than " + std::to_string(kLargestFile) + " bytes");
    }
    return std::string(support::ReadWholeFile(path.c_str(), false).View());
}

void RequireSound(const std::string& path, const Database& database) {
    if (!database.problems.empty()) {
        const Problem& first = database.problems.front();
        throw Failure(ExitCode::kMalformed, path + ":" + std::to_string(first.line) + ": " +
                                                first.reason +
                                                "; \"siptrunkctl validate\" lists every problem");
    }
}

Database RequireDatabase(const std::string& path) {
    Database database = ScanDatabase(ReadDatabaseText(path));
    RequireSound(path, database);
    return database;
}

std::string TextWith(const std::string& text, const Database& stored, const Sections& sections,
                     bool replace) {
    std::string whole = replace ? WithoutSections(text, stored.sections) : text;
    std::string first;
    std::string last;
    for (const DatabaseSection& section : sections) {
        (IsSwitches(section) ? first : last) += TextOf(section);
    }
    const bool isAppended = replace || stored.sections.empty();
    const bool isOpen = !whole.empty() && whole.back() != '\n';  // the last line has no line end
    if (isOpen && (isAppended || !last.empty())) {
        whole += "\n";
    }
    return whole.insert(isAppended ? whole.size() : stored.sections.front().begin, first) + last;
}

void StoreDatabase(const std::string& before, const std::string& text) {
    const std::string path = DatabasePath();
    support::FileText loaded = support::ReadWholeFile(path.c_str(), true);
    if (loaded.View() != before) {
        throw Failure(path + ": it was changed meanwhile");
    }
    support::ReplaceFile(path.c_str(), loaded.identity, {text});
}
