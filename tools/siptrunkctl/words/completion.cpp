#include "tools/siptrunkctl/words/completion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>

#include "support/printable_text.h"
#include "tools/siptrunkctl/device/cause.h"
#include "tools/siptrunkctl/view/text.h"

namespace {

// Whether a candidate leaves it to the shell what to offer.
bool IsForShell(const std::string& text) { return text == kFiles || text == kFolders; }

/// A word of a command line, as bash reads it.
struct Word {
    std::string text;   ///< what it means
    std::string typed;  ///< with its quotation marks and backslashes
};

// Takes a line apart. The last word is the one that ends at the line's end; it may be empty, and
// its quotation mark need not be closed.
std::vector<Word> SplitLine(const std::string& line) {
    std::vector<Word> words(1);
    char quote = '\0';
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char byte = line[i];
        if (quote == '\0' && (byte == ' ' || byte == '\t')) {
            if (!words.back().typed.empty()) {
                words.emplace_back();
            }
            continue;
        }
        words.back().typed += byte;
        if (byte == quote) {
            quote = '\0';
        } else if (quote == '\0' && (byte == '"' || byte == '\'')) {
            quote = byte;
        } else if (byte == '\\' && quote != '\'' && i + 1 < line.size()) {
            words.back().typed += line[++i];
            words.back().text += line[i];
        } else {
            words.back().text += byte;
        }
    }
    return words;
}

// Returns a text quoted as what was typed begins, without the part that bash keeps, which ends at
// the last character at which it breaks words.
std::string ForBash(const std::string& text, const std::string& typed) {
    const bool isQuoted = !typed.empty() && (typed.front() == '"' || typed.front() == '\'');
    std::string quoted;
    for (const char byte : text) {
        const bool isSpecial =
            std::string(" \t'\"\\$`!&|;<>()*?[]{}#~").find(byte) != std::string::npos;
        quoted += (isSpecial && !isQuoted ? "\\" : "") + std::string(1, byte);
    }
    // Both the text and what was typed begin with it.
    return quoted.substr(isQuoted ? 0 : typed.find_last_of("=:") + 1);
}

/// The place of the cursor on a command line.
class Cursor {
  public:
    // `words` are those before it
    Cursor(CLI::App& app, const CandidatesOf& candidates, std::vector<std::string> words)
        : m_app(app),
          m_candidates(candidates),
          m_onlyWords(std::find(words.begin(), words.end(), "--") != words.end()) {
        Read(words);
        if (!words.empty() && IsOption(words.back())) {
            m_wanting = FindOption(words.back());
        }
        if (m_wanting != nullptr && m_wanting->get_items_expected_max() == 0) {
            m_wanting = nullptr;  // it is a flag
        } else if (m_wanting != nullptr) {
            words.pop_back();
            Read(words);  // now no value is missing
        }
    }

    std::vector<Candidate> Offer(const std::string& typed) const {
        if (m_wanting != nullptr) {
            return Values(m_wanting, typed);
        }
        if (!IsOption(typed)) {
            return Words();
        }
        const std::size_t separator = typed.find('=');
        return separator == std::string::npos
                   ? OptionsOf(ChosenOf(m_app))
                   : Values(FindOption(typed.substr(0, separator)), typed, separator + 1);
    }

  private:
    // Lets CLI11 read words, as far as that goes: the line is not whole yet. Nothing runs.
    void Read(const std::vector<std::string>& words) const {
        m_app.parse_complete_callback([] { throw CLI::Success(); });
        try {
            m_app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
        } catch (const CLI::Error&) {
            return;
        }
    }

    bool IsOption(const std::string& word) const {
        return !m_onlyWords && !word.empty() && word.front() == '-';
    }

    const CLI::Option* FindOption(const std::string& name) const {
        const CLI::Option* option = nullptr;
        for (const CLI::App* app = ChosenOf(m_app); app != nullptr && option == nullptr;
             app = app->get_parent()) {
            option = app->get_option_no_throw(name);
        }
        return option;
    }

