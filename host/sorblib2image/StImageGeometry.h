#pragma once

#include <array>
#include <optional>
#include <string>

namespace ORVEN {

class IImage;

/// Where the pixels of an image lie in space.
///
/// Hosts and files use this; algorithms need the spacing only, see `CQuillonHeaderTools`. In the attributes
/// of an image it consists of "spacing", and of four keys that are left out where they would state the
/// default: "origin" (map x, y, z), "directions" (map x, y, z of the axes of the image, each a map x, y, z),
/// "unit" (text) and "space" (text "LPS"). The keys are read and written here only. `SetAttributes` copies
/// them like all others, so that a result lies where its input does.
struct StImageGeometry {
    using Vector = std::array<double, 3>;

    /// Size of a pixel along the axes of the image, in `unit`; not set if it is unknown, which counts as 1.
    std::optional<Vector> spacing;
    /// Position of the centre of the first pixel, in `unit`.
    Vector origin{0, 0, 0};
    /// For each axis of the image, the direction in space in which it runs. Unit vectors; a third one exists
    /// for a plane, too.
    std::array<Vector, 3> directions = identity;
    /// "m", "mm", "um" or "nm"; empty if it is unknown.
    std::string unit;
    /// Whether the axes of the space point to the left, the back and the head of a patient.
    bool isAnatomical = false;

    static constexpr std::array<Vector, 3> identity{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

    /// The geometry in the attributes of an image. Entries of another form count as missing.
    static StImageGeometry Of(const IImage& image);
    /// Stores it in the attributes, in place of the former one.
    void Store(IImage& image) const;

    /// Position in space of a pixel; its indices may be fractions.
    [[nodiscard]] Vector PositionOf(const Vector& pixel) const;
    /// Whether origin, directions or space differ from what is assumed for an image without them.
    [[nodiscard]] bool HasPlace() const;
    /// What lengths are counted in, for tables and figures: `unit`. Without it, "px" if pixels are 1 apart,
    /// which some plug-ins store for pixels of unknown size, else "unit".
    [[nodiscard]] std::string LengthUnit() const;

    friend bool operator==(const StImageGeometry&, const StImageGeometry&) = default;
};

/// Unit vectors and lengths of three vectors, the inverse of a multiplication of directions by spacing.
/// Nothing if a vector is 0 or not finite, or if they lie in a plane.
struct StDirections {
    std::array<StImageGeometry::Vector, 3> directions;
    StImageGeometry::Vector lengths;
};
std::optional<StDirections> DirectionsOf(const std::array<StImageGeometry::Vector, 3>& vectors);

/// The factor from a length in `from` to one in `to`; nothing unless both are among the units above.
std::optional<double> UnitFactor(const std::string& from, const std::string& to);

} // namespace ORVEN
