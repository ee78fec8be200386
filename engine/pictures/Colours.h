#pragma once

#include <array>
#include <cstdint>

namespace engine {

/// Red, green and blue.
using Colour = std::array<unsigned char, 3>;

inline constexpr Colour c_black = {0, 0, 0};
inline constexpr Colour c_white = {255, 255, 255};

/// Red, green and blue from hue (0 to 1 for the full circle), saturation and value (A. R. Smith, Color gamut
/// transform pairs, 1978).
Colour ColourOfHue(double hue, double saturation, double value);

/// The colour of a label: black for 0, and colours that differ clearly for neighbouring numbers.
Colour ColourOfLabel(std::uint64_t label);

/// The hue of an angle in radians. It runs through the full circle from 0 to pi, because directions repeat
/// after pi. Black for negative and infinite angles and NaN.
Colour ColourOfAngle(double angle);

/// The colour of a depth, 0 in front and 1 at the back: red to blue through yellow and green. `brightness` is
/// 0 to 1.
Colour ColourOfDepth(double depth, double brightness);

/// Colours of the series of a chart, distinct for colour-blind readers, too. Repeats after seven.
///
/// Source: M. Okabe, K. Ito, Color Universal Design, 2002.
Colour ColourOfSeries(std::size_t series);

/// `over` on `under`, with an opacity of 0 to 1.
Colour Mixed(const Colour& under, const Colour& over, double opacity);

} // namespace engine
