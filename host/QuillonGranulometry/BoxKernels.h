#pragma once

#include "QuillonGranulometry/BallLists.h"
#include "QuillonGranulometry/PackBits.h"

#include <QuillonBase/VectorDispatch.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>

/// The two inner loops of opening sizes, over the balls that reach into a box of pixels. They compute in
/// floats or doubles; either way all numbers are multiples of a quarter small enough to be exact.
namespace ORVEN {

/// A box of pixels: the first one and the extents along x, y and z.
struct StBox {
    std::array<std::int64_t, 3> first;
    std::array<std::int64_t, 3> size;

    [[nodiscard]] std::int64_t PixelCount() const { return size[0] * size[1] * size[2]; }
    [[nodiscard]] std::int64_t Longest() const { return std::ranges::max(size); }
};

/// Number of boxes, pixels or rows that are processed at once.
inline constexpr std::size_t c_boxLanes = 8;

/// The parts that a box is divided into, some of them possibly empty.
using BoxParts = std::array<StBox, c_boxLanes>;

/// Numbers of eight lanes.
template <class Number>
struct StLanes {
    using Numbers [[gnu::vector_size(c_boxLanes * sizeof(Number))]] = Number;
    using Mask = decltype(Numbers{} < Numbers{});
};

/// Finds which of the balls of a box each of its parts needs, from balls in order of decreasing size.
///
/// A part does not need a ball that misses it, one that comes after a ball that covers the part, and one that
/// is dominated: a larger ball is deeper at every pixel of the part, where the depth of a pixel x in a ball
/// around c is D - |x - c|^2. The difference of two depths is linear in x, so a bound follows from the centre
/// of the part. Each ball is compared with one larger ball, the one that is deepest at the centre.
template <class Number>
class CPartSearch {
public:
    explicit CPartSearch(const BoxParts& parts) {
        for (std::size_t lane = 0; lane < c_boxLanes; ++lane) {
            const StBox& part = parts[lane];
            m_isOpen[lane] = part.PixelCount() > 0 ? -1 : 0;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const auto first = static_cast<Number>(part.first[axis]);
                const auto steps = static_cast<Number>(std::max<std::int64_t>(part.size[axis], 1) - 1);
                m_halves[axis][lane] = steps / 2;
                m_centers[axis][lane] = first + steps / 2;
            }
        }
    }

    /// Whether a part may need further balls.
    [[nodiscard]] bool IsOpen() const {
        bool isOpen = false;
        for (std::size_t lane = 0; lane < c_boxLanes; ++lane)
            isOpen = isOpen || m_isOpen[lane] != 0;
        return isOpen;
    }

    /// Sets a bit of `parts` for each part that needs the ball.
    void Find(std::span<const StBall> balls, std::uint8_t* parts) {
        // Local copies stay in registers.
        const Numbers centerX = m_centers[0];
        const Numbers centerY = m_centers[1];
        const Numbers centerZ = m_centers[2];
        const Numbers halfX = m_halves[0];
        const Numbers halfY = m_halves[1];
        const Numbers halfZ = m_halves[2];
        Numbers bestX = m_best[0];
        Numbers bestY = m_best[1];
        Numbers bestZ = m_best[2];
        Numbers bestDepth = m_bestDepth;
        Mask isOpen = m_isOpen;
        Mask counts = m_counts;
        for (const StBall& ball : balls) {
            const Numbers x = Numbers{} + static_cast<Number>(ball.x);
            const Numbers y = Numbers{} + static_cast<Number>(ball.y);
            const Numbers z = Numbers{} + static_cast<Number>(ball.z);
            const Numbers square = Numbers{} + static_cast<Number>(ball.squaredRadius);
            Numbers fromX;
            Numbers fromY;
            Numbers fromZ;
            Subtract(x, centerX, fromX);
            Subtract(y, centerY, fromY);
            Subtract(z, centerZ, fromZ);
            const Numbers nearX = fromX > halfX ? fromX - halfX : Numbers{};
            const Numbers nearY = fromY > halfY ? fromY - halfY : Numbers{};
            const Numbers nearZ = fromZ > halfZ ? fromZ - halfZ : Numbers{};
            const Mask isIn = (nearX * nearX + nearY * nearY + nearZ * nearZ < square) & isOpen;
            const Numbers depth = square - (fromX * fromX + fromY * fromY + fromZ * fromZ);
            Numbers betweenX;
            Numbers betweenY;
            Numbers betweenZ;
            Subtract(x, bestX, betweenX);
            Subtract(y, bestY, betweenY);
            Subtract(z, bestZ, betweenZ);
            const Numbers slope = betweenX * halfX + betweenY * halfY + betweenZ * halfZ;
            const Mask isNeeded = isIn & (bestDepth - depth < slope + slope);
            const Numbers farX = fromX + halfX;
            const Numbers farY = fromY + halfY;
            const Numbers farZ = fromZ + halfZ;
            const Mask isCovered = farX * farX + farY * farY + farZ * farZ < square;
            isOpen &= ~(isNeeded & isCovered);
            const Mask isBest = isNeeded & (depth > bestDepth);
            bestX = isBest ? x : bestX;
            bestY = isBest ? y : bestY;
            bestZ = isBest ? z : bestZ;
            bestDepth = isBest ? depth : bestDepth;
            counts -= isNeeded;
            *parts++ = BitsOf(isNeeded);
        }
        m_best = {bestX, bestY, bestZ};
        m_bestDepth = bestDepth;
        m_isOpen = isOpen;
        m_counts = counts;
    }

