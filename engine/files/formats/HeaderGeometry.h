#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

// What the headers of several formats need to state where an image lies.

namespace engine {

/// A unit of length: one of those of an image, and the number of these in it.
struct StLengthUnit {
    std::string unit;
    double factor = 1;
};

/// The unit for a word as files spell it: "mm", "millimeter", "micron", "\u00b5m", "inch"; nothing for a word
/// that is not a unit of length, such as "pixel".
std::optional<StLengthUnit> KnownLengthUnit(std::string_view word);

/// Converts the lengths of the geometry to the unit.
void ConvertUnit(ORVEN::StImageGeometry& geometry, const StLengthUnit& unit);

/// Sets spacing and directions from the steps in space between neighbouring pixels, one for each axis of the
/// image. Does nothing and returns false if a step is 0 or not finite, or if they lie in a plane.
bool SetSteps(ORVEN::StImageGeometry& geometry, std::span<const ORVEN::StImageGeometry::Vector> steps);

/// The inverse: the steps along all three axes.
std::array<ORVEN::StImageGeometry::Vector, 3> StepsOf(const ORVEN::StImageGeometry& geometry);

/// Reverses axes of the space.
void ReverseSpace(ORVEN::StImageGeometry& geometry, const std::array<bool, 3>& axes);

/// Whether a header for so many axes of the space can state where the image lies: a plane in its own space
/// only.
bool CanHoldPlace(const ORVEN::StImageGeometry& geometry, std::size_t axes);

/// Whether all components are finite.
bool IsFinite(const ORVEN::StImageGeometry::Vector& vector);

/// The geometry of an image whose file states one in its header and one in its attributes. That of the
/// attributes is exact and complete, but another program may have changed the header only: whatever differs
/// by more than rounding is taken from the header.
ORVEN::StImageGeometry MergedGeometry(const StImageHeader& header, const ORVEN::StImageGeometry& stored);

} // namespace engine
