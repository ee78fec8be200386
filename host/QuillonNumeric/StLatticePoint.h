#pragma once

#include <cstdint>

namespace ORVEN {

/// A point with whole-numbered coordinates, or the way from one such point to another.
///
/// Exactness: for points of a box of nx x ny x nz pixels, counted from its corner, a determinant of three
/// ways is at most 6 nx ny nz, and no sum that the hull and its rows need exceeds twice that. So whatever
/// fits into memory as an image fits into 64 bits here.
struct StLatticePoint {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t z = 0;

    friend constexpr bool operator==(const StLatticePoint&, const StLatticePoint&) = default;
};

constexpr StLatticePoint operator-(const StLatticePoint& a, const StLatticePoint& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

constexpr StLatticePoint operator+(const StLatticePoint& a, const StLatticePoint& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

constexpr std::int64_t Dot(const StLatticePoint& a, const StLatticePoint& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

constexpr StLatticePoint Cross(const StLatticePoint& a, const StLatticePoint& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

} // namespace ORVEN
