#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tools/siptrunkctl/arguments.h"

/// One named value of an answer.
struct Field {
    enum class Kind { kText, kSwitch, kState, kNumber, kSecret, kNone };

    const char* name;  // the same in tables, in JSON and in key=value words
    Kind kind;
    std::string text;  // of a switch or state "1" or empty
};

/// One answer: a row of a table, or a page of named values.
using Record = std::vector<Field>;

inline Field Text(const char* name, std::string_view text) {
    return {name, Field::Kind::kText, std::string(text)};
}
/// What somebody has set: on or off.
inline Field Switch(const char* name, bool value) {
    return {name, Field::Kind::kSwitch, value ? "1" : ""};
}
/// What has come about: yes or no.
inline Field State(const char* name, bool value) {
    return {name, Field::Kind::kState, value ? "1" : ""};
}
inline Field Number(const char* name, std::size_t value) {
    return {name, Field::Kind::kNumber, std::to_string(value)};
}
/// A password: shown on demand only.
inline Field Secret(const char* name, std::string_view text) {
    return {name, Field::Kind::kSecret, std::string(text)};
}
/// A value that this record does not have.
inline Field None(const char* name) { return {name, Field::Kind::kNone, ""}; }

/// How text is laid out for whoever reads it.
struct Layout {
    bool legend = true;       ///< head line and count
    bool color = false;       ///< escape sequences
    bool secrets = false;     ///< passwords
    std::size_t columns = 0;  ///< of the terminal; 0 for no limit
};

/// The layout for the standard output, as the arguments and the environment want it.
Layout LayoutOf(const Arguments& arguments);

/// Returns whether a stream is to have colors: `fd` is its descriptor.
bool WantsColor(const Arguments& arguments, int fd);

/// Returns records with the same fields as a table.
/// noun  what a record is, for the count under the table
std::string TableText(const std::vector<Record>& records, const char* noun, const Layout& layout);

/// Returns one record as lines of name and value.
std::string PageText(const Record& record, const Layout& layout);

/// Writes a text to the standard output. Throws a Failure when that takes no more.
void WriteAnswer(std::string_view text);
