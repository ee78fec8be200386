#include "sorblib2image/StImageGeometry.h"

#include "sorblib2image/CQuillonHeaderTools.h"
#include "sorblib2image/IImage.h"

#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/StoreEntry.h>

#include <cmath>
#include <memory>
#include <utility>

namespace ORVEN {

namespace {

using Vector = StImageGeometry::Vector;

const char* const c_origin = "origin";
const char* const c_directions = "directions";
const char* const c_unit = "unit";
const char* const c_space = "space";
const char* const c_anatomical = "LPS";
constexpr std::array c_axes{"x", "y", "z"};

/// The vector at the path; a missing component is 0, and so is one that is not a finite number.
std::optional<Vector> VectorAt(const CValueMap& attributes, const std::string& path) {
    const CValue* const entry = attributes.Entry(path, true);
    if (entry == nullptr || entry->Map() == nullptr)
        return std::nullopt;
    Vector vector{};
    for (std::size_t axis = 0; axis < vector.size(); ++axis) {
        const CValue* const number = entry->Map()->Entry(c_axes[axis], true);
        const bool isNumber = number != nullptr && (number->GenericType() == CValue::VAL_DOUBLE ||
                                                    number->GenericType() == CValue::VAL_LONG);
        if (isNumber && std::isfinite(number->Double()))
            vector[axis] = number->Double();
    }
    return vector;
}

std::string TextAt(const CValueMap& attributes, const char* key) {
    const CValue* const entry = attributes.Entry(key, true);
    return entry != nullptr && entry->GenericType() == CValue::VAL_STRING ? entry->String().Std()
                                                                          : std::string();
}

std::unique_ptr<CValueMap> MapOf(const Vector& vector) {
    auto map = std::make_unique<CValueMap>();
    for (std::size_t axis = 0; axis < vector.size(); ++axis)
        map->SetEntry(c_axes[axis], new CValueDouble(vector[axis]));
    return map;
}

void SetOrRemove(CValueMap& attributes, const char* key, std::unique_ptr<CValue> value) {
    if (value != nullptr)
        StoreEntry(attributes, key, std::move(value));
    else
        attributes.RemoveEntry(key);
}

std::unique_ptr<CValue> TextOrNull(const std::string& text) {
    return text.empty() ? nullptr : std::make_unique<CValueString>(CString(text));
}

double Determinant(const std::array<Vector, 3>& v) {
    return v[0][0] * (v[1][1] * v[2][2] - v[1][2] * v[2][1]) -
           v[0][1] * (v[1][0] * v[2][2] - v[1][2] * v[2][0]) +
           v[0][2] * (v[1][0] * v[2][1] - v[1][1] * v[2][0]);
}

} // namespace

StImageGeometry StImageGeometry::Of(const IImage& image) {
    const CValueMap& attributes = image.Attributes();
    StImageGeometry geometry;
    Vector spacing{};
    if (CQuillonHeaderTools::GetSpacing(image, spacing[0], spacing[1], spacing[2]))
        geometry.spacing = spacing;
    geometry.origin = VectorAt(attributes, c_origin).value_or(Vector{});
    std::array<Vector, 3> directions{};
    for (std::size_t axis = 0; axis < directions.size(); ++axis)
        directions[axis] =
            VectorAt(attributes, std::string(c_directions) + "/" + c_axes[axis]).value_or(Vector{});
    if (const auto valid = DirectionsOf(directions)) {
        // Numbers that are exact stay so.
        constexpr double tolerance = 1e-6;
        bool isUnit = true;
        for (const double length : valid->lengths)
            isUnit = isUnit && std::abs(length - 1) < tolerance;
        geometry.directions = isUnit ? directions : valid->directions;
    }
    geometry.unit = TextAt(attributes, c_unit);
    geometry.isAnatomical = TextAt(attributes, c_space) == c_anatomical;
    return geometry;
}

void StImageGeometry::Store(IImage& image) const {
    CValueMap& attributes = image.Attributes();
    if (spacing)
        CQuillonHeaderTools::SetSpacing(image, (*spacing)[0], (*spacing)[1], (*spacing)[2]);
    else
        attributes.RemoveEntry("spacing");
    SetOrRemove(attributes, c_origin, origin == Vector{} ? nullptr : MapOf(origin));
    std::unique_ptr<CValueMap> axes;
    if (directions != identity) {
        axes = std::make_unique<CValueMap>();
        for (std::size_t axis = 0; axis < directions.size(); ++axis)
            axes->SetEntry(c_axes[axis], MapOf(directions[axis]).release());
    }
    SetOrRemove(attributes, c_directions, std::move(axes));
    SetOrRemove(attributes, c_unit, TextOrNull(unit));
    SetOrRemove(attributes, c_space, TextOrNull(isAnatomical ? c_anatomical : ""));
}

Vector StImageGeometry::PositionOf(const Vector& pixel) const {
    const Vector steps = spacing.value_or(Vector{1, 1, 1});
    Vector position = origin;
    for (std::size_t axis = 0; axis < steps.size(); ++axis) {
        for (std::size_t i = 0; i < position.size(); ++i)
            position[i] += pixel[axis] * steps[axis] * directions[axis][i];
    }
    return position;
}

bool StImageGeometry::HasPlace() const {
    return origin != Vector{} || directions != identity || isAnatomical;
}

std::string StImageGeometry::LengthUnit() const {
    constexpr Vector pixels{1, 1, 1};
    if (!unit.empty())
        return unit;
    return spacing.value_or(pixels) == pixels ? "px" : "unit";
}

std::optional<StDirections> DirectionsOf(const std::array<Vector, 3>& vectors) {
    StDirections result{vectors, {}};
    for (std::size_t axis = 0; axis < vectors.size(); ++axis) {
        const double length = std::hypot(vectors[axis][0], vectors[axis][1], vectors[axis][2]);
        if (!(length > 0) || !std::isfinite(length))
            return std::nullopt;
        result.lengths[axis] = length;
        for (double& number : result.directions[axis])
            number = number == 0 ? 0 : number / length; // no negative zero
    }
    constexpr double leastVolume = 1e-6; // of the box that they span
    if (!(std::abs(Determinant(result.directions)) > leastVolume))
        return std::nullopt;
    return result;
}

std::optional<double> UnitFactor(const std::string& from, const std::string& to) {
    constexpr std::array<std::pair<const char*, int>, 4> exponents{
        {{"m", 0}, {"mm", -3}, {"um", -6}, {"nm", -9}}};
    const auto exponentOf = [&exponents](const std::string& unit) -> std::optional<int> {
        for (const auto& [name, exponent] : exponents) {
            if (unit == name)
                return exponent;
        }
        return std::nullopt;
    };
    const auto first = exponentOf(from);
    const auto second = exponentOf(to);
    if (!first || !second)
        return std::nullopt;
    // 10 to a negative power is not exact, so a division by the positive power is.
    const int power = *first - *second;
    return power >= 0 ? std::pow(10.0, power) : 1.0 / std::pow(10.0, -power);
}

} // namespace ORVEN
