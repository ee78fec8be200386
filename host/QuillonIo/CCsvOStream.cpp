#include "QuillonIo/CCsvOStream.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/ForEachLeaf.h>

#include <array>
#include <charconv>
#include <cmath>
#include <string>

namespace ORVEN {

namespace {

std::string TextOf(double number) {
    if (std::isnan(number))
        return "nan"; // never "-nan"
    if (number == 0.0)
        return "0"; // never "-0"
    // Integers up to this bound are exact. Beyond it, a fixed-point text would show meaningless digits.
    constexpr double endOfExactIntegers = 9007199254740992.0;
    const bool isInteger = std::abs(number) < endOfExactIntegers && number == std::trunc(number);
    std::array<char, 32> text{};
    const std::to_chars_result end =
        isInteger ? std::to_chars(text.begin(), text.end(), number, std::chars_format::fixed)
                  : std::to_chars(text.begin(), text.end(), number);
    return {text.begin(), end.ptr};
}

} // namespace

CCsvOStream::CCsvOStream(std::ostream& stream, char separator, char quote)
    : m_stream(stream)
    , m_separator(separator)
    , m_quote(quote) {}

CCsvOStream& CCsvOStream::operator<<(const CValue& value) {
    ForEachLeaf(&value, {}, [this](const std::string&, const CValue* leaf) { WriteLeaf(leaf); });
    return *this;
}

CCsvOStream& CCsvOStream::operator<<(std::ostream& (*manipulator)(std::ostream&)) {
    EndLine(manipulator);
    return *this;
}

void CCsvOStream::EndLine(std::ostream& (*manipulator)(std::ostream&)) {
    m_stream << manipulator;
    m_hasField = false;
}

void CCsvOStream::BeginField() {
    if (m_hasField)
        m_stream << m_separator;
    m_hasField = true;
}

void CCsvOStream::WriteText(std::string_view text, bool isQuoted) {
    BeginField();
    if (!isQuoted) {
        m_stream << text;
        return;
    }
    m_stream << m_quote;
    for (const char character : text) {
        if (character == m_quote)
            m_stream << m_quote;
        m_stream << character;
    }
    m_stream << m_quote;
}

void CCsvOStream::WriteLeaf(const CValue* leaf) {
    switch (leaf != nullptr ? leaf->GenericType() : CValue::VAL_NONE) {
    case CValue::VAL_STRING:
        WriteText(leaf->String().Std());
        break;
    case CValue::VAL_LONG:
        WriteText(std::to_string(leaf->Long()), false);
        break;
    case CValue::VAL_DOUBLE:
        WriteText(TextOf(leaf->Double()), false);
        break;
    case CValue::VAL_BOOL:
        WriteText(leaf->Bool() ? "true" : "false", false);
        break;
    default:
        BeginField();
    }
}

} // namespace ORVEN
