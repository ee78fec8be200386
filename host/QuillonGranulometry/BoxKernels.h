#pragma once

#include "QuillonGranulometry/PackBits.h"
#include "QuillonGranulometry/StPlacedBall.h"

#include <QuillonBase/VectorDispatch.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <type_traits>

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

/// Numbers processed at once.
template <class Number, std::size_t count = c_boxLanes>
struct StLanes {
    using Numbers [[gnu::vector_size(count * sizeof(Number))]] = Number;
    using Mask = decltype(Numbers{} < Numbers{});
};

/// Integers of the size of a number.
template <class Number>
using LaneOf = std::conditional_t<sizeof(Number) == sizeof(std::int32_t), std::int32_t, std::int64_t>;

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
        for (std::size_t lane = 0; lane < c_lanes; ++lane) {
            const StBox& part = parts[lane % c_boxLanes];
            m_isFirst[lane] = lane < c_boxLanes ? -1 : 0;
            m_isOpen[lane] = part.PixelCount() > 0 ? -1 : 0;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const auto first = static_cast<Number>(part.first[axis]);
                const auto steps = static_cast<Number>(std::max<std::int64_t>(part.size[axis], 1) - 1);
                m_steps[axis][lane] = steps;
                m_halves[axis][lane] = steps / 2;
                m_centers[axis][lane] = first + steps / 2;
                m_halfDiagonal[lane] += steps * steps / 4;
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
    void Find(std::span<const StPlacedBall> balls, std::uint8_t* parts) {
        // Stores to `parts` could be to this object, for all that the compiler knows; a copy stays in
        // registers.
        CPartSearch search = *this;
        for (; balls.size() >= 2; balls = balls.subspan(2), parts += 2) {
            // Most balls neither are the deepest so far nor cover a part, so that two can be tested at once.
            StPair pair;
            Floats two;
            std::memcpy(&two, balls.data(), sizeof(two));
            search.Compare(two, pair);
            if (IsAnySet(pair.isSpecial)) {
                parts[0] = search.FindOne(balls[0]);
                parts[1] = search.FindOne(balls[1]);
                continue;
            }
            search.m_counts -= pair.isNeeded;
            BitsOf(pair.isNeeded, parts[0], parts[1]);
        }
        if (!balls.empty())
            parts[0] = search.FindOne(balls[0]);
        *this = search;
    }

    /// The number of balls found so far that a part needs.
    [[nodiscard]] std::size_t Count(std::size_t part) const {
        return static_cast<std::size_t>(m_counts[part] + m_counts[part + c_boxLanes]);
    }

private:
    /// One lane for each part and one of two balls.
    static constexpr std::size_t c_lanes = 2 * c_boxLanes;
    using Numbers = typename StLanes<Number, c_lanes>::Numbers;
    using Lane = LaneOf<Number>;
    using Mask = typename StLanes<Lane, c_lanes>::Numbers;

    /// The members of two balls; squared radii as bits.
    using Floats = typename StLanes<float>::Numbers;
    static_assert(2 * sizeof(StPlacedBall) == sizeof(Floats));

    /// A pair of balls, compared with the parts. Masks are 0 or -1.
    struct StPair {
        Numbers x;
        Numbers y;
        Numbers z;
        Numbers depth; ///< at the centres of the parts
        Mask isNeeded;
        Mask isCovering;
        Mask isDeepest;
        Mask isSpecial; ///< one of these
    };

    void Compare(const Floats& balls, StPair& pair) const {
        Numbers square;
        Spread(balls, pair, square);
        std::array<Numbers, 3> offsets;
        Distance(pair.x, m_centers[0], offsets[0]);
        Distance(pair.y, m_centers[1], offsets[1]);
        Distance(pair.z, m_centers[2], offsets[2]);
        pair.depth = square - (offsets[0] * offsets[0] + offsets[1] * offsets[1] + offsets[2] * offsets[2]);
        const Numbers fall = offsets[0] * m_steps[0] + offsets[1] * m_steps[1] + offsets[2] * m_steps[2];
        Numbers nearest{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            Numbers beyond;
            PositivePart(offsets[axis] - m_halves[axis], beyond);
            nearest += beyond * beyond;
        }
        Distance(pair.x, m_best[0], offsets[0]);
        Distance(pair.y, m_best[1], offsets[1]);
        Distance(pair.z, m_best[2], offsets[2]);
        const Numbers slope = offsets[0] * m_steps[0] + offsets[1] * m_steps[1] + offsets[2] * m_steps[2];
        const Numbers deeper = m_bestDepth - pair.depth;
        Mask isIn;
        Mask isUndominated;
        IsNegative(nearest - square, isIn);
        IsNegative(deeper - slope, isUndominated);
        IsNegative(deeper, pair.isDeepest);
        IsNegative(m_halfDiagonal + fall - pair.depth, pair.isCovering);
        pair.isNeeded = isIn & isUndominated & m_isOpen;
        pair.isDeepest &= pair.isNeeded;
        pair.isCovering &= pair.isNeeded;
        pair.isSpecial = pair.isCovering | pair.isDeepest;
    }

    /// The parts that need a single ball.
    std::uint8_t FindOne(const StPlacedBall& ball) {
        using Single = typename StLanes<float, 4>::Numbers;
        Single single;
        std::memcpy(&single, &ball, sizeof(single));
        StPair pair;
        Compare(__builtin_shufflevector(single, single, 0, 1, 2, 3, 0, 1, 2, 3), pair);
        m_isOpen &= ~pair.isCovering;
        Replace(pair.isDeepest, pair.x, m_best[0]);
        Replace(pair.isDeepest, pair.y, m_best[1]);
        Replace(pair.isDeepest, pair.z, m_best[2]);
        Replace(pair.isDeepest, pair.depth, m_bestDepth);
        m_counts -= pair.isNeeded & m_isFirst;
        std::uint8_t bits = 0;
        std::uint8_t same = 0;
        BitsOf(pair.isNeeded, bits, same);
        return bits;
    }

    // Results are not return values: vectors wider than the baseline's cannot be. Masks come from signs,
    // because not every instruction set has comparisons of the widest vectors.

    static void Spread(const Floats& balls, StPair& pair, Numbers& square) {
        using Integers = typename StLanes<std::int32_t>::Numbers;
        using Eight = typename StLanes<Number>::Numbers;
        Integers integers;
        std::memcpy(&integers, &balls, sizeof(integers));
        const Eight places = __builtin_convertvector(balls, Eight);
        const Eight squares = __builtin_convertvector(integers, Eight);
        pair.x = __builtin_shufflevector(places, places, 0, 0, 0, 0, 0, 0, 0, 0, 4, 4, 4, 4, 4, 4, 4, 4);
        pair.y = __builtin_shufflevector(places, places, 1, 1, 1, 1, 1, 1, 1, 1, 5, 5, 5, 5, 5, 5, 5, 5);
        pair.z = __builtin_shufflevector(places, places, 2, 2, 2, 2, 2, 2, 2, 2, 6, 6, 6, 6, 6, 6, 6, 6);
        square = __builtin_shufflevector(squares, squares, 3, 3, 3, 3, 3, 3, 3, 3, 7, 7, 7, 7, 7, 7, 7, 7);
    }
    static void Distance(const Numbers& a, const Numbers& b, Numbers& magnitude) {
        const Numbers difference = a - b;
        Mask bits;
        std::memcpy(&bits, &difference, sizeof(bits));
        bits &= std::numeric_limits<Lane>::max();
        std::memcpy(&magnitude, &bits, sizeof(bits));
    }
    static void PositivePart(const Numbers& numbers, Numbers& result) {
        Mask bits;
        Mask isNegative;
        std::memcpy(&bits, &numbers, sizeof(bits));
        IsNegative(numbers, isNegative);
        bits &= ~isNegative;
        std::memcpy(&result, &bits, sizeof(bits));
    }
    static void IsNegative(const Numbers& numbers, Mask& result) {
        Mask bits;
        std::memcpy(&bits, &numbers, sizeof(bits));
        result = bits >> std::numeric_limits<Lane>::digits;
    }
    static void Replace(const Mask& mask, const Numbers& by, Numbers& numbers) {
        Mask bits;
        Mask bitsBy;
        std::memcpy(&bits, &numbers, sizeof(bits));
        std::memcpy(&bitsBy, &by, sizeof(bits));
        bits = (bits & ~mask) | (bitsBy & mask);
        std::memcpy(&numbers, &bits, sizeof(bits));
    }

    static bool IsAnySet(const Mask& mask) {
        std::uint8_t first = 0;
        std::uint8_t second = 0;
        BitsOf(mask, first, second);
        return (first | second) != 0;
    }
    static void BitsOf(const Mask& mask, std::uint8_t& first, std::uint8_t& second) {
        using Bytes [[gnu::vector_size(c_lanes)]] = signed char;
        const auto bytes = __builtin_convertvector(mask, Bytes);
        std::array<std::uint64_t, 2> words{};
        std::memcpy(words.data(), &bytes, sizeof(words));
        first = static_cast<std::uint8_t>(PackBits(words[0]));
        second = static_cast<std::uint8_t>(PackBits(words[1]));
    }

    std::array<Numbers, 3> m_centers;
    std::array<Numbers, 3> m_halves;
    std::array<Numbers, 3> m_steps;
    Numbers m_halfDiagonal{}; ///< squared
    std::array<Numbers, 3> m_best{};
    Numbers m_bestDepth = Numbers{} - std::numeric_limits<Number>::infinity();
    Mask m_isFirst{}; ///< the lanes of the first ball
    Mask m_isOpen;
    Mask m_counts{};
};

