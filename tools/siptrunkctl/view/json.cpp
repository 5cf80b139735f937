#include "tools/siptrunkctl/view/json.h"

#include <cstdint>
#include <nlohmann/json.hpp>

#include "tools/siptrunkctl/view/text.h"

namespace {

constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// RFC 4648, section 4.
std::string Base64(std::string_view bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::string_view group = bytes.substr(i, 3);
        std::uint32_t bits = 0;
        for (std::size_t j = 0; j < 3; ++j) {
            bits = bits << 8U | (j < group.size() ? static_cast<unsigned char>(group[j]) : 0U);
        }
        for (std::size_t j = 0; j < 4; ++j) {
            text += j <= group.size() ? kDigits[bits >> (18 - 6 * j) & 0x3fU] : '=';
        }
    }
    return text;
}

// An ordered object looks for a name before it takes it, which makes many names slow; these names
// are known to be new.
void Append(Json& object, std::string name, Json value) {
    object.get_ref<Json::object_t&>().emplace_back(std::move(name), std::move(value));
}

// Puts one kind of value into an object.
struct Putting {
    Json& object;
    const std::string& name;
    bool secrets;

    void operator()(Nothing /*value*/) const { Append(object, name, nullptr); }
    void operator()(const std::string& text) const {
        Append(object, name, text);
        if (!IsUtf8(text)) {
            Append(object, name + kBase64Ending, Base64(text));
        }
    }
    void operator()(std::size_t number) const { Append(object, name, number); }
    void operator()(Switch value) const { Append(object, name, value.isOn); }
    void operator()(State value) const { Append(object, name, value.holds); }
    void operator()(const Secret& value) const {
        secrets ? (*this)(value.text) : (*this)(Nothing());
    }
};

// Such characters stand inside of texts only, where this form means the same.
std::string WithoutHarm(std::string_view json) {
    std::string text;
    text.reserve(json.size());
    for (support::Character character{}; !json.empty(); json.remove_prefix(character.length)) {
        character = support::FirstCharacter(json);
        const std::string_view bytes = json.substr(0, character.length);
        if (bytes == "\n" || !IsShownEscaped(character)) {
            text += bytes;
        } else {
            const std::string escaped = Json(bytes).dump(-1, ' ', true);
            text.append(escaped, 1, escaped.size() - 2);  // without its quotation marks
        }
    }
    return text;
}

}  // namespace

bool TextFromBase64(std::string_view base64, std::string& text) {
    text.clear();
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < base64.size(); ++i) {
        bits = bits << 6U | (kDigits.find(base64[i]) & 0x3fU);
        if (i % 4 != 0 && base64[i] != '=') {
            text += static_cast<char>(bits >> (6 - 2 * (i % 4)) & 0xffU);
        }
    }
    return Base64(text) == base64;
}

void Put(Json& object, const std::string& name, const Value& value, bool secrets) {
    std::visit(Putting{object, name, secrets}, value);
}

Json ToJson(const Record& record, bool secrets) {
    Json object = Json::object();
    for (const Field& field : record) {
        Put(object, field.name, field.value, secrets);
    }
    return object;
}

Json ToJson(const std::vector<Record>& records, bool secrets) {
    Json array = Json::array();
    for (const Record& record : records) {
        array.push_back(ToJson(record, secrets));
    }
    return array;
}

std::string JsonText(const Json& value, int indent) {
    return WithoutHarm(value.dump(indent, ' ', false, Json::error_handler_t::replace)) + "\n";
}
