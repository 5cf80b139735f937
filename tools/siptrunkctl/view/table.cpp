#include "tools/siptrunkctl/view/table.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <numeric>
#include <string_view>

#include "tools/siptrunkctl/view/text.h"

namespace {

constexpr std::size_t kGap = 2;

// The widths to which the first column, which tells the rows apart, and the others are cut, step by
// step. An IPv4 address has 15 characters.
constexpr std::pair<std::size_t, std::size_t> kLeastWidths[] = {{26, 15}, {26, 8}, {8, 8}};

constexpr const char* kBold = "\x1b[1m";
constexpr const char* kPlain = "\x1b[0m";
constexpr const char* kNothing = "-";

struct Showing {
    bool secrets;

    std::string operator()(Nothing /*value*/) const { return kNothing; }
    std::string operator()(const std::string& text) const {
        return text.empty() ? kNothing : PrintableCell(text);
    }
    std::string operator()(std::size_t number) const { return std::to_string(number); }
    std::string operator()(Switch value) const { return value.isOn ? "on" : "off"; }
    std::string operator()(State value) const { return value.holds ? "yes" : "no"; }
    std::string operator()(const Secret& value) const {
        return secrets || value.text.empty() ? (*this)(value.text) : "(hidden)";
    }
};

std::string Heading(const char* name) {
    std::string heading(name);
    for (char& letter : heading) {
        letter = letter == '_'
                     ? ' '
                     : static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    }
    return heading;
}

// Returns the first characters of a text that is too wide, with a mark that some are missing.
std::string Cut(const std::string& text, std::size_t width) {
    const std::string_view whole = text;
    std::size_t end = whole.size();
    for (std::size_t next = 0; Width(whole) > width && Width(whole.substr(0, next)) < width;) {
        end = next;
        next += support::FirstCharacter(whole.substr(next)).length;
    }
    return end == whole.size() ? text : text.substr(0, end) + "~";
}

// Returns whether people are to see the field.
bool IsShown(const Field& field) {
    return field.rank != Rank::kOnlyJson &&
           (field.rank != Rank::kWhenGiven || !std::holds_alternative<Nothing>(field.value));
}

/// One column, from its heading down.
struct Column {
    Rank rank;
    std::vector<std::string> cells;
    std::size_t width;
};

std::vector<Column> ColumnsOf(const std::vector<Record>& records, const Layout& layout) {
    std::vector<Column> columns;
    for (std::size_t i = 0; i < records.front().size(); ++i) {
        const Field& first = records.front()[i];
        if (std::none_of(records.begin(), records.end(),
                         [i](const Record& record) { return IsShown(record[i]); })) {
            continue;
        }
        Column column{first.rank, {}, 0};
        if (layout.legend) {
            column.cells.push_back(Heading(first.name));
        }
        for (const Record& record : records) {
            column.cells.push_back(CellText(record[i].value, layout));
        }
        for (const std::string& cell : column.cells) {
            column.width = std::max(column.width, Width(cell));
        }
        columns.push_back(std::move(column));
    }
    return columns;
}

std::size_t TotalWidth(const std::vector<Column>& columns) {
    return std::accumulate(
        columns.begin(), columns.end(), kGap * (columns.size() - 1),
        [](std::size_t total, const Column& column) { return total + column.width; });
}

// Takes from the widest column until the table fits, or all have their least width.
void CutTo(std::size_t limit, std::vector<Column>& columns, std::size_t leastOfFirst,
           std::size_t leastOfOthers) {
    for (std::size_t total = TotalWidth(columns); total > limit; --total) {
        Column* widest = nullptr;
        for (Column& column : columns) {
            const bool isFirst = &column == &columns.front();
            if (column.width > (isFirst ? leastOfFirst : leastOfOthers) &&
                (widest == nullptr || column.width > widest->width)) {
                widest = &column;
            }
        }
        if (widest == nullptr) {
            return;
        }
        --widest->width;
    }
}

// Leaves columns out and cuts others until the table fits. A very narrow terminal wraps the lines.
// Returns the headings of the columns that had to go.
std::vector<std::string> FitTo(std::size_t limit, std::vector<Column>& columns) {
    const auto isWorthMore = [](const Column& a, const Column& b) { return a.rank < b.rank; };
    std::vector<std::string> dropped;
    while (TotalWidth(columns) > limit) {
        const auto least = std::max_element(columns.rbegin(), columns.rend(), isWorthMore);
        if (least->rank == Rank::kAlways) {
            break;
        }
        dropped.insert(dropped.begin(), least->cells.front());
        columns.erase(std::next(least).base());
    }
    for (const auto& [ofFirst, ofOthers] : kLeastWidths) {
        CutTo(limit, columns, ofFirst, ofOthers);
    }
    return dropped;
}

std::string LineOf(const std::vector<Column>& columns, std::size_t row) {
    std::string line;
    std::size_t blanks = 0;
    for (const Column& column : columns) {
        const std::string cell = Cut(column.cells[row], column.width);
        line.append(blanks, ' ').append(cell);
        blanks = column.width - Width(cell) + kGap;
    }
    return line;
}

std::string CountText(std::size_t count, const char* noun,
                      const std::vector<std::string>& dropped) {
    std::string text = std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
    for (std::size_t i = 0; i < dropped.size(); ++i) {
        text += (i == 0 ? "; --full also shows " : ", ") + dropped[i];
    }
    return text + "\n";
}

}  // namespace

std::string CellText(const Value& value, const Layout& layout) {
    return std::visit(Showing{layout.secrets}, value);
}

std::string TableText(const std::vector<Record>& records, const char* noun, const Layout& layout) {
    std::string text;
    std::vector<std::string> dropped;
    if (!records.empty()) {
        std::vector<Column> columns = ColumnsOf(records, layout);
        if (layout.columns != 0) {
            dropped = FitTo(layout.columns, columns);
        }
        for (std::size_t i = 0; i < columns.front().cells.size(); ++i) {
            const bool isHead = layout.color && layout.legend && i == 0;
            const std::string line = LineOf(columns, i);
            text.append(isHead ? kBold + line + kPlain : line).append("\n");
        }
    }
    return layout.legend ? text + CountText(records.size(), noun, dropped) : text;
}

std::string PageText(const Record& record, const Layout& layout) {
    std::size_t width = 0;
    for (const Field& field : record) {
        width = std::max(width, IsShown(field) ? Width(field.name) : 0);
    }
    std::string text;
    for (const Field& field : record) {
        if (!IsShown(field)) {
            continue;
        }
        std::string name(field.name);
        name.resize(width, ' ');
        text.append(layout.color ? kBold + name + kPlain : name);
        text.append(kGap, ' ').append(CellText(field.value, layout)).append("\n");
    }
    return text;
}
