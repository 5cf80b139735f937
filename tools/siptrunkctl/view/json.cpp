#include "tools/siptrunkctl/view/json.h"

#include <array>
#include <cstdint>
#include <cstdio>
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
void Put(Json& object, std::string name, Json value) {
    object.get_ref<Json::object_t&>().emplace_back(std::move(name), std::move(value));
}

// Puts one kind of value into an object.
struct Putting {
    Json& object;
    const char* name;
    bool secrets;

    void operator()(Nothing /*value*/) const { PutNull(object, name); }
    void operator()(const std::string& text) const { PutText(object, name, text); }
    void operator()(std::size_t number) const { Put(object, name, number); }
    void operator()(Switch value) const { Put(object, name, value.isOn); }
    void operator()(State value) const { Put(object, name, value.holds); }
    void operator()(const Secret& value) const {
        secrets ? PutText(object, name, value.text) : PutNull(object, name);
    }
};

void AppendUnit(std::string& text, std::uint32_t unit) {
    std::array<char, 8> escape{};
    (void)std::snprintf(escape.data(), escape.size(), "\\u%04x", unit & 0xffffU);
    text += escape.data();
}

// Such characters stand inside of texts only, where this form means the same.
std::string WithoutHarm(std::string_view json) {
    std::string text;
    text.reserve(json.size());
    for (std::size_t length = 0; !json.empty(); json.remove_prefix(length)) {
        length = CharacterLength(json);
        const std::string_view character = json.substr(0, length);
        const std::uint32_t point = CodePoint(character);
        if (point < 0x7f || !IsHarmful(point)) {
            text += character;
        } else if (point < 0x10000) {
            AppendUnit(text, point);
        } else {
            AppendUnit(text, 0xd7c0U + (point >> 10U));
            AppendUnit(text, 0xdc00U + (point & 0x3ffU));
        }
    }
    return text;
}

}  // namespace

bool TextFromBase64(std::string_view base64, std::string& text) {
    if (base64.size() % 4 != 0) {
        return false;
    }
    const std::size_t digits = base64.find_last_not_of('=') + 1;
    if (base64.size() - digits > 2) {
        return false;
    }
    text.clear();
    std::uint32_t bits = 0;
    unsigned int count = 0;
    for (const char digit : base64.substr(0, digits)) {
        const std::size_t value = kDigits.find(digit);
        if (value == std::string_view::npos) {
            return false;
        }
        bits = bits << 6U | static_cast<std::uint32_t>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            text += static_cast<char>(bits >> count & 0xffU);
        }
    }
    return true;
}

void PutText(Json& object, const std::string& name, const std::string& text) {
    Put(object, name, text);
    if (!IsUtf8(text)) {
        Put(object, name + kBase64Ending, Base64(text));
    }
}

void PutNull(Json& object, const std::string& name) { Put(object, name, nullptr); }

Json ToJson(const Record& record, bool secrets) {
    Json object = Json::object();
    for (const Field& field : record) {
        std::visit(Putting{object, field.name, secrets}, field.value);
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
