#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <variant>
#include <vector>

// What a command answers with, before anybody has decided how it looks.

/// What somebody has set: on or off.
struct Switch {
    bool isOn;
};

/// What has come about: yes or no.
struct State {
    bool holds;
};

/// A password: shown on demand only.
struct Secret {
    std::string text;
};

/// A value that this record does not have.
using Nothing = std::monostate;

using Value = std::variant<Nothing, std::string, std::size_t, Switch, State, Secret>;

/// On a terminal that is too narrow, the columns of the highest rank are left out first. Those of
/// kWhenGiven are also left out when they are empty in every row.
enum class Rank { kOnlyJson = -1, kAlways = 0, kUseful, kDetail, kWhenGiven };

/// One named value of an answer.
struct Field {
    const char* name;  ///< the same in tables, in JSON and in key=value words
    Value value;
    Rank rank = Rank::kAlways;
};

/// One answer: a row of a table, or a page of named values.
using Record = std::vector<Field>;

/// The text as a value, or nothing when the flag is false.
inline Value TextIf(bool isThere, std::string text) {
    return isThere ? Value(std::move(text)) : Value();
}
