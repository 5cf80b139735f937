#include "tools/siptrunkctl/view/text.h"

#include "tools/siptrunkctl/view/harmless.h"

#include <algorithm>
#include <cctype>

namespace {

std::uint32_t Byte(std::string_view text, std::size_t place) {
    return static_cast<unsigned char>(text[place]);
}

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

// Control characters, line separators, and the marks that cannot be seen or turn the direction of
// writing, by which one name can look like another.
constexpr Range kHarmful[] = {{0x0, 0x1f},      {0x7f, 0x9f},     {0xad, 0xad},
                              {0x61c, 0x61c},   {0x200b, 0x200f}, {0x2028, 0x202e},
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

// Appends a text, each byte of which is shown by its number when it can be harmful.
class Escaper {
  public:
    // first, last  the text's part whose blanks stay as they are
    // doubles      whether backslashes before what looks escaped are doubled
    Escaper(std::string_view text, std::size_t first, std::size_t last, bool doubles = true)
        : m_text(text), m_first(first), m_last(last), m_doubles(doubles) {}

    std::string Run() {
        std::string printable;
        for (std::size_t at = 0; at < m_text.size();) {
            if (m_text[at] == '\\') {
                at = AppendBackslashes(printable, at);
                continue;
            }
            const std::size_t length = LengthAt(at);
            if (IsEscaped(at)) {
                AppendEscaped(printable, m_text.substr(at, length));
            } else {
                printable += m_text.substr(at, length);
            }
            at += length;
        }
        return printable;
    }

  private:
    std::size_t LengthAt(std::size_t at) const {
        return std::max<std::size_t>(CharacterLength(m_text.substr(at)), 1);
    }

    bool IsEscaped(std::size_t at) const {
        const std::size_t length = CharacterLength(m_text.substr(at));
        return length == 0 || IsHarmful(CodePoint(m_text.substr(at, length))) ||
               ((at < m_first || at > m_last) && m_text[at] == ' ');
    }

    std::size_t AppendBackslashes(std::string& printable, std::size_t begin) const {
        const std::size_t end = std::min(m_text.find_first_not_of('\\', begin), m_text.size());
        const bool isDoubled =
            m_doubles && end < m_text.size() && (m_text[end] == 'x' || IsEscaped(end));
        printable.append((isDoubled ? 2 : 1) * (end - begin), '\\');
        return end;
    }

    static void AppendEscaped(std::string& text, std::string_view bytes) {
        static const char* const kDigits = "0123456789abcdef";
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            text.append("\\x").append(1, kDigits[Byte(bytes, i) >> 4U]);
            text.append(1, kDigits[Byte(bytes, i) & 0xfU]);
        }
    }

    std::string_view m_text;
    std::size_t m_first;
    std::size_t m_last;
    bool m_doubles;
};

char LowerCase(char letter) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
}

// The number of letters to insert, remove, replace or swap to get from one word to the other
// (optimal string alignment); the letters' case does not count.
std::size_t Distance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> beforeLast(to.size() + 1);
    std::vector<std::size_t> last(to.size() + 1);
    std::vector<std::size_t> row(to.size() + 1);
    for (std::size_t j = 0; j <= to.size(); ++j) {
        row[j] = j;
    }
    for (std::size_t i = 1; i <= from.size(); ++i) {
        beforeLast.swap(last);
        last.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const bool same = LowerCase(from[i - 1]) == LowerCase(to[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && LowerCase(from[i - 1]) == LowerCase(to[j - 2]) &&
                LowerCase(from[i - 2]) == LowerCase(to[j - 1])) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
    }
    return row[to.size()];
}

}  // namespace

std::uint32_t CodePoint(std::string_view character) {
    const std::size_t length = character.size();
    if (length == 1) {
        return Byte(character, 0);
    }
    std::uint32_t point = Byte(character, 0) & (0x7fU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        point = point << 6U | (Byte(character, i) & 0x3fU);
    }
    return point;
}

bool IsHarmful(std::uint32_t point) { return IsIn(kHarmful, point); }

std::size_t CharacterLength(std::string_view text) {
    if (text.empty()) {
        return 0;
    }
    const std::uint32_t first = Byte(text, 0);
    if (first < 0x80) {
        return 1;
    }
    const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < length) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((Byte(text, i) & 0xc0U) != 0x80) {
            return 0;
        }
    }
    const std::uint32_t point = CodePoint(text.substr(0, length));
    const bool tooLong = (length == 3 && point < 0x800) || (length == 4 && point < 0x10000);
    const bool isSurrogate = point >= 0xd800 && point <= 0xdfff;
    return tooLong || isSurrogate || point > 0x10ffff ? 0 : length;
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::size_t Width(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        const std::uint32_t point = CodePoint(text.substr(0, length));
        width += IsIn(kCombining, point) ? 0 : IsIn(kWide, point) ? 2 : 1;
        text.remove_prefix(length);
    }
    return width;
}

std::string Printable(std::string_view text) { return Escaper(text, 0, text.size()).Run(); }

std::string Harmless(std::string_view text) { return Escaper(text, 0, text.size(), false).Run(); }

std::string PrintableCell(std::string_view text) {
    if (text == "-") {
        return "\\x2d";
    }
    const std::size_t first = text.find_first_not_of(' ');
    // Of a text of blanks alone, the first is enough to see.
    return first == std::string_view::npos ? Escaper(text, 1, text.size()).Run()
                                           : Escaper(text, first, text.find_last_not_of(' ')).Run();
}

std::string Quoted(std::string_view text) { return "\"" + Printable(text) + "\""; }

const std::string* Nearest(std::string_view word, const std::vector<std::string>& candidates) {
    const std::string* nearest = nullptr;
    std::size_t least = word.size() / 3 + 1;  // farther away, it is another word
    for (const std::string& candidate : candidates) {
        const std::size_t distance = Distance(word, candidate);
        if (distance < least || (distance == least && nearest == nullptr && least < word.size())) {
            least = distance;
            nearest = &candidate;
        }
    }
    return nearest;
}

std::string DidYouMean(std::string_view word, const std::vector<std::string>& candidates) {
    const std::string* nearest = Nearest(word, candidates);
    return nearest == nullptr ? std::string() : "; did you mean " + Quoted(*nearest) + "?";
}
