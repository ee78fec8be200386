#include "engine/pictures/Colours.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace engine {

Colour ColourOfHue(double hue, double saturation, double value) {
    const auto channel = [&](double offset) {
        const double position = std::fmod(offset + hue * 6, 6.0);
        const double share = std::clamp(std::min(position, 4 - position), 0.0, 1.0);
        return static_cast<unsigned char>(std::lround(255 * value * (1 - saturation * share)));
    };
    return {channel(5), channel(3), channel(1)};
}

Colour ColourOfLabel(std::uint64_t label) {
    // Steps of the golden ratio around the hue circle give each label a hue far from those of the labels
    // before it. Labels with similar hues (8, 13 or 21 apart) differ in saturation or value.
    constexpr std::uint32_t goldenRatio = 2654435769u; // of 2^32
    constexpr double fullCircle = 4294967296.0;
    constexpr std::array saturations = {0.8, 0.5, 0.65};
    constexpr std::array values = {1.0, 0.8, 0.9, 0.7};
    if (label == 0)
        return c_black;
    const double hue = static_cast<double>(static_cast<std::uint32_t>(label) * goldenRatio) / fullCircle;
    return ColourOfHue(hue, saturations[label % saturations.size()], values[label % values.size()]);
}

Colour ColourOfAngle(double angle) {
    constexpr double saturation = 0.8;
    if (!(angle >= 0.0) || !std::isfinite(angle))
        return c_black;
    return ColourOfHue(std::fmod(angle / std::numbers::pi, 1.0), saturation, 1.0);
}

Colour ColourOfDepth(double depth, double brightness) {
    constexpr double blue = 2.0 / 3.0;
    constexpr double saturation = 0.85;
    return ColourOfHue(blue * std::clamp(depth, 0.0, 1.0), saturation, std::clamp(brightness, 0.0, 1.0));
}

Colour ColourOfSeries(std::size_t series) {
    constexpr std::array<Colour, 7> colours = {{{0, 114, 178},
                                                {213, 94, 0},
                                                {0, 158, 115},
                                                {204, 121, 167},
                                                {230, 159, 0},
                                                {86, 180, 233},
                                                {0, 0, 0}}};
    return colours[series % colours.size()];
}

Colour Mixed(const Colour& under, const Colour& over, double opacity) {
    Colour mixed{};
    for (std::size_t i = 0; i < mixed.size(); ++i)
        mixed[i] = static_cast<unsigned char>(std::lround(under[i] + opacity * (over[i] - under[i])));
    return mixed;
}

} // namespace engine
