#include <QuillonTransformation/distance/CLowerEnvelope.h>

#include "support/CRandomSeeds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

using namespace ORVEN;

namespace {

/// The minimum of the parabolas at each position, by trying all of them.
template <class T>
std::vector<T> Expected(const std::vector<T>& line, bool isOutsideSeed) {
    const auto length = static_cast<std::int64_t>(line.size());
    std::vector<T> result;
    for (std::int64_t x = 0; x < length; ++x) {
        double least = std::numeric_limits<double>::infinity();
        const auto take = [&](double value, std::int64_t place) {
            const auto distance = static_cast<double>(x - place);
            least = std::min(least, value + distance * distance);
        };
        if (isOutsideSeed) {
            take(0.0, -1);
            take(0.0, length);
        }
        for (std::int64_t place = 0; place < length; ++place) {
            const T value = line[static_cast<std::size_t>(place)];
            if (value < c_noSeed<T>)
                take(static_cast<double>(value), place);
        }
        result.push_back(std::isinf(least) ? line[static_cast<std::size_t>(x)] : StoredDistance<T>(least));
    }
    return result;
}

template <class T>
std::vector<T> Transformed(std::vector<T> line, bool isOutsideSeed) {
    CLowerEnvelope envelope;
    envelope.Transform(line.data(), static_cast<std::int64_t>(line.size()), sizeof(T), 1.0, isOutsideSeed);
    return line;
}

/// Lines of values drawn by `draw`, some of them without a site.
template <class T, class Draw>
void ExpectMinimum(const Draw& draw) {
    for (const unsigned seed : test::CRandomSeeds(0, 300)) {
        std::mt19937 random(seed);
        std::vector<T> line(random() % 60);
        const unsigned sites = 1 + random() % 4;
        for (T& value : line)
            value = random() % 4 < sites ? static_cast<T>(draw(random)) : c_noSeed<T>;
        for (const bool isOutsideSeed : {false, true})
            ASSERT_EQ(Transformed(line, isOutsideSeed), Expected(line, isOutsideSeed)) << isOutsideSeed;
    }
}

} // namespace

TEST(CLowerEnvelope, IsTheMinimumOfWholeNumbers) {
    for (const unsigned greatest : {2U, 20U, 500U, 4000U}) {
        const auto draw = [greatest](std::mt19937& random) { return random() % greatest; };
        ExpectMinimum<unsigned>(draw);
        ExpectMinimum<float>(draw);
    }
}

TEST(CLowerEnvelope, IsTheMinimumOfWholeAndOtherNumbers) {
    ExpectMinimum<float>([](std::mt19937& random) {
        return static_cast<double>(random() % 400) / (random() % 20 == 0 ? 8.0 : 1.0);
    });
}

TEST(CLowerEnvelope, IsTheMinimumOfValuesAtTheLimits) {
    ExpectMinimum<unsigned>([](std::mt19937& random) { return c_noSeed<unsigned> - 1 - random() % 3000; });
    ExpectMinimum<float>([](std::mt19937& random) { return random() % 2 == 0 ? 0x1p49F : 0x1p50F; });
    ExpectMinimum<float>([](std::mt19937& random) { return random() % 2 == 0 ? -0x1p20F : 0x1p120F; });
}

TEST(CLowerEnvelope, LeavesALineWithoutASiteUnchanged) {
    const std::vector<float> line(7, c_noSeed<float>);
    EXPECT_EQ(Transformed(line, false), line);
    EXPECT_EQ(Transformed(std::vector<unsigned>(), false), std::vector<unsigned>());
}
