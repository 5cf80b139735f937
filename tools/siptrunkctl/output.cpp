#include "tools/siptrunkctl/output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "support/system_call.h"
#include "tools/siptrunkctl/failure.h"
#include "tools/siptrunkctl/text.h"

namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kLeastWidth = 8;
constexpr const char* kBold = "\x1b[1m";
constexpr const char* kPlain = "\x1b[0m";

std::string CellText(const Field& field, const Layout& layout) {
    switch (field.kind) {
        case Field::Kind::kSwitch:
            return field.text.empty() ? "off" : "on";
        case Field::Kind::kState:
            return field.text.empty() ? "no" : "yes";
        case Field::Kind::kSecret:
            if (!layout.secrets && !field.text.empty()) {
                return "(hidden)";
            }
            break;
        case Field::Kind::kText:
        case Field::Kind::kNumber:
        case Field::Kind::kNone:
            break;
    }
    return field.text.empty() ? "-" : Printable(field.text);
}

std::string Heading(const char* name) {
    std::string heading(name);
    for (char& letter : heading) {
        letter = letter == '_'
                     ? ' '
                     : static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    }
    return heading;
}

using Row = std::vector<std::string>;

std::vector<std::size_t> WidthsOf(const std::vector<Row>& rows) {
    std::vector<std::size_t> widths(rows.front().size(), 0);
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], Width(row[i]));
        }
    }
    return widths;
}

// Takes from the widest column until the table fits; a very narrow terminal wraps the lines.
void FitTo(std::size_t columns, std::vector<std::size_t>& widths) {
    std::size_t total = kGap * (widths.size() - 1);
    for (const std::size_t width : widths) {
        total += width;
    }
    while (total > columns) {
        const auto widest = std::max_element(widths.begin(), widths.end());
        if (*widest <= kLeastWidth) {
            return;
        }
        --*widest;
        --total;
    }
}

// Returns the first characters of a text that is too wide, with a mark that some are missing.
std::string Cut(const std::string& text, std::size_t width) {
    if (Width(text) <= width) {
        return text;
    }
    std::size_t end = 0;
    std::size_t next = 0;
    while (Width(std::string_view(text).substr(0, next)) < width) {
        end = next;
        next += CharacterLength(std::string_view(text).substr(next));
    }
    return text.substr(0, end) + "~";
}

std::string Line(const Row& row, const std::vector<std::size_t>& widths) {
    std::string line;
    std::size_t blanks = 0;
    for (std::size_t i = 0; i < row.size(); ++i) {
        const std::string cell = Cut(row[i], widths[i]);
        line.append(blanks, ' ').append(cell);
        blanks = widths[i] - Width(cell) + kGap;
    }
    return line;
}

}  // namespace

bool WantsColor(const Arguments& arguments, int fd) {
    if (arguments.color != "auto") {
        return arguments.color == "always";
    }
    const char* noColor = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    return (noColor == nullptr || *noColor == '\0') && isatty(fd) == 1 && terminal != nullptr &&
           std::string_view(terminal) != "dumb";
}

Layout LayoutOf(const Arguments& arguments) {
    Layout layout;
    layout.legend = !arguments.noLegend;
    layout.color = WantsColor(arguments, STDOUT_FILENO);
    layout.secrets = arguments.showSecrets;
    struct winsize size {};
    if (isatty(STDOUT_FILENO) == 1 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) {
        layout.columns = size.ws_col;
    }
    return layout;
}

std::string TableText(const std::vector<Record>& records, const char* noun, const Layout& layout) {
    std::vector<Row> rows;
    if (layout.legend && !records.empty()) {
        Row head;
        for (const Field& field : records.front()) {
            head.push_back(Heading(field.name));
        }
        rows.push_back(std::move(head));
    }
    for (const Record& record : records) {
        Row row;
        for (const Field& field : record) {
            row.push_back(CellText(field, layout));
        }
        rows.push_back(std::move(row));
    }
    std::string text;
    if (!rows.empty()) {
        std::vector<std::size_t> widths = WidthsOf(rows);
        if (layout.columns != 0) {
            FitTo(layout.columns, widths);
        }
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const bool isHead = layout.color && layout.legend && i == 0;
            const std::string line = Line(rows[i], widths);
            text.append(isHead ? kBold + line + kPlain : line).append("\n");
        }
    }
    if (layout.legend) {
        text.append(std::to_string(records.size())).append(" ").append(noun);
        text.append(records.size() == 1 ? "\n" : "s\n");
    }
    return text;
}

std::string PageText(const Record& record, const Layout& layout) {
    std::size_t width = 0;
    for (const Field& field : record) {
        width = std::max(width, Width(field.name));
    }
    std::string text;
    for (const Field& field : record) {
        std::string name(field.name);
        name.resize(width, ' ');
        text.append(layout.color ? kBold + name + kPlain : name);
        text.append(kGap, ' ').append(CellText(field, layout)).append("\n");
    }
    return text;
}

void WriteAnswer(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written =
            RetryInterrupted([&] { return write(STDOUT_FILENO, text.data(), text.size()); });
        if (written == -1) {
            throw Failure(ExitCode::kFailed,
                          std::string("standard output: write: ") + std::strerror(errno));
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}
