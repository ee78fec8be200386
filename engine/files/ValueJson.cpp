#include "engine/files/ValueJson.h"

#include "engine/errors/CEngineError.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/StoreEntry.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

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

CJson JsonOfDouble(double number) {
    if (std::isfinite(number))
        return number;
    return CJson::Object({{c_doubleKey, std::isnan(number) ? "nan" : number > 0 ? "inf" : "-inf"}});
}

CJson JsonOfText(const std::string& text) {
    if (IsUtf8(text))
        return text;
    return CJson::Object({{c_bytesKey, HexOfBytes(text)}});
}

CJson JsonOfValue(const CValue& value, int depth);

/// The entries, ordered by name.
CJson JsonOfMap(const ORVEN::CValueMap& map, int depth) {
    std::vector<CJson::Member> members;
    for (auto entry = map.begin(); !(entry == map.end()); ++entry) {
        if (entry.Value()->GenericType() == CValue::VAL_POINTER)
            continue;
        const std::string key = entry.Key().ToString();
        members.emplace_back(IsUtf8(key) ? key : HexOfBytes(key).insert(0, 1, '/'),
                             JsonOfValue(*entry.Value(), depth));
    }
    std::sort(members.begin(), members.end(),
              [](const auto& left, const auto& right) { return left.first < right.first; });
    return CJson::Object(std::move(members));
}

CJson JsonOfVector(const ORVEN::CValueVector& vector, int depth) {
    CJson array = CJson::Array();
    for (const CValue* element : vector)
        array.Append(element != nullptr ? JsonOfValue(*element, depth) : CJson());
    return array;
}

CJson JsonOfValue(const CValue& value, int depth) {
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
    return {};
}

std::unique_ptr<CValue> ValueOfInteger(const CJson& json) {
    if (const auto number = json.IntegerAs<std::int32_t>())
        return std::make_unique<ORVEN::CValueLong>(*number);
    return std::make_unique<ORVEN::CValueDouble>(json.Number());
}

/// Decodes a double or text that JSON cannot represent; returns null if the object is an ordinary map.
std::unique_ptr<CValue> SpecialValue(const CJson& object) {
    if (object.Members().size() != 1 || !object.Members().front().second.IsString())
        return nullptr;
    const std::string& key = object.Members().front().first;
    const std::string& text = object.Members().front().second.String();
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
        throw CFileError("no map can have the key " + CJson(name).Text() +
                         ": '/' separates the steps of a path, and a zero byte ends it");
    }
    return name;
}

std::unique_ptr<CValue> ValueOfJson(const CJson& json, int depth);

std::unique_ptr<CValue> ValueOfObject(const CJson& object, int depth) {
    if (auto special = SpecialValue(object))
        return special;
    auto map = std::make_unique<ORVEN::CValueMap>();
    for (const auto& [name, element] : object.Members()) {
        const std::string key = KeyOfJson(name);
        if (auto value = ValueOfJson(element, depth))
            ORVEN::StoreEntry(*map, key, std::move(value));
    }
    return map;
}

std::unique_ptr<CValue> ValueOfArray(const CJson& array, int depth) {
    auto vector = std::make_unique<ORVEN::CValueVector>();
    for (const CJson& element : array.Elements())
        vector->PushBack(ValueOfJson(element, depth).release());
    return vector;
}

std::unique_ptr<CValue> ValueOfJson(const CJson& json, int depth) {
    RequireDepth(depth);
    if (json.IsBool())
        return std::make_unique<ORVEN::CValueBool>(json.Bool());
    if (json.IsInteger())
        return ValueOfInteger(json);
    if (json.IsNumber())
        return std::make_unique<ORVEN::CValueDouble>(json.Number());
    if (json.IsString())
        return std::make_unique<ORVEN::CValueString>(ORVEN::CString(json.String()));
    if (json.IsObject())
        return ValueOfObject(json, depth + 1);
    if (json.IsArray())
        return ValueOfArray(json, depth + 1);
    return nullptr;
}

} // namespace

CJson ToJson(const CValue& value) { return JsonOfValue(value, 0); }

std::unique_ptr<CValue> FromJson(const CJson& json) { return ValueOfJson(json, 0); }

} // namespace engine
