#include "engine/measurements/StUnit.h"

#include <sorblib2image/StImageGeometry.h>

#include <charconv>
#include <cstdlib>

namespace engine {

namespace {

constexpr std::string_view c_length = "length";

std::string Superscript(int number) {
    constexpr const char* digits[] = {"⁰", "¹", "²", "³", "⁴", "⁵", "⁶", "⁷", "⁸", "⁹"};
    std::string text;
    for (const char digit : std::to_string(number))
        text += digits[digit - '0'];
    return text;
}

/// The number after the "^" of a power; 1 for an empty text, 0 for any other.
int PowerOf(std::string_view text) {
    if (text.empty())
        return 1;
    int power = 0;
    const auto end = std::from_chars(text.data() + 1, text.data() + text.size(), power);
    const bool isPower = text[0] == '^' && end.ec == std::errc() && end.ptr == text.data() + text.size();
    return isPower ? power : 0;
}

} // namespace

std::string StUnit::Plain() const {
    if (name.empty())
        return {};
    std::string text = power < 0 ? "per " : "";
    text.append(name);
    if (const int size = std::abs(power); size > 1)
        text.append("^").append(std::to_string(size));
    return text;
}

std::string StUnit::Typeset() const {
    if (name.empty())
        return {};
    std::string text = power < 0 ? "per " : "";
    text.append(name == "um" ? "µm" : name);
    if (const int size = std::abs(power); size > 1)
        text.append(Superscript(size));
    return text;
}

std::string LengthUnitOf(const ORVEN::CImage& image) {
    return ORVEN::StImageGeometry::Of(image).LengthUnit();
}

StUnit UnitOfText(std::string_view text, const std::string& lengthUnit) {
    if (text.starts_with(c_length)) {
        if (const int power = PowerOf(text.substr(c_length.size())); power != 0)
            return {lengthUnit, power};
    }
    // Words as for parameters.
    if (text == "pixels")
        return {"px", 1};
    if (text == "angle")
        return {"rad", 1};
    return {std::string(text), 1};
}

StKeyWithUnit SplitUnit(const std::string& key) {
    constexpr std::string_view metre = " [m";
    const std::size_t start = key.rfind(metre);
    if (start == std::string::npos || !key.ends_with(']'))
        return {key, ""};
    const std::size_t end = start + metre.size();
    const std::string power = key.substr(end, key.size() - 1 - end);
    return PowerOf(power) != 0 ? StKeyWithUnit{key.substr(0, start), std::string(c_length) + power}
                               : StKeyWithUnit{key, ""};
}

std::string TitleWithUnit(const std::string& title, const std::string& unit) {
    return unit.empty() ? title : title + " [" + unit + "]";
}

} // namespace engine
