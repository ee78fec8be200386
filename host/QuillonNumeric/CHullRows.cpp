#include "QuillonNumeric/CHullRows.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

namespace ORVEN {

namespace {

/// floor(numerator / divisor) and the corresponding remainder, for a positive divisor.
struct StFloor {
    StFloor(std::int64_t numerator, std::int64_t divisor)
        : quotient(numerator / divisor)
        , remainder(numerator % divisor) {
        if (remainder < 0) {
            --quotient;
            remainder += divisor;
        }
    }

    std::int64_t quotient;
    std::int64_t remainder;
};

/// The floors of fractions with a fixed positive divisor whose numerators increase in equal steps.
class CFloorSteps {
public:
    CFloorSteps(std::int64_t numerator, const StFloor& step, std::int64_t divisor)
        : m_value(numerator, divisor)
        , m_step(step)
        , m_divisor(divisor) {}
    CFloorSteps(std::int64_t numerator, std::int64_t step, std::int64_t divisor)
        : CFloorSteps(numerator, StFloor(step, divisor), divisor) {}

    [[nodiscard]] std::int64_t Value() const { return m_value.quotient; }

    void Advance() {
        m_value.quotient += m_step.quotient;
        m_value.remainder += m_step.remainder;
        if (m_value.remainder >= m_divisor) {
            m_value.remainder -= m_divisor;
            ++m_value.quotient;
        }
    }

private:
    StFloor m_value;
    StFloor m_step;
    std::int64_t m_divisor;
};

/// Added to a numerator, this turns the floor into the ceiling.
std::int64_t ToCeiling(std::int64_t divisor) { return divisor - 1; }

/// Writes the steps into one end of `count` consecutive runs.
void WriteEnds(CHullRows::StRun* runs, std::int64_t count, std::int32_t CHullRows::StRun::*end,
               CFloorSteps steps) {
    for (std::int64_t i = 0; i < count; ++i) {
        runs[i].*end = static_cast<std::int32_t>(steps.Value());
        steps.Advance();
    }
}

/// One side of a counter-clockwise triangle in the plane of y and z: a bound for y that advances with z.
class CTriangleSide {
public:
    /// `firstZ` is the first line.
    CTriangleSide(const StLatticePoint& from, const StLatticePoint& to, std::int64_t firstZ)
        : m_isUpper(to.z >= from.z)
        , m_bound(BoundFrom(from, to, firstZ)) {}

    /// Narrows the current line and advances to the next.
    void Narrow(std::int64_t& first, std::int64_t& last) {
        if (m_isUpper)
            last = std::min(last, m_bound.Value());
        else
            first = std::max(first, m_bound.Value());
        m_bound.Advance();
    }

private:
    static CFloorSteps BoundFrom(const StLatticePoint& from, const StLatticePoint& to, std::int64_t firstZ) {
        if (to.z == from.z) // the other sides bound that line
            return {std::numeric_limits<std::int64_t>::max(), 0, 1};
        const bool isUpper = to.z > from.z;
        const std::int64_t sign = isUpper ? 1 : -1;
        const std::int64_t divisor = sign * (to.z - from.z);
        const std::int64_t step = sign * (to.y - from.y);
        const std::int64_t numerator = from.y * divisor + (firstZ - from.z) * step;
        return {numerator + (isUpper ? 0 : ToCeiling(divisor)), step, divisor};
    }

    bool m_isUpper;
    CFloorSteps m_bound;
};

} // namespace

CHullRows::CHullRows(std::int64_t rowsY, std::int64_t rowsZ)
    : m_rowsY(rowsY)
    , m_rowsZ(rowsZ)
    , m_runs(static_cast<std::size_t>(rowsY * rowsZ)) {}

void CHullRows::AddFacet(const StHullFacet& facet) {
    const StLatticePoint& normal = facet.normal;
    if (normal.x == 0)
        return;
    // Upper facets bound x <= floor((offset - ny y - nz z) / nx), lower facets x >= the ceiling of the same.
    // Seen along x, upper facets are counter-clockwise and lower facets clockwise.
    const bool isUpper = normal.x > 0;
    const std::int64_t sign = isUpper ? 1 : -1;
    const std::int64_t divisor = sign * normal.x;
    const std::int64_t offset = sign * facet.offset + (isUpper ? 0 : ToCeiling(divisor));
    const StFloor step(-sign * normal.y, divisor);
    const auto end = isUpper ? &StRun::last : &StRun::first;

    const auto& [a, b, c] = facet.corners;
    const std::int64_t firstZ = std::min({a.z, b.z, c.z});
    const std::int64_t lastZ = std::max({a.z, b.z, c.z});
    const StLatticePoint& second = isUpper ? b : c;
    const StLatticePoint& third = isUpper ? c : b;
    std::array sides{CTriangleSide(a, second, firstZ), CTriangleSide(second, third, firstZ),
                     CTriangleSide(third, a, firstZ)};
    for (std::int64_t z = firstZ; z <= lastZ; ++z) {
        std::int64_t firstY = 0;
        std::int64_t lastY = m_rowsY - 1;
        for (CTriangleSide& side : sides)
            side.Narrow(firstY, lastY);
        if (firstY > lastY)
            continue;
        const std::int64_t numerator = offset - sign * (normal.y * firstY + normal.z * z);
        WriteEnds(RowsFrom(firstY, z), lastY - firstY + 1, end, CFloorSteps(numerator, step, divisor));
    }
}

void CHullRows::AddEdge(const StLatticePoint& from, const StLatticePoint& to) {
    if (from.y == to.y)
        return;
    // An edge with increasing y has the polygon on its left and bounds the ends of the runs.
    const bool isUpper = to.y > from.y;
    const StLatticePoint& low = isUpper ? from : to;
    const StLatticePoint& high = isUpper ? to : from;
    const std::int64_t divisor = high.y - low.y;
    const std::int64_t numerator = low.x * divisor + (isUpper ? 0 : ToCeiling(divisor));
    WriteEnds(RowsFrom(low.y, 0), divisor + 1, isUpper ? &StRun::last : &StRun::first,
              CFloorSteps(numerator, high.x - low.x, divisor));
}

} // namespace ORVEN