/// Writes the squared radius of the largest ball that contains it to each pixel of a box. Pixels outside the
/// balls keep their value. `rows` are up to eight rows of pixels, at the places `y` and `z`, each beginning
/// at the place `firstX`.
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

    void Write(std::span<const StPlacedBall> balls, std::int64_t firstX, std::int64_t length) const {
        for (std::int64_t offset = 0; offset < length; offset += c_boxLanes) {
            std::array<Lanes, c_pairs> greatest{};
            Find(balls, static_cast<Number>(firstX + offset), greatest);
            const std::int64_t count = std::min<std::int64_t>(length - offset, c_boxLanes);
            for (std::size_t row = 0; row < m_rowCount; ++row) {
                using Row = typename StLanes<Lane>::Numbers;
                using Integers = typename StLanes<std::int32_t>::Numbers;
                Row pixels;
                std::memcpy(&pixels, reinterpret_cast<const Lane*>(greatest.data()) + row * c_boxLanes,
                            sizeof(pixels));
                auto integers = __builtin_convertvector(pixels, Integers);
                if (count == c_boxLanes) {
                    Integers old;
                    std::memcpy(&old, m_rows[row] + offset, sizeof(old));
                    integers |= old & ~((Integers{} - integers) >> 31);
                    std::memcpy(m_rows[row] + offset, &integers, sizeof(integers));
                } else {
                    for (std::int64_t i = 0; i < count; ++i) {
                        if (integers[i] != 0)
                            m_rows[row][offset + i] = integers[i];
                    }
                }
            }
        }
    }

