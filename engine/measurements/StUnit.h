#pragma once

#include <sorblib2image/CImage.h>

#include <string>
#include <string_view>

namespace engine {

/// A unit of measurement: a power of a named unit, as in mm^3. The name is empty for a number without unit.
struct StUnit {
    std::string name;
    int power = 1;

    /// In plain characters: "mm^3", and "per mm^3" for a negative power. Empty without a unit.
    [[nodiscard]] std::string Plain() const;
    /// As set in print: "mm³", "µm", "per mm³".
    [[nodiscard]] std::string Typeset() const;
};

/// The unit of length of an image, see `StImageGeometry::LengthUnit`.
std::string LengthUnitOf(const ORVEN::CImage& image);

/// The unit that a catalogue states: "length" and "length^N" are powers of `lengthUnit`, "pixels" is px and
/// "angle" rad; other texts stand for themselves.
StUnit UnitOfText(std::string_view text, const std::string& lengthUnit);

/// A key with a unit at its end, as in "K_V [m^-3]", taken apart. The metre stands for the unit of the
/// spacing, whichever that is.
struct StKeyWithUnit {
    std::string name; ///< "K_V"
    std::string unit; ///< "length^-3"; empty if the key has none
};
StKeyWithUnit SplitUnit(const std::string& key);

/// "Diameter [mm]", or the title alone for a number without unit.
std::string TitleWithUnit(const std::string& title, const std::string& unit);

} // namespace engine
