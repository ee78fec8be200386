#include "QuillonGranulometry/IsMaximalBall.h"

#include "QuillonGranulometry/FloorSqrt.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>

namespace ORVEN {

namespace {

using Vector = std::array<std::int64_t, 3>;

/// Whether a ball at the vector v contains all pixels u with |u|^2 < `inner`, that is, whether |u + v|^2 <
/// `outer` for all of them. The components of v are in descending order. Of all permutations and reflections
/// of u, the sorted one is farthest away, and along its longest component the last.
bool Contains(int dimension, const Vector& v, std::int64_t inner, std::int64_t outer, CWorkPace& pace) {
    for (std::int64_t c = 0; 3 * c * c < inner && (c == 0 || dimension > 2); ++c) {
        std::int64_t b = c;
        for (; c * c + 2 * b * b < inner && (b == 0 || dimension > 1); ++b) {
            const std::int64_t a = FloorSqrt(inner - 1 - b * b - c * c);
            const std::int64_t square =
                (v[0] + a) * (v[0] + a) + (v[1] + b) * (v[1] + b) + (v[2] + c) * (v[2] + c);
            if (square >= outer)
                return false;
        }
        if (pace.Add(8 * (b - c) + 8))
            return false;
    }
    return true;
}

} // namespace

bool IsMaximalBall(const StBalls& balls, std::int64_t x, std::int64_t y, std::int64_t z,
                   std::int32_t openingSize, CWorkPace& pace) {
    const CLayerView<const std::int32_t>& distances = balls.distances;
    const std::int32_t distance = distances.Row(y, z)[x];
    if (distance == openingSize)
        return true;
    const std::int64_t reach = FloorSqrt(openingSize - 1) - FloorSqrt(distance - 1);
    const std::int64_t lastZ = std::min(z + reach, distances.nz - 1);
    const std::int64_t lastY = std::min(y + reach, distances.ny - 1);
    bool isMaximal = true;
    for (std::int64_t otherZ = std::max<std::int64_t>(z - reach, 0); isMaximal && otherZ <= lastZ; ++otherZ) {
        for (std::int64_t otherY = std::max<std::int64_t>(y - reach, 0); isMaximal && otherY <= lastY;
             ++otherY) {
            const std::int32_t* const row = distances.Row(otherY, otherZ);
            balls.candidates.ForEach(
                distances.RowNumber(otherY, otherZ), std::max<std::int64_t>(x - reach, 0),
                std::min(x + reach, distances.nx - 1), [&](std::int64_t otherX) {
                    if (!isMaximal || row[otherX] <= distance)
                        return;
                    Vector v{std::abs(otherX - x), std::abs(otherY - y), std::abs(otherZ - z)};
                    std::ranges::sort(v, std::ranges::greater());
                    isMaximal = !Contains(balls.dimension, v, distance, row[otherX], pace);
                });
            if (pace.Add(48 + reach))
                return false;
        }
    }
    return isMaximal;
}

} // namespace ORVEN