    /// The number of balls found so far that a part needs.
    [[nodiscard]] std::size_t Count(std::size_t part) const {
        return static_cast<std::size_t>(m_counts[part]);
    }

private:
    using Numbers = typename StLanes<Number>::Numbers;
    using Mask = typename StLanes<Number>::Mask;

    /// The magnitude of a - b. Not a return value: vectors wider than the baseline's cannot be one.
    static void Subtract(const Numbers& a, const Numbers& b, Numbers& magnitude) {
        const Numbers difference = a - b;
        magnitude = difference < 0 ? -difference : difference;
    }

    static std::uint8_t BitsOf(const Mask& mask) {
        using Bytes [[gnu::vector_size(c_boxLanes)]] = signed char;
        const auto bytes = __builtin_convertvector(mask, Bytes);
        std::uint64_t word = 0;
        std::memcpy(&word, &bytes, sizeof(word));
        return static_cast<std::uint8_t>(PackBits(word));
    }

    std::array<Numbers, 3> m_centers;
    std::array<Numbers, 3> m_halves;
    std::array<Numbers, 3> m_best{};
    Numbers m_bestDepth = Numbers{} - std::numeric_limits<Number>::infinity();
    Mask m_isOpen;
    Mask m_counts{};
};

/// Writes the squared radius of the largest ball that contains it to each pixel of a box, 0 if there is none.
/// `rows` are up to eight rows of pixels, at the places `y` and `z`, each beginning at the place `firstX`.
template <class Number>
class CRowsOfBox {
public:
    CRowsOfBox(const std::array<std::int32_t*, c_boxLanes>& rows,
               const std::array<std::int64_t, c_boxLanes>& y, const std::array<std::int64_t, c_boxLanes>& z,
               std::size_t rowCount)
        : m_rows(rows)
        , m_rowCount(rowCount) {
        for (std::size_t row = 0; row < c_boxLanes; ++row) {
            m_y[row] = static_cast<Number>(y[row]);
            m_z[row] = static_cast<Number>(z[row]);
        }
    }

    void Write(std::span<const StBall> balls, std::int64_t firstX, std::int64_t length) const {
        Numbers places{};
        for (std::size_t lane = 0; lane < c_boxLanes; ++lane)
            places[lane] = static_cast<Number>(lane);
        for (std::int64_t offset = 0; offset < length; offset += c_boxLanes) {
            std::array<Numbers, c_boxLanes> greatest{};
            Find(balls, places + static_cast<Number>(firstX + offset), greatest);
            const std::int64_t count = std::min<std::int64_t>(length - offset, c_boxLanes);
            for (std::size_t row = 0; row < m_rowCount; ++row) {
                using Integers [[gnu::vector_size(c_boxLanes * sizeof(std::int32_t))]] = std::int32_t;
                const auto integers = __builtin_convertvector(greatest[row], Integers);
                std::memcpy(m_rows[row] + offset, &integers,
                            static_cast<std::size_t>(count) * sizeof(std::int32_t));
            }
        }
    }

private:
    using Numbers = typename StLanes<Number>::Numbers;

    void Find(std::span<const StBall> balls, const Numbers& places,
              std::array<Numbers, c_boxLanes>& greatest) const {
        for (const StBall& ball : balls) {
            const Numbers square = Numbers{} + static_cast<Number>(ball.squaredRadius);
            const Numbers offsetX = places - static_cast<Number>(ball.x);
            const Numbers offsetY = m_y - static_cast<Number>(ball.y);
            const Numbers offsetZ = m_z - static_cast<Number>(ball.z);
            const Numbers squareX = offsetX * offsetX;
            const Numbers rests = square - (offsetY * offsetY + offsetZ * offsetZ);
            alignas(sizeof(Numbers)) std::array<Number, c_boxLanes> restsOfRows;
            std::memcpy(restsOfRows.data(), &rests, sizeof(rests));
            for (std::size_t row = 0; row < c_boxLanes; ++row) {
                const Numbers value = squareX < Numbers{} + restsOfRows[row] ? square : Numbers{};
                greatest[row] = greatest[row] > value ? greatest[row] : value;
            }
        }
    }

    const std::array<std::int32_t*, c_boxLanes>& m_rows;
    std::size_t m_rowCount;
    Numbers m_y;
    Numbers m_z;
};

} // namespace ORVEN
