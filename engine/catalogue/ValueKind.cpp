#include "engine/catalogue/ValueKind.h"

#include "engine/errors/CEngineError.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2image/CImage.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace engine {

namespace {

constexpr std::array<std::string_view, 5> c_words = {"bool", "long", "double", "string", "image"};

template <class Number>
std::optional<Number> ParseWhole(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    Number number{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return number;
}

[[noreturn]] void RaiseNoSuchValue(const std::string& key, const std::string& text, const char* expected) {
    throw CCallerError(key + ": '" + text + "' is not " + expected);
}

} // namespace

std::string KindWords() {
    std::string all;
    for (const std::string_view word : c_words)
        all.append(all.empty() ? "" : ", ").append(word);
    return all;
}

std::string_view WordOfKind(EnValueKind kind) { return c_words[kind]; }

std::optional<EnValueKind> KindOfWord(std::string_view word) {
    const auto found = std::find(c_words.begin(), c_words.end(), word);
    if (found == c_words.end())
        return std::nullopt;
    return static_cast<EnValueKind>(found - c_words.begin());
}

std::optional<bool> ParseBool(std::string_view text) {
    if (text == "true" || text == "yes" || text == "on" || text == "1")
        return true;
    if (text == "false" || text == "no" || text == "off" || text == "0")
        return false;
    return std::nullopt;
}

std::optional<std::int32_t> ParseLong(std::string_view text) { return ParseWhole<std::int32_t>(text); }

std::optional<double> ParseDouble(std::string_view text) { return ParseWhole<double>(text); }

std::unique_ptr<ORVEN::CValue> ParseValue(const std::string& key, EnValueKind kind, const std::string& text) {
    switch (kind) {
    case KIND_BOOL:
        if (const auto value = ParseBool(text))
            return std::make_unique<ORVEN::CValueBool>(*value);
        RaiseNoSuchValue(key, text, "a truth value (true, false, yes, no, on, off, 1, 0)");
    case KIND_LONG:
        if (const auto value = ParseLong(text))
            return std::make_unique<ORVEN::CValueLong>(*value);
        RaiseNoSuchValue(key, text, "a whole number between -2147483648 and 2147483647");
    case KIND_DOUBLE:
        if (const auto value = ParseDouble(text))
            return std::make_unique<ORVEN::CValueDouble>(*value);
        RaiseNoSuchValue(key, text, "a number");
    case KIND_STRING:
        return std::make_unique<ORVEN::CValueString>(ORVEN::CString(text));
    case KIND_IMAGE:
        return std::make_unique<ORVEN::CValuePointer<ORVEN::CImage>>(nullptr, 1);
    }
    return nullptr;
}

} // namespace engine
