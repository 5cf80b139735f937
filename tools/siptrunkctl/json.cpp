#include "tools/siptrunkctl/json.h"

#include <cstdint>

#include "tools/siptrunkctl/text.h"

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
    object[name] = text;
    if (!IsUtf8(text)) {
        object[name + kBase64Ending] = Base64(text);
    }
}

Json ToJson(const Record& record, bool secrets) {
    Json object = Json::object();
    for (const Field& field : record) {
        switch (field.kind) {
            case Field::Kind::kText:
                PutText(object, field.name, field.text);
                break;
            case Field::Kind::kSwitch:
            case Field::Kind::kState:
                object[field.name] = !field.text.empty();
                break;
            case Field::Kind::kNumber:
                object[field.name] = std::stoul(field.text);
                break;
            case Field::Kind::kSecret:
                if (secrets) {
                    PutText(object, field.name, field.text);
                } else {
                    object[field.name] = nullptr;
                }
                break;
            case Field::Kind::kNone:
                object[field.name] = nullptr;
                break;
        }
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
    return value.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}
