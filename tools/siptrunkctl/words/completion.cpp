#include "tools/siptrunkctl/words/completion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>

#include "tools/siptrunkctl/device/cause.h"
#include "tools/siptrunkctl/words/shell_words.h"

namespace {

/// Follows the words of a command line up to the one that is to be completed.
class Follower {
  public:
    Follower(const CLI::App& root, const CandidatesOf& candidates)
        : m_candidates(candidates), m_app(&root) {}

    void Take(const std::string& word) {
        if (m_wanting != nullptr) {
            TakeValue(*m_wanting, word);
            m_wanting = nullptr;
        } else if (IsOption(word)) {
            const std::size_t separator = word.find('=');
            const CLI::Option* option = FindOption(word.substr(0, separator));
            if (option != nullptr && separator != std::string::npos) {
                TakeValue(*option, word.substr(separator + 1));
            } else if (option != nullptr && option->get_items_expected_max() > 0) {
                m_wanting = option;
            }
            m_onlyWords = word == "--";
        } else if (const auto* next = m_given == 0 ? FindCommand(*m_app, word) : nullptr) {
            m_app = next;
        } else {
            ++m_given;
        }
    }

    std::vector<Candidate> Offer(const std::string& typed) const {
        if (m_wanting != nullptr) {
            return OfferValues(m_wanting, "");
        }
        if (!IsOption(typed + "?")) {
            return OfferWords();
        }
        const std::size_t separator = typed.find('=');
        return separator == std::string::npos ? OfferOptions()
                                              : OfferValues(FindOption(typed.substr(0, separator)),
                                                            typed.substr(0, separator + 1));
    }

  private:
    bool IsOption(const std::string& word) const {
        return !m_onlyWords && word.size() > 1 && word.front() == '-';
    }

    static void TakeValue(const CLI::Option& option, const std::string& value) {
        if (option.check_name("--config-dir")) {
            const char* home = std::getenv("HOME");
            const bool isAtHome = value.compare(0, 2, "~/") == 0 && home != nullptr;
            UseDirectory(isAtHome ? home + value.substr(1) : value);
        }
    }

    const CLI::Option* FindOption(const std::string& name) const {
        const CLI::Option* option = nullptr;
        for (const CLI::App* app = m_app; app != nullptr && option == nullptr;
             app = app->get_parent()) {
            option = app->get_option_no_throw(name);
        }
        return option;
    }

    // before  what stands before each candidate
    std::vector<Candidate> OfferValues(const CLI::Option* option, const std::string& before) const {
        const auto known = m_candidates.find(option);
        std::vector<Candidate> candidates;
        if (known != m_candidates.end()) {
            candidates = known->second();
        }
        for (Candidate& candidate : candidates) {
            candidate.text = (candidate.text.front() == ':' ? "" : before) + candidate.text;
        }
        return candidates;
    }

    std::vector<Candidate> OfferOptions() const {
        std::vector<Candidate> candidates;
        for (const CLI::App* app = m_app; app != nullptr; app = app->get_parent()) {
            for (const CLI::Option* option : app->get_options()) {
                for (const std::string& name : option->get_lnames()) {
                    if (app == m_app || name != "help") {
                        candidates.push_back({"--" + name, option->get_description()});
                    }
                }
            }
        }
        return candidates;
    }

    std::vector<Candidate> OfferWords() const {
        std::vector<Candidate> candidates;
        if (m_given == 0) {
            candidates = CommandsOf(*m_app);
        }
        const std::vector<const CLI::Option*> words =
            m_app->get_options([](const CLI::Option* word) { return word->get_positional(); });
        if (!words.empty() && (m_given < words.size() || words.back()->get_expected_max() > 1)) {
            const std::vector<Candidate> more =
                OfferValues(words[std::min(m_given, words.size() - 1)], "");
            candidates.insert(candidates.end(), more.begin(), more.end());
        }
        return candidates;
    }

    const CandidatesOf& m_candidates;
    const CLI::App* m_app;
    const CLI::Option* m_wanting = nullptr;  // its value comes next
    std::size_t m_given = 0;                 // words after the command
    bool m_onlyWords = false;                // after "--"
};

// A text that would break the lines cannot be offered.
bool IsPlain(const std::string& text) {
    return !text.empty() && std::none_of(text.begin(), text.end(), [](char byte) {
        return static_cast<unsigned char>(byte) < ' ' || byte == '\x7f';
    });
}

std::string OneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) < ' '; },
        ' ');
    return text;
}

}  // namespace

std::vector<Candidate> CommandsOf(const CLI::App& app) {
    std::vector<Candidate> commands;
    for (const CLI::App* command : app.get_subcommands({})) {
        commands.push_back({command->get_name(), command->get_description()});
    }
    return commands;
}

const CLI::App* FindCommand(const CLI::App& app, const std::string& name) {
    const std::vector<const CLI::App*> found =
        app.get_subcommands([&](const CLI::App* command) { return command->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

void Complete(const CLI::App& root, const CandidatesOf& candidates, Output& output,
              const std::vector<std::string>& words) {
    if (words.size() < 2) {
        return;
    }
    const bool isBash = words.front() == "bash";
    std::vector<ShellWord> line;
    if (isBash) {
        line = SplitLine(words[1]);
    } else {
        for (const std::string& word : words) {
            line.push_back({word, word});
        }
    }
    Follower follower(root, candidates);
    for (std::size_t i = 1; i + 1 < line.size(); ++i) {
        follower.Take(line[i].text);
    }
    const ShellWord& last = line.back();
    for (const Candidate& candidate : follower.Offer(last.text)) {
        const bool isMark = candidate.text == kFiles || candidate.text == kFolders;
        if (isMark) {
            output.PrintText(candidate.text + "\n");
        } else if (IsPlain(candidate.text) && candidate.text.rfind(last.text, 0) == 0) {
            output.PrintText(isBash ? ForBash(candidate.text, last.typed) : candidate.text);
            output.PrintText("\t" + OneLine(candidate.description) + "\n");
        }
    }
}
