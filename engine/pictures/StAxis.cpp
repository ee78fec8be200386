#include "engine/pictures/StAxis.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace engine {

namespace {

// Numbers up to the first power of ten, and down to the second one, are written in full.
constexpr int c_greatestPower = 5;
constexpr int c_leastPower = -3;
/// Exponents are multiples of this, as in thousands and millions.
constexpr int c_exponentStep = 3;

/// Rounding errors of a division leave numbers off by less than this part of a step.
constexpr double c_tolerance = 1e-9;

} // namespace

double RoundUp125(double number) {
    const double power = std::pow(10.0, std::floor(std::log10(number)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= number * (1.0 - c_tolerance))
            return factor * power;
    }
    return 10.0 * power;
}

StAxis StAxis::Covering(double least, double greatest, int mostTicks, bool isTight) {
    if (!(least < greatest)) {
        const double around = least == 0.0 ? 1.0 : std::abs(least) / 2.0;
        greatest = least + around;
        least -= around;
    }
    StAxis axis{least, greatest, RoundUp125((greatest - least) / mostTicks)};
    if (isTight)
        return axis;
    axis.least = axis.step * std::floor(least / axis.step + c_tolerance);
    axis.greatest = axis.step * std::ceil(greatest / axis.step - c_tolerance);
    return axis;
}

std::vector<double> StAxis::Ticks() const {
    std::vector<double> ticks;
    const double first = std::ceil(least / step - c_tolerance);
    const double last = std::floor(greatest / step + c_tolerance);
    for (double i = first; i <= last; ++i)
        ticks.push_back(i * step);
    return ticks;
}

int StAxis::Exponent() const {
    const double size = std::max(std::abs(least), std::abs(greatest));
    const int power = static_cast<int>(std::floor(std::log10(size)));
    if (power < c_greatestPower && power >= c_leastPower)
        return 0;
    return c_exponentStep * static_cast<int>(std::floor(static_cast<double>(power) / c_exponentStep));
}

std::string StAxis::Label(double tick) const {
    const double unit = std::pow(10.0, Exponent());
    const int decimals = std::max(0, -static_cast<int>(std::floor(std::log10(step / unit) + c_tolerance)));
    const double shown = std::abs(tick) < step * c_tolerance ? 0.0 : tick / unit; // never "-0"
    std::array<char, 64> text{};
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), shown, std::chars_format::fixed, decimals);
    std::string label(text.data(), end.ptr);
    if (label.starts_with('-'))
        label.replace(0, 1, "−"); // a minus sign, not a hyphen
    return label;
}

} // namespace engine