private:
    /// Two rows are processed at once.
    static constexpr std::size_t c_pairs = c_boxLanes / 2;
    using Lane = LaneOf<Number>;
    using Numbers = typename StLanes<Number>::Numbers;
    using PairOfRows = typename StLanes<Number, 2 * c_boxLanes>::Numbers;
    using Lanes = typename StLanes<Lane, 2 * c_boxLanes>::Numbers;

    void Find(std::span<const StPlacedBall> balls, Number firstX,
              std::array<Lanes, c_pairs>& greatest) const {
        PairOfRows places;
        for (std::size_t lane = 0; lane < 2 * c_boxLanes; ++lane)
            places[lane] = firstX + static_cast<Number>(lane % c_boxLanes);
        // Larger balls come later, and replace smaller ones.
        std::array<Lanes, c_pairs> found{};
        for (auto ball = balls.rbegin(); ball != balls.rend(); ++ball) {
            const auto square = static_cast<Number>(ball->squaredRadius);
            const PairOfRows offsetX = places - static_cast<Number>(ball->x);
            const Numbers offsetY = m_y - static_cast<Number>(ball->y);
            const Numbers offsetZ = m_z - static_cast<Number>(ball->z);
            const PairOfRows squareX = offsetX * offsetX;
            const Numbers rests = square - (offsetY * offsetY + offsetZ * offsetZ);
            const std::array<PairOfRows, c_pairs> restsOfRows{
                __builtin_shufflevector(rests, rests, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1),
                __builtin_shufflevector(rests, rests, 2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3),
                __builtin_shufflevector(rests, rests, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 5, 5, 5, 5, 5, 5),
                __builtin_shufflevector(rests, rests, 6, 6, 6, 6, 6, 6, 6, 6, 7, 7, 7, 7, 7, 7, 7, 7)};
            for (std::size_t pair = 0; pair < c_pairs; ++pair) {
                // The sign instead of a comparison: not every instruction set compares the widest vectors.
                const PairOfRows outside = squareX - restsOfRows[pair];
                Lanes isIn;
                std::memcpy(&isIn, &outside, sizeof(isIn));
                isIn >>= std::numeric_limits<Lane>::digits;
                found[pair] = (found[pair] & ~isIn) | (isIn & Lane{ball->squaredRadius});
            }
        }
        greatest = found;
    }

    const std::array<std::int32_t*, c_boxLanes>& m_rows;
    std::size_t m_rowCount;
    Numbers m_y;
    Numbers m_z;
};

} // namespace ORVEN