    // Returns the values that may stand from `begin` on, each with what was typed before it. A list
    // is not offered what it has already.
    std::vector<Candidate> Values(const CLI::Option* option, const std::string& typed = "",
                                  std::size_t begin = 0) const {
        const auto known = m_candidates.find(option);
        if (known == m_candidates.end()) {
            return {};
        }
        std::string list;
        if (option->get_delimiter() == ',' && typed.find(',', begin) != std::string::npos) {
            const std::size_t end = typed.rfind(',') + 1;
            list = "," + typed.substr(begin, end - begin);
            begin = end;
        }
        std::vector<Candidate> values;
        for (const auto& [text, description] : known->second()) {
            if (list.find("," + text + ",") == std::string::npos) {
                values.push_back(
                    {(IsForShell(text) ? "" : typed.substr(0, begin)) + text, description});
            }
        }
        return values;
    }

    // The commands below the one that was given, and what may be its next word. Of several words,
    // none is offered twice.
    std::vector<Candidate> Words() const {
        std::size_t given = m_app.remaining().size();
        const CLI::Option* next = nullptr;
        for (const CLI::Option* option : ChosenOf(m_app)->get_options()) {
            given += option->get_positional() ? option->count() : 0;
            const bool takesMore = option->count() == 0 || option->get_expected_max() > 1;
            next = next == nullptr && option->get_positional() && takesMore ? option : next;
        }
        std::vector<Candidate> words =
            given == 0 ? CommandsOf(*ChosenOf(m_app)) : std::vector<Candidate>();
        for (const Candidate& word : Values(next)) {
            const std::vector<std::string>& before = next->results();
            if (std::find(before.begin(), before.end(), word.text) == before.end()) {
                words.push_back(word);
            }
        }
        return words;
    }

    CLI::App& m_app;
    const CandidatesOf& m_candidates;
    bool m_onlyWords;                        // after "--"
    const CLI::Option* m_wanting = nullptr;  // its value comes next
};

// Makes the directory of -C the one that is looked into; shells leave the "~" to the tool here.
void UseTypedDirectory(const std::string& directory) {
    const char* home = std::getenv("HOME");
    if (directory.compare(0, 2, "~/") == 0 && home != nullptr) {
        UseDirectory(home + directory.substr(1));
    } else if (!directory.empty()) {
        UseDirectory(directory);
    }
}

}  // namespace

std::vector<Candidate> OptionsOf(const CLI::App* app) {
    std::vector<Candidate> options;
    for (const CLI::App* level = app; level != nullptr; level = level->get_parent()) {
        for (const CLI::Option* option : level->get_options()) {
            for (const std::string& name : option->get_lnames()) {
                if (level == app || option != level->get_help_ptr()) {
                    options.push_back({"--" + name, option->get_description()});
                }
            }
        }
    }
    return options;
}

const CLI::App* ChosenOf(const CLI::App& app) {
    const CLI::App* chosen = &app;
    while (!chosen->get_subcommands().empty()) {
        chosen = chosen->get_subcommands().front();
    }
    return chosen;
}

void Complete(CLI::App& app, const CandidatesOf& candidates, Context& context,
              const std::vector<std::string>& words) {
    if (words.size() < 2) {
        return;
    }
    const bool isBash = words.front() == "bash";
    std::vector<Word> line = isBash ? SplitLine(words[1]) : std::vector<Word>();
    for (std::size_t i = 0; !isBash && i < words.size(); ++i) {
        line.push_back({words[i], words[i]});
    }
    std::vector<std::string> before;
    for (std::size_t i = 1; i + 1 < line.size(); ++i) {
        before.push_back(line[i].text);
    }
    const Cursor cursor(app, candidates, before);
    UseTypedDirectory(context.given.configDir);
    const Word& last = line.back();
    // What could play with the terminal, or break the lines, is not offered.
    for (const Candidate& candidate : cursor.Offer(last.text)) {
        if (IsForShell(candidate.text)) {
            context.output.PrintText(candidate.text + "\n");
        } else if (!candidate.text.empty() &&
                   support::PrintableLine(candidate.text) == candidate.text &&
                   candidate.text.rfind(last.text, 0) == 0) {
            context.output.PrintText(isBash ? ForBash(candidate.text, last.typed) : candidate.text);
            context.output.PrintText("\t" + Printable(candidate.description) + "\n");
        }
    }
}
