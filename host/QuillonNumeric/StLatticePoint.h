#pragma once

#include <cstdint>

namespace ORVEN {

/// A point with integer coordinates, or the vector between two such points.
///
/// Exactness: for points in a box of nx x ny x nz pixels, relative to its corner, a determinant of three
/// vectors is at most 6 nx ny nz, and no sum used for the hull and its rows exceeds twice that. Hence 64 bits
/// suffice for every image that fits into memory.
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
