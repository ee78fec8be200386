#include "QuillonTransformation/axis/MedialAxisRows.h"

#include <gtest/gtest.h>

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

TEST(MedialAxisRows, SelectedVectorsAreTheSameForAllVectorsAndLengths) {
    std::mt19937 random(2);
    std::uniform_int_distribution<int> component(0, 2046);
    std::uniform_int_distribution<int> excess(0, 0xFFFF);
    for (std::size_t length = 0; length <= 67; ++length) {
        SCOPED_TRACE(length);
        const int scale = length % 2 == 0 ? 1 : 100; // short vectors and the longest
        const std::array<std::int16_t, 3> w{static_cast<std::int16_t>(327 * scale), 120, 3};
        std::array<std::vector<std::int16_t>, 3> components;
        std::vector<std::uint16_t> excesses(length);
        for (auto& values : components) {
            for (std::size_t i = 0; i < length; ++i)
                values.push_back(static_cast<std::int16_t>(component(random)));
        }
        for (std::uint16_t& value : excesses)
            value = static_cast<std::uint16_t>(excess(random));
        std::vector<std::uint8_t> expected(length);
        bool isAny = false;
        for (std::size_t i = 0; i < length; ++i) {
            const std::int64_t product = std::int64_t{w[0]} * components[0][i] +
                                         std::int64_t{w[1]} * components[1][i] +
                                         std::int64_t{w[2]} * components[2][i];
            expected[i] = product >= excesses[i] ? 1 : 0;
            isAny = isAny || expected[i] != 0;
        }
        for (const EnVectors vectors : AllVectors()) {
            std::vector<std::uint8_t> isSelected(length, 7);
            const bool isAnySelected =
                SelectOpposite(vectors, w, {components[0].data(), components[1].data(), components[2].data()},
                               excesses.data(), isSelected.data(), length);
            EXPECT_EQ(isSelected, expected) << static_cast<int>(vectors);
            EXPECT_EQ(isAnySelected, isAny);
        }
    }
}

} // namespace
