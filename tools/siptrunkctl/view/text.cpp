#include "tools/siptrunkctl/view/text.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <iterator>
#include <numeric>

namespace {

using support::Character;

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

// Separators and marks that cannot be seen, by which one name can look like another.
constexpr Range kInvisible[] = {{0xad, 0xad},     {0x200b, 0x200f}, {0x2028, 0x202e},
                                {0x2060, 0x206f}, {0xfeff, 0xfeff}, {0xe0000, 0xe007f}};

// The blocks of Unicode whose characters a terminal draws over the one before,
constexpr Range kCombining[] = {{0x300, 0x36f},   {0x483, 0x489},   {0x591, 0x5bd},
                                {0x64b, 0x65f},   {0x1ab0, 0x1aff}, {0x1dc0, 0x1dff},
                                {0x20d0, 0x20ff}, {0xfe00, 0xfe0f}, {0xfe20, 0xfe2f}};

// and those that it draws in two columns: of East Asia, and pictures.
constexpr Range kWide[] = {
    {0x1100, 0x115f},   {0x2e80, 0x303e},   {0x3041, 0xa4cf},  {0xa960, 0xa97f}, {0xac00, 0xd7a3},
    {0xf900, 0xfaff},   {0xfe30, 0xfe6f},   {0xff00, 0xff60},  {0xffe0, 0xffe6}, {0x1f300, 0x1f64f},
    {0x1f680, 0x1f6ff}, {0x1f900, 0x1f9ff}, {0x20000, 0x3fffd}};

template <std::size_t Size>
bool IsIn(const Range (&ranges)[Size], std::uint32_t point) {
    return std::any_of(std::begin(ranges), std::end(ranges), [point](const Range& range) {
        return point >= range.first && point <= range.last;
    });
}

// Returns a text whose blanks before `first` and after `last` are escaped as well.
std::string Escaped(std::string_view text, std::size_t first, std::size_t last) {
    std::string escaped;
    std::size_t backslashes = 0;  // those right before the next character
    Character character{};
    for (std::size_t at = 0; at < text.size(); at += character.length) {
        character = support::FirstCharacter(text.substr(at));
        const std::string_view bytes = text.substr(at, character.length);
        const bool isHidden =
            IsShownEscaped(character) || (bytes == " " && (at < first || at > last));
        if (isHidden || bytes == "x") {
            escaped.append(backslashes, '\\');
        }
        backslashes = bytes == "\\" ? backslashes + 1 : 0;
        if (isHidden) {
            support::AppendEscaped(escaped, bytes);
        } else {
            escaped += bytes;
        }
    }
    return escaped;
}

bool IsSameLetter(char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) ==
           std::tolower(static_cast<unsigned char>(b));
}

// The number of letters to insert, remove or replace to get from one word to the other; the
// letters' case does not count.
std::size_t Distance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (const char letter : from) {
        std::size_t diagonal = row[0]++;
        for (std::size_t i = 0; i < to.size(); ++i) {
            const std::size_t replaced = diagonal + (IsSameLetter(letter, to[i]) ? 0 : 1);
            diagonal = row[i + 1];
            row[i + 1] = std::min({row[i] + 1, diagonal + 1, replaced});
        }
    }
    return row.back();
}

const std::string* OnlyOneThatBeginsWith(std::string_view word,
                                         const std::vector<std::string>& candidates) {
    const std::string* only = nullptr;
    for (const std::string& candidate : candidates) {
        if (!word.empty() && candidate.compare(0, word.size(), word) == 0) {
            if (only != nullptr) {
                return nullptr;
            }
            only = &candidate;
        }
    }
    return only;
}

const std::string* Nearest(std::string_view word, const std::vector<std::string>& candidates) {
    const std::string* nearest = nullptr;
    const std::size_t dashes = std::min(word.find_first_not_of('-'), word.size());
    std::size_t least = (word.size() - dashes) / 3 + 1;  // farther away, it is another word
    for (const std::string& candidate : candidates) {
        const std::size_t distance = Distance(word, candidate);
        if (distance < least || (distance == least && nearest == nullptr && least < word.size())) {
            least = distance;
            nearest = &candidate;
        }
    }
    return nearest != nullptr ? nearest : OnlyOneThatBeginsWith(word, candidates);
}

}  // namespace

bool IsShownEscaped(const Character& character) {
    return character.IsStrange() || support::IsHarmful(character.point) ||
           IsIn(kInvisible, character.point);
}

bool IsUtf8(std::string_view text) {
    Character character{};
    for (; !text.empty() && !character.IsStrange(); text.remove_prefix(character.length)) {
        character = support::FirstCharacter(text);
    }
    return !character.IsStrange();
}

std::size_t Width(std::string_view text) {
    std::size_t width = 0;
    for (Character character{}; !text.empty(); text.remove_prefix(character.length)) {
        character = support::FirstCharacter(text);
        const bool isLatin = character.point < kCombining[0].first;
        width += isLatin                             ? 1
                 : IsIn(kCombining, character.point) ? 0
                 : IsIn(kWide, character.point)      ? 2
                                                     : 1;
    }
    return width;
}

std::string Printable(std::string_view text) { return Escaped(text, 0, text.size()); }

std::string PrintableCell(std::string_view text) {
    if (text == "-") {
        return "\\x2d";
    }
    const std::size_t first = text.find_first_not_of(' ');
    // Of a text of blanks alone, the first is enough to see.
    return first == std::string_view::npos ? Escaped(text, 1, text.size())
                                           : Escaped(text, first, text.find_last_not_of(' '));
}

std::string Quoted(std::string_view text) { return "\"" + Printable(text) + "\""; }

std::string DidYouMean(std::string_view word, const std::vector<std::string>& candidates) {
    const std::string* nearest = Nearest(word, candidates);
    return nearest == nullptr ? std::string() : "; did you mean " + Quoted(*nearest) + "?";
}
