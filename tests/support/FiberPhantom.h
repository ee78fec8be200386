#pragma once

#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

/// Images of fibres with known directions.
namespace test {

using Vector = std::array<double, 3>;

inline double Dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

inline Vector Unit(const Vector& v) {
    const double length = std::sqrt(Dot(v, v));
    return {v[0] / length, v[1] / length, v[2] / length};
}

/// The angle between two axes in degrees.
inline double DegreesBetween(const Vector& a, const Vector& b) {
    return std::acos(std::min(1.0, std::abs(Dot(Unit(a), Unit(b))))) * 180.0 / std::numbers::pi;
}

/// A straight fibre in physical units. It extends by `length` to both sides of its centre, infinitely by
/// default.
struct StFiber {
    Vector center;
    Vector direction; ///< unit vector
    double radius;
    double halfLength = std::numeric_limits<double>::infinity();
};

inline double DistanceTo(const StFiber& fiber, const Vector& point) {
    const Vector offset{point[0] - fiber.center[0], point[1] - fiber.center[1], point[2] - fiber.center[2]};
    const double along = std::clamp(Dot(offset, fiber.direction), -fiber.halfLength, fiber.halfLength);
    return std::sqrt(
        std::max(0.0, Dot(offset, offset) - 2.0 * along * Dot(offset, fiber.direction) + along * along));
}

enum class EnEdges { SMOOTH, HARD };

/// Grey value 220 in the fibres, 20 elsewhere. Smooth edges are 1 unit of length wide.
inline std::unique_ptr<ORVEN::CImage> DrawFibers(const ORVEN::CSize& size, const std::vector<StFiber>& fibers,
                                                 EnEdges edges, const Vector& spacing = {1.0, 1.0, 1.0}) {
    auto image = std::make_unique<ORVEN::CImage>(ORVEN::IMAGE_GREY_8, size, ORVEN::CSize(0, 0, 0));
    const ORVEN::CImageView<unsigned char> view(*image);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x) {
                const Vector point{spacing[0] * static_cast<double>(x), spacing[1] * static_cast<double>(y),
                                   spacing[2] * static_cast<double>(z)};
                double share = 0.0;
                for (const StFiber& fiber : fibers) {
                    const double depth = fiber.radius - DistanceTo(fiber, point);
                    share = std::max(share, edges == EnEdges::SMOOTH ? std::clamp(depth + 0.5, 0.0, 1.0)
                                                                     : (depth >= 0.0 ? 1.0 : 0.0));
                }
                view.Row(y, z)[x] = static_cast<unsigned char>(std::lround(20.0 + 200.0 * share));
            }
        }
    }
    return image;
}

/// Adds normal noise to each pixel.
inline void AddNoise(ORVEN::CImage& image, double deviation, std::mt19937& random) {
    std::normal_distribution<double> noise(0.0, deviation);
    const ORVEN::CImageView<unsigned char> view(image);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x) {
                unsigned char& pixel = view.Row(y, z)[x];
                pixel =
                    static_cast<unsigned char>(std::lround(std::clamp(pixel + noise(random), 0.0, 255.0)));
            }
        }
    }
}

/// Uniformly distributed on the sphere.
inline Vector RandomDirection(std::mt19937& random) {
    std::normal_distribution<double> component;
    return Unit({component(random), component(random), component(random)});
}

inline Vector RandomPoint(std::mt19937& random, double edge) {
    std::uniform_real_distribution<double> coordinate(0.0, edge);
    return {coordinate(random), coordinate(random), coordinate(random)};
}

} // namespace test
