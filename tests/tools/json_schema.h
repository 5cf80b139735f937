#pragma once

#include <nlohmann/json.hpp>
#include <string>

/// Validates JSON against the part of JSON Schema that schema/siptrunkctl.schema.json uses.
class JsonSchema {
  public:
    explicit JsonSchema(nlohmann::json document);

    /// Returns what is wrong with `value`, measured by the definition `name`; empty when nothing
    /// is. Throws std::logic_error for a keyword that is not known here, so that none goes unseen.
    std::string Fault(const std::string& name, const nlohmann::json& value) const;
    bool Has(const std::string& name) const;

  private:
    using Json = nlohmann::json;

    std::string Fault(const std::string& name, const Json& value, const std::string& at) const;
    std::string FaultAt(const Json& schema, const Json& value, const std::string& at) const;
    std::string KeywordFault(const std::string& keyword, const Json& schema, const Json& value,
                             const std::string& at) const;
    std::string ChoiceFault(const Json& choices, const Json& value, const std::string& at) const;
    std::string MembersFault(const Json& schema, const Json& value, const std::string& at) const;
    std::string MemberFault(const Json& schema, const std::string& key, const Json& value,
                            const std::string& at) const;

    Json m_document;
};
