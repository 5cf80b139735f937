#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "tools/siptrunkctl/view/value.h"

using Json = nlohmann::ordered_json;

/// The ending of the name under which a text that is not UTF-8 stands a second time, in base64.
constexpr const char* kBase64Ending = "_base64";

/// Puts a value into an object, under a name that it does not have yet. JSON holds UTF-8 alone: of
/// other texts the strange bytes show as replacement characters, and a second member, the name with
/// the ending, has them all in base64.
/// @param secrets whether secrets are shown; else they are null
void Put(Json& object, const std::string& name, const Value& value, bool secrets);

/// Reads such a text back. Returns false when it is not written as Put would write it.
bool TextFromBase64(std::string_view base64, std::string& text);

/// Returns a record as an object.
Json ToJson(const Record& record, bool secrets);
Json ToJson(const std::vector<Record>& records, bool secrets);

/// @return a value as text for the standard output, with the line end. Characters that could play
/// with a terminal are escaped.
/// @param indent blanks for each level; -1 for one line
std::string JsonText(const Json& value, int indent = 2);
