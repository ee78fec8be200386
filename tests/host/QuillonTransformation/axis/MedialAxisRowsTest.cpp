#include "QuillonTransformation/axis/MedialAxisRows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace ORVEN;
using Impl::EnVectors;

/// What this processor can run.
std::vector<EnVectors> AllVectors() {
    std::vector<EnVectors> all{EnVectors::BASELINE};
    if (Impl::BestVectors() >= EnVectors::AVX2)
        all.push_back(EnVectors::AVX2);
    if (Impl::BestVectors() >= EnVectors::AVX512)
        all.push_back(EnVectors::AVX512);
    return all;
}

std::vector<std::int32_t> RandomRow(std::mt19937& random, std::int64_t length, std::int32_t greatest) {
    std::uniform_int_distribution<std::int32_t> value(0, greatest);
    std::vector<std::int32_t> row(static_cast<std::size_t>(length));
    for (std::int32_t& distance : row)
        distance = value(random);
    return row;
}

TEST(MedialAxisRows, CoveredPixelsAreTheSameForAllVectorsAndLengths) {
    std::mt19937 random(1);
    for (std::int64_t length = 0; length <= 67; ++length) {
        SCOPED_TRACE(length);
        std::vector<std::vector<std::int32_t>> rows;
        for (int i = 0; i < 9; ++i)
            rows.push_back(RandomRow(random, length + 2, 100));
        std::vector<std::vector<std::int32_t>> limits;
        for (int i = 0; i < 3; ++i)
            limits.push_back(RandomRow(random, length + 2, 140));
        StRowNeighborhood around{};
        for (std::size_t i = 0; i < 9; ++i)
            around.rows[i] = rows[i].data();
        for (std::size_t i = 0; i < 3; ++i)
            around.limits[i] = limits[i].data();

        // Rows 1 to 4 are one step away and rows 5 to 8 two.
        std::vector<std::uint8_t> expected(static_cast<std::size_t>(length + 2), 7);
        for (std::size_t x = 1; x <= static_cast<std::size_t>(length); ++x) {
            expected[x] = 0;
            for (std::size_t i = 0; i < 9; ++i) {
                const std::size_t rowSteps = i == 0 ? 0 : i < 5 ? 1 : 2;
                for (const std::size_t neighbor : {x - 1, x, x + 1}) {
                    const std::size_t steps = rowSteps + (neighbor == x ? 0 : 1);
                    if (steps > 0 && rows[i][neighbor] >= limits[steps - 1][x])
                        expected[x] = 1;
                }
            }
        }
        for (const EnVectors vectors : AllVectors()) {
            std::vector<std::uint8_t> isCovered(expected.size(), 7);
            FindCoveredByNearest(vectors, around, isCovered.data(), 1, length + 1);
            EXPECT_EQ(isCovered, expected) << static_cast<int>(vectors);
        }
    }
}

TEST(MedialAxisRows, VectorsWithinReachAreSelectedWithAllVectorsAndLengths) {
    std::mt19937 random(2);
    for (std::size_t length = 0; length <= 67; ++length) {
        SCOPED_TRACE(length);
        const std::int32_t distance = length % 2 == 0 ? 300 : 1 << 29; // small balls and the largest
        const auto root = static_cast<float>(std::sqrt(distance));
        std::uniform_real_distribution<float> rest(0.0F, 50.0F);
        std::array<std::vector<float>, 3> rests;
        for (auto& values : rests) {
            for (std::size_t i = 0; i < length; ++i)
                values.push_back(rest(random));
        }
        std::vector<std::int32_t> squares(length);
        std::vector<std::uint16_t> excesses(length);
        std::vector<double> shares(length); // of the limit that can be reached
        const StReach reach{distance,
                            {root, root - 2.0F, root + 1.0F},
                            {rests[0].data(), rests[1].data(), rests[2].data()},
                            squares.data()};
        for (std::size_t i = 0; i < length; ++i) {
            double most = std::numeric_limits<double>::max();
            for (std::size_t k = 0; k < 3; ++k)
                most = std::min(most, double{reach.roots[k]} + double{rests[k][i]});
            // Every third limit is just within reach; the others are just out of reach.
            const double missing =
                std::max(std::floor(most * most) - distance, 0.0) +
                static_cast<double>(i % 3) * std::max(2e-6 * static_cast<double>(distance), 1.0);
            excesses[i] = static_cast<std::uint16_t>(std::fmod(missing, 30000.0));
            squares[i] = static_cast<std::int32_t>(missing) - excesses[i];
            shares[i] = most * most / (static_cast<double>(distance) + std::trunc(missing));
        }
        std::vector<std::uint8_t> baseline(length, 7);
        (void)SelectReachable(EnVectors::BASELINE, reach, excesses.data(), baseline.data(), length);
        for (std::size_t i = 0; i < length; ++i) {
            const bool isWithinReach = shares[i] >= 1.0;
            const bool isSelected = baseline[i] != 0;
            EXPECT_TRUE(isSelected || !isWithinReach) << i;
            EXPECT_TRUE(!isSelected || shares[i] > 1.0 - 2e-6) << i;
        }
        for (const EnVectors vectors : AllVectors()) {
            std::vector<std::uint8_t> isSelected(length, 7);
            const bool isAnySelected =
                SelectReachable(vectors, reach, excesses.data(), isSelected.data(), length);
            EXPECT_EQ(isSelected, baseline) << static_cast<int>(vectors);
            EXPECT_EQ(isAnySelected, std::ranges::find(isSelected, 1) != isSelected.end());
        }
    }
}

} // namespace
