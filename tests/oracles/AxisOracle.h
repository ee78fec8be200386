#pragma once

#include "support/TestImage.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <vector>

/// What the tests of medial axis and bisector compare with: definitions, written down as they are, and
/// objects to try them on. Nothing here shares code or tables with the library.
namespace test {

using Vector = std::array<std::int64_t, 3>;

/// A binary object in a box, with background all around.
struct StObject {
    StObject(std::int64_t sizeX, std::int64_t sizeY, std::int64_t sizeZ)
        : size{sizeX, sizeY, sizeZ}
        , pixels(static_cast<std::size_t>(sizeX * sizeY * sizeZ), 0) {}

    [[nodiscard]] bool Contains(const Vector& p) const {
        return p[0] >= 0 && p[0] < size[0] && p[1] >= 0 && p[1] < size[1] && p[2] >= 0 && p[2] < size[2];
    }
    [[nodiscard]] std::size_t Index(const Vector& p) const {
        return static_cast<std::size_t>((p[2] * size[1] + p[1]) * size[0] + p[0]);
    }
    [[nodiscard]] bool Has(const Vector& p) const { return Contains(p) && pixels[Index(p)] != 0; }
    /// All positions, x fastest.
    [[nodiscard]] std::vector<Vector> Positions() const;
    [[nodiscard]] std::unique_ptr<ORVEN::CImage> Image() const;

    Vector size;
    std::vector<unsigned char> pixels;
};

/// The object of the positions that fulfil a test.
StObject ObjectOf(const Vector& size, const std::function<bool(const Vector&)>& isInside);

/// A block within a margin of background.
StObject Solid(const Vector& size, std::int64_t margin);

/// The pixels nearer to the middle than a squared length says, at most so; with one layer of background.
StObject Ball(std::int64_t greatestSquaredLength);

/// Noise, a union of balls, a block or what is left between bubbles, of up to `greatestExtent` pixels an
/// axis.
StObject RandomObject(std::mt19937& random, std::int64_t greatestExtent);

/// One of the 48 images of an object under the symmetries of the grid, and of positions in it.
class CSymmetry {
public:
    explicit CSymmetry(int number);
    [[nodiscard]] Vector SizeOf(const Vector& size) const;
    [[nodiscard]] Vector Apply(const Vector& p, const Vector& size) const;
    [[nodiscard]] StObject Apply(const StObject& object) const;

private:
    std::array<std::size_t, 3> m_axes;
    std::array<bool, 3> m_isFlipped;
};

/// The squared distance of each object pixel to the background.
std::vector<std::uint32_t> SquaredDistancesOf(const StObject& object);
std::unique_ptr<ORVEN::CImage> SquaredDistanceImage(const StObject& object);

/// 1 for the pixels whose ball is not a part of another pixel's ball, by comparison of the sets.
std::vector<unsigned char> CentresOfMaximalBalls(const StObject& object);

/// The union of the balls of the marked pixels.
std::vector<unsigned char> UnionOfBalls(const StObject& object, const std::vector<unsigned char>& marks);

/// The angle of each object pixel by the definition of the bisector function.
std::vector<double> BisectorAngles(const StObject& object);

} // namespace test
