#include "engine/files/formats/HeaderGeometry.h"

#include "engine/files/formats/HeaderChecks.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace engine {

namespace {

using ORVEN::StImageGeometry;
using Vector = StImageGeometry::Vector;

struct StUnitWord {
    std::string_view word;
    const char* unit;
    double factor = 1;
};

// The micro sign and the Greek letter in UTF-8, the sign in Latin-1, and an escape of ImageJ.
constexpr std::array c_unitWords = {
    StUnitWord{"mm", "mm"},
    StUnitWord{"millimeter", "mm"},
    StUnitWord{"millimetre", "mm"},
    StUnitWord{"um", "um"},
    StUnitWord{"\xc2\xb5m", "um"},
    StUnitWord{"\xce\xbcm", "um"},
    StUnitWord{"\xb5m", "um"},
    StUnitWord{"\\u00b5m", "um"},
    StUnitWord{"micron", "um"},
    StUnitWord{"micrometer", "um"},
    StUnitWord{"micrometre", "um"},
    StUnitWord{"nm", "nm"},
    StUnitWord{"nanometer", "nm"},
    StUnitWord{"nanometre", "nm"},
    StUnitWord{"m", "m"},
    StUnitWord{"meter", "m"},
    StUnitWord{"metre", "m"},
    StUnitWord{"cm", "mm", 10},
    StUnitWord{"centimeter", "mm", 10},
    StUnitWord{"centimetre", "mm", 10},
    StUnitWord{"inch", "mm", 25.4},
    StUnitWord{"inches", "mm", 25.4},
    StUnitWord{"\xc3\x85", "nm", 0.1},
    StUnitWord{"\xe2\x84\xab", "nm", 0.1}, // the sign of the unit, not the letter
    StUnitWord{"angstrom", "nm", 0.1},
    StUnitWord{"pm", "nm", 0.001},
    StUnitWord{"picometer", "nm", 0.001},
    StUnitWord{"km", "m", 1000},
    StUnitWord{"kilometer", "m", 1000},
};

Vector Cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

bool AreClose(const Vector& a, const Vector& b, double tolerance) {
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (!(std::abs(a[i] - b[i]) <= tolerance))
            return false;
    }
    return true;
}

// Some formats store lengths as 32-bit floats or as fractions of such.
constexpr double c_rounding = 1e-5;

bool IsSpacingClose(double found, double stored) {
    return std::abs(found - std::abs(stored)) <= c_rounding * found;
}

bool IsPlaceClose(const StImageGeometry& found, const StImageGeometry& stored, std::size_t axes) {
    const Vector spacing = stored.spacing.value_or(Vector{1, 1, 1});
    double scale = std::abs(*std::min_element(spacing.begin(), spacing.begin() + static_cast<long>(axes)));
    for (const double number : found.origin)
        scale = std::max(scale, std::abs(number));
    if (!AreClose(found.origin, stored.origin, c_rounding * scale))
        return false;
    for (std::size_t axis = 0; axis < axes; ++axis) {
        if (!AreClose(found.directions[axis], stored.directions[axis], c_rounding))
            return false;
    }
    return true;
}

} // namespace

std::optional<StLengthUnit> KnownLengthUnit(std::string_view word) {
    std::string name(Trimmed(word));
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) {
        return c < 0x80 ? static_cast<char>(std::tolower(c)) : static_cast<char>(c);
    });
    const auto* const known =
        std::find_if(c_unitWords.begin(), c_unitWords.end(), [&name](const StUnitWord& unit) {
            return name == unit.word || (unit.word.size() > 4 && name == std::string(unit.word) + "s");
        });
    if (known != c_unitWords.end())
        return StLengthUnit{known->unit, known->factor};
    return std::nullopt;
}

void ConvertUnit(StImageGeometry& geometry, const StLengthUnit& unit) {
    geometry.unit = unit.unit;
    if (unit.factor == 1)
        return;
    for (std::size_t axis = 0; axis < geometry.origin.size(); ++axis) {
        geometry.origin[axis] *= unit.factor;
        if (geometry.spacing)
            (*geometry.spacing)[axis] *= unit.factor;
    }
}

bool SetSteps(StImageGeometry& geometry, std::span<const Vector> steps) {
    std::array<Vector, 3> all = StImageGeometry::identity;
    std::copy_n(steps.begin(), std::min(steps.size(), all.size()), all.begin());
    if (steps.size() == 2 && (all[0][2] != 0 || all[1][2] != 0)) {
        all[2] = Cross(all[0], all[1]);
        const double length = std::hypot(all[2][0], all[2][1], all[2][2]);
        for (double& number : all[2])
            number /= length;
    }
    const auto valid = ORVEN::DirectionsOf(all);
    if (!valid)
        return false;
    geometry.directions = valid->directions;
    geometry.spacing = valid->lengths;
    if (steps.size() == 2)
        (*geometry.spacing)[2] = 1;
    return true;
}

std::array<Vector, 3> StepsOf(const StImageGeometry& geometry) {
    std::array<Vector, 3> steps = geometry.directions;
    const Vector spacing = geometry.spacing.value_or(Vector{1, 1, 1});
    for (std::size_t axis = 0; axis < steps.size(); ++axis) {
        for (double& number : steps[axis])
            number *= spacing[axis];
    }
    return steps;
}

void ReverseSpace(StImageGeometry& geometry, const std::array<bool, 3>& axes) {
    const auto reverse = [&axes](Vector& vector) {
        for (std::size_t i = 0; i < vector.size(); ++i) {
            if (axes[i] && vector[i] != 0) // no negative zero
                vector[i] = -vector[i];
        }
    };
    reverse(geometry.origin);
    for (Vector& direction : geometry.directions)
        reverse(direction);
}

bool CanHoldPlace(const StImageGeometry& geometry, std::size_t axes) {
    return axes > 2 ||
           (geometry.origin[2] == 0 && geometry.directions[0][2] == 0 && geometry.directions[1][2] == 0);
}

bool IsFinite(const Vector& vector) {
    return std::all_of(vector.begin(), vector.end(), [](double number) { return std::isfinite(number); });
}

StImageGeometry MergedGeometry(const StImageHeader& header, const StImageGeometry& stored) {
    StImageGeometry found = header.geometry;
    StImageGeometry merged = stored;
    const auto factor = ORVEN::UnitFactor(found.unit, stored.unit);
    if (factor && *factor != 1)
        ConvertUnit(found, {stored.unit, *factor});
    const auto axes = static_cast<std::size_t>(header.size.Dim());
    Vector spacing = stored.spacing.value_or(Vector{1, 1, 1});
    for (std::size_t axis = 0; axis < axes && found.spacing; ++axis) {
        if (IsSpacingClose((*found.spacing)[axis], spacing[axis]))
            continue;
        spacing[axis] = (*found.spacing)[axis];
        merged.spacing = spacing;
    }
    if (header.hasPlace && !IsPlaceClose(found, stored, axes)) {
        merged.origin = found.origin;
        merged.directions = found.directions;
        merged.isAnatomical = found.isAnatomical;
    }
    return merged;
}

} // namespace engine
