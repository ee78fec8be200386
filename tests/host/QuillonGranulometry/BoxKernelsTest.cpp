#include "QuillonGranulometry/BoxKernels.h"

#include "support/CRandomSeeds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

namespace {

using namespace ORVEN;
using Impl::EnVectors;

std::vector<EnVectors> AllVectors() {
    std::vector<EnVectors> all{EnVectors::BASELINE};
    for (const EnVectors vectors : {EnVectors::AVX2, EnVectors::AVX512}) {
        if (vectors <= Impl::BestVectors())
            all.push_back(vectors);
    }
    return all;
}

/// Balls in and around a box of 24 pixels, largest first, with many of equal size.
std::vector<StPlacedBall> RandomBalls(std::mt19937& random) {
    std::vector<StPlacedBall> balls(1 + random() % 150);
    const int greatestRadius = 1 + static_cast<int>(random() % 40);
    for (StPlacedBall& ball : balls) {
        const auto place = [&random] { return static_cast<float>(static_cast<int>(random() % 50) - 13); };
        const int radius = 1 + static_cast<int>(random()) % greatestRadius;
        ball = {place(), place(), place(), radius * radius + static_cast<int>(random() % 3)};
    }
    std::ranges::sort(balls, std::ranges::greater(), &StPlacedBall::squaredRadius);
    return balls;
}

std::int32_t GreatestAt(const std::vector<StPlacedBall>& balls, std::int64_t x, std::int64_t y,
                        std::int64_t z) {
    for (const StPlacedBall& ball : balls) {
        const auto dx = static_cast<float>(x) - ball.x;
        const auto dy = static_cast<float>(y) - ball.y;
        const auto dz = static_cast<float>(z) - ball.z;
        if (dx * dx + dy * dy + dz * dz < static_cast<float>(ball.squaredRadius))
            return ball.squaredRadius;
    }
    return 0;
}

/// Parts of unequal size; the last one is empty.
BoxParts RandomParts(std::mt19937& random) {
    BoxParts parts;
    for (StBox& part : parts) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            part.first[axis] = static_cast<std::int64_t>(random() % 12);
            part.size[axis] = static_cast<std::int64_t>(1 + random() % 12);
        }
    }
    parts.back().size[1] = 0;
    return parts;
}

template <class Number>
std::vector<std::uint8_t> NeededBy(const BoxParts& parts, const std::vector<StPlacedBall>& balls,
                                   EnVectors vectors) {
    std::vector<std::uint8_t> needed(balls.size(), 0);
    CPartSearch<Number> search(parts);
    Impl::RunFor(vectors, [&] { search.Find(balls, needed.data()); });
    for (std::size_t part = 0; part < parts.size(); ++part) {
        const auto has = [part](std::uint8_t bits) { return (bits >> part & 1) != 0; };
        EXPECT_EQ(search.Count(part), static_cast<std::size_t>(std::ranges::count_if(needed, has)));
    }
    return needed;
}

/// The greatest ball of each pixel of a part is the greatest of those that the part needs.
void ExpectEnough(const StBox& part, std::size_t index, const std::vector<StPlacedBall>& balls,
                  const std::vector<std::uint8_t>& needed) {
    std::vector<StPlacedBall> ofPart;
    for (std::size_t i = 0; i < balls.size(); ++i) {
        if ((needed[i] >> index & 1) != 0)
            ofPart.push_back(balls[i]);
    }
    for (std::int64_t z = part.first[2]; z < part.first[2] + part.size[2]; ++z) {
        for (std::int64_t y = part.first[1]; y < part.first[1] + part.size[1]; ++y) {
            for (std::int64_t x = part.first[0]; x < part.first[0] + part.size[0]; ++x)
                ASSERT_EQ(GreatestAt(ofPart, x, y, z), GreatestAt(balls, x, y, z));
        }
    }
}

TEST(BoxKernels, APartKeepsTheGreatestBallOfEachPixel) {
    for (const unsigned seed : test::CRandomSeeds(0, 200)) {
        std::mt19937 random(seed);
        const std::vector<StPlacedBall> balls = RandomBalls(random);
        const BoxParts parts = RandomParts(random);
        const std::vector<std::uint8_t> needed = NeededBy<float>(parts, balls, EnVectors::BASELINE);
        for (std::size_t part = 0; part < parts.size(); ++part)
            ExpectEnough(parts[part], part, balls, needed);
        for (const EnVectors vectors : AllVectors()) {
            EXPECT_EQ(NeededBy<float>(parts, balls, vectors), needed);
            EXPECT_EQ(NeededBy<double>(parts, balls, vectors), needed);
        }
    }
}

TEST(BoxKernels, APartThatABallCoversNeedsNoSmallerOne) {
    BoxParts parts;
    parts.fill({{0, 0, 0}, {4, 4, 4}});
    parts.front().size = {5, 4, 4};
    // The first ball reaches to the farthest corner of a cube of 4 pixels, at the distance 3, 3, 3.
    const std::vector<StPlacedBall> balls{{0, 0, 0, 28}, {4, 0, 0, 20}, {1, 1, 1, 3}};
    EXPECT_EQ(NeededBy<float>(parts, balls, EnVectors::BASELINE),
              (std::vector<std::uint8_t>{0xFF, 0x01, 0x00}));
}

template <class Number>
void ExpectRows(const std::vector<StPlacedBall>& balls, std::int64_t length, EnVectors vectors) {
    std::array<std::array<std::int32_t, 24>, c_boxLanes> pixels;
    std::array<std::int32_t*, c_boxLanes> rows{};
    std::array<std::int64_t, c_boxLanes> y{};
    std::array<std::int64_t, c_boxLanes> z{};
    constexpr std::size_t rowCount = 7;
    for (std::size_t row = 0; row < c_boxLanes; ++row) {
        pixels[row].fill(-1);
        rows[row] = pixels[row].data();
        y[row] = static_cast<std::int64_t>(row % 3);
        z[row] = static_cast<std::int64_t>(row / 3);
    }
    const CRowsOfBox<Number> group(rows, y, z, rowCount);
    Impl::RunFor(vectors, [&] { group.Write(balls, 2, length); });
    for (std::size_t row = 0; row < c_boxLanes; ++row) {
        for (std::int64_t x = 0; x < 24; ++x) {
            const bool isInBox = row < rowCount && x < length;
            const std::int32_t greatest = isInBox ? GreatestAt(balls, x + 2, y[row], z[row]) : 0;
            EXPECT_EQ(pixels[row][static_cast<std::size_t>(x)], greatest > 0 ? greatest : -1);
        }
    }
}

TEST(BoxKernels, RowsGetTheGreatestBallOfEachPixelAndElseKeepIt) {
    for (const unsigned seed : test::CRandomSeeds(0, 50)) {
        std::mt19937 random(seed);
        const std::vector<StPlacedBall> balls = RandomBalls(random);
        for (const EnVectors vectors : AllVectors()) {
            for (const std::int64_t length : {1, 7, 8, 9, 20}) {
                ExpectRows<float>(balls, length, vectors);
                ExpectRows<double>(balls, length, vectors);
            }
        }
    }
}

} // namespace
