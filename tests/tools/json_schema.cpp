#include "tests/tools/json_schema.h"

#include <algorithm>
#include <regex>
#include <set>
#include <stdexcept>

namespace {

using Json = nlohmann::json;

constexpr std::string_view kDefinitions = "#/$defs/";

bool IsOfType(const Json& value, const std::string& type) {
    return type == "integer" ? value.is_number_integer() : value.type_name() == type;
}

bool IsOfOneType(const Json& value, const Json& types) {
    if (types.is_string()) {
        return IsOfType(value, types);
    }
    return std::any_of(types.begin(), types.end(),
                       [&](const Json& type) { return IsOfType(value, type); });
}

// The keywords that look at the value alone.
bool Obeys(const std::string& keyword, const Json& rule, const Json& value) {
    if (keyword == "type") {
        return IsOfOneType(value, rule);
    }
    if (keyword == "const") {
        return value == rule;
    }
    if (keyword == "enum") {
        return std::find(rule.begin(), rule.end(), value) != rule.end();
    }
    if (keyword == "pattern") {
        return !value.is_string() ||
               std::regex_search(value.get<std::string>(), std::regex(rule.get<std::string>()));
    }
    if (keyword == "required") {
        return !value.is_object() || std::all_of(rule.begin(), rule.end(), [&](const Json& key) {
            return value.contains(key);
        });
    }
    throw std::logic_error("unknown keyword " + keyword);
}

}  // namespace

JsonSchema::JsonSchema(Json document) : m_document(std::move(document)) {}

bool JsonSchema::Has(const std::string& name) const { return m_document["$defs"].contains(name); }

std::string JsonSchema::Fault(const std::string& name, const Json& value) const {
    return Fault(name, value, name);
}

std::string JsonSchema::Fault(const std::string& name, const Json& value,
                              const std::string& at) const {
    return FaultAt(m_document["$defs"].at(name), value, at);
}

std::string JsonSchema::FaultAt(const Json& schema, const Json& value,
                                const std::string& at) const {
    for (const auto& [keyword, unused] : schema.items()) {
        const std::string fault = KeywordFault(keyword, schema, value, at);
        if (!fault.empty()) {
            return fault;
        }
    }
    return "";
}

std::string JsonSchema::KeywordFault(const std::string& keyword, const Json& schema,
                                     const Json& value, const std::string& at) const {
    static const std::set<std::string> kOfMembers = {"properties", "patternProperties",
                                                     "additionalProperties"};
    const Json& rule = schema[keyword];
    if (keyword == "description") {
        return "";
    }
    if (keyword == "$ref") {
        return Fault(rule.get<std::string>().substr(kDefinitions.size()), value, at);
    }
    if (keyword == "anyOf") {
        return ChoiceFault(rule, value, at);
    }
    if (keyword == "items") {
        std::string fault;
        for (std::size_t i = 0; value.is_array() && i < value.size() && fault.empty(); ++i) {
            fault = FaultAt(rule, value[i], at + "[" + std::to_string(i) + "]");
        }
        return fault;
    }
    if (kOfMembers.count(keyword) != 0) {
        return MembersFault(schema, value, at);
    }
    return Obeys(keyword, rule, value)
               ? ""
               : at + ": " + keyword + " " + rule.dump() + ": " + value.dump();
}

std::string JsonSchema::ChoiceFault(const Json& choices, const Json& value,
                                    const std::string& at) const {
    std::string faults;
    for (const Json& choice : choices) {
        const std::string fault = FaultAt(choice, value, at);
        if (fault.empty()) {
            return "";
        }
        faults += fault + "; ";
    }
    return faults;
}

std::string JsonSchema::MembersFault(const Json& schema, const Json& value,
                                     const std::string& at) const {
    if (!value.is_object()) {
        return "";
    }
    for (const auto& [key, member] : value.items()) {
        const std::string fault = MemberFault(schema, key, member, at + "." + key);
        if (!fault.empty()) {
            return fault;
        }
    }
    return "";
}

std::string JsonSchema::MemberFault(const Json& schema, const std::string& key, const Json& value,
                                    const std::string& at) const {
    if (schema.contains("properties") && schema["properties"].contains(key)) {
        return FaultAt(schema["properties"][key], value, at);
    }
    if (schema.contains("patternProperties")) {
        for (const auto& [pattern, rule] : schema["patternProperties"].items()) {
            if (std::regex_search(key, std::regex(pattern))) {
                return FaultAt(rule, value, at);
            }
        }
    }
    if (!schema.contains("additionalProperties")) {
        return "";
    }
    const Json& rule = schema["additionalProperties"];
    if (rule.is_object()) {
        return FaultAt(rule, value, at);
    }
    return rule.get<bool>() ? "" : at + ": unexpected";
}
