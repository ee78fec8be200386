#include "engine/files/ValueJson.h"

#include "engine/errors/CEngineError.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>

#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

using nlohmann::json;
using ORVEN::CValue;

namespace engine {

namespace {

const char* const c_doubleKey = "/double";
const char* const c_bytesKey = "/bytes";

void RequireDepth(int depth) {
    if (depth > c_maxJsonDepth) {
        throw CFileError("values stand more than " + std::to_string(c_maxJsonDepth) + " levels deep");
    }
}

/// Whether the JSON library can write the text; asks the library, so that its own rules apply.
bool IsUtf8(const std::string& text) {
    try {
        (void)json(text).dump();
        return true;
    } catch (const json::type_error&) {
        return false;
    }
}

std::string HexOfBytes(std::string_view bytes) {
    static const char* const digits = "0123456789abcdef";
    std::string hex;
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        hex += digits[code >> 4];
        hex += digits[code & 15];
    }
    return hex;
}

std::optional<std::string> BytesOfHex(std::string_view hex) {
    if (hex.size() % 2 != 0)
        return std::nullopt;
    std::string bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        unsigned code = 0;
        const char* const end = hex.data() + i + 2;
        if (std::from_chars(hex.data() + i, end, code, 16).ptr != end)
            return std::nullopt;
        bytes += static_cast<char>(code);
    }
    return bytes;
}

json JsonOfDouble(double number) {
    if (std::isfinite(number))
        return number;
    return {{c_doubleKey, std::isnan(number) ? "nan" : number > 0 ? "inf" : "-inf"}};
}

json JsonOfText(const std::string& text) {
    if (IsUtf8(text))
        return text;
    return {{c_bytesKey, HexOfBytes(text)}};
}

json JsonOfValue(const CValue& value, int depth);

json JsonOfMap(const ORVEN::CValueMap& map, int depth) {
    json object = json::object();
    for (auto entry = map.begin(); !(entry == map.end()); ++entry) {
        if (entry.Value()->GenericType() == CValue::VAL_POINTER)
            continue;
        const std::string key = entry.Key().ToString();
        object[IsUtf8(key) ? key : HexOfBytes(key).insert(0, 1, '/')] = JsonOfValue(*entry.Value(), depth);
    }
    return object;
}

json JsonOfVector(const ORVEN::CValueVector& vector, int depth) {
    json array = json::array();
    for (const CValue* element : vector)
        array.push_back(element != nullptr ? JsonOfValue(*element, depth) : json());
    return array;
}

json JsonOfValue(const CValue& value, int depth) {
    RequireDepth(depth);
    switch (value.GenericType()) {
    case CValue::VAL_BOOL:
        return value.Bool();
    case CValue::VAL_LONG:
        return value.Long();
    case CValue::VAL_DOUBLE:
        return JsonOfDouble(value.Double());
    case CValue::VAL_STRING:
        return JsonOfText(value.String().Std());
    case CValue::VAL_MAP:
        return JsonOfMap(*value.Map(), depth + 1);
    case CValue::VAL_VECTOR:
        return JsonOfVector(*value.Vector(), depth + 1);
    case CValue::VAL_POINTER:
    case CValue::VAL_NONE:
        break;
    }
    return nullptr;
}

template <class Integer>
std::unique_ptr<CValue> ValueOfInteger(Integer number) {
    if (std::in_range<std::int32_t>(number))
        return std::make_unique<ORVEN::CValueLong>(static_cast<std::int32_t>(number));
    return std::make_unique<ORVEN::CValueDouble>(static_cast<double>(number));
}

/// Decodes a double or text that JSON cannot represent; returns null if the object is an ordinary map.
std::unique_ptr<CValue> SpecialValue(const json& object) {
    if (object.size() != 1 || !object.front().is_string())
        return nullptr;
    const std::string key = object.begin().key();
    const std::string text = object.front().get<std::string>();
    if (key == c_doubleKey && (text == "nan" || text == "inf" || text == "-inf"))
        return std::make_unique<ORVEN::CValueDouble>(std::strtod(text.c_str(), nullptr));
    if (key == c_bytesKey) {
        if (auto bytes = BytesOfHex(text))
            return std::make_unique<ORVEN::CValueString>(ORVEN::CString(std::move(*bytes)));
    }
    return nullptr;
}

std::string KeyOfJson(const std::string& name) {
    if (name.starts_with('/')) {
        const auto bytes = BytesOfHex(std::string_view(name).substr(1));
        if (bytes && !IsUtf8(*bytes) && bytes->find_first_of(std::string("/\0", 2)) == std::string::npos)
            return *bytes;
    }
    if (name.find_first_of(std::string("/\0", 2)) != std::string::npos) {
        throw CFileError("no map can have the key " + json(name).dump() +
                         ": '/' separates the steps of a path, and a zero byte ends it");
    }
    return name;
}

std::unique_ptr<CValue> ValueOfJson(const json& json, int depth);

std::unique_ptr<CValue> ValueOfObject(const json& object, int depth) {
    if (auto special = SpecialValue(object))
        return special;
    auto map = std::make_unique<ORVEN::CValueMap>();
    for (const auto& [name, element] : object.items()) {
        const std::string key = KeyOfJson(name);
        if (auto value = ValueOfJson(element, depth))
            map->SetEntry(key, value.release());
    }
    return map;
}

std::unique_ptr<CValue> ValueOfArray(const json& array, int depth) {
    auto vector = std::make_unique<ORVEN::CValueVector>();
    for (const json& element : array)
        vector->PushBack(ValueOfJson(element, depth).release());
    return vector;
}

std::unique_ptr<CValue> ValueOfJson(const json& json, int depth) {
    RequireDepth(depth);
    switch (json.type()) {
    case json::value_t::boolean:
        return std::make_unique<ORVEN::CValueBool>(json.get<bool>());
    case json::value_t::number_integer:
        return ValueOfInteger(json.get<std::int64_t>());
    case json::value_t::number_unsigned:
        return ValueOfInteger(json.get<std::uint64_t>());
    case json::value_t::number_float:
        return std::make_unique<ORVEN::CValueDouble>(json.get<double>());
    case json::value_t::string:
        return std::make_unique<ORVEN::CValueString>(ORVEN::CString(json.get<std::string>()));
    case json::value_t::object:
        return ValueOfObject(json, depth + 1);
    case json::value_t::array:
        return ValueOfArray(json, depth + 1);
    case json::value_t::null:
    case json::value_t::binary:
    case json::value_t::discarded:
        break;
    }
    return nullptr;
}

} // namespace

json ToJson(const CValue& value) { return JsonOfValue(value, 0); }

std::unique_ptr<CValue> FromJson(const json& json) { return ValueOfJson(json, 0); }

} // namespace engine
