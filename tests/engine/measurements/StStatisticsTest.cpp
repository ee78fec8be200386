#include "engine/measurements/StStatistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace engine;

TEST(Statistics, OfOneToFive) {
    const StStatistics found = StatisticsOf({{4}, {2}, {5}, {1}, {3}});
    EXPECT_EQ(found.count, 5.0);
    EXPECT_EQ(found.mean, 3.0);
    EXPECT_DOUBLE_EQ(found.deviation, std::sqrt(2.0));
    EXPECT_EQ(found.minimum, 1.0);
    EXPECT_EQ(found.maximum, 5.0);
    EXPECT_EQ(found.quantiles, (std::array<double, 5>{1, 2, 3, 4, 5}));
}

TEST(Statistics, CountEachValueByItsWeight) {
    std::mt19937 random(5);
    std::vector<StWeighted> weighted;
    std::vector<StWeighted> repeated;
    for (int i = 0; i < 50; ++i) {
        const double value = std::uniform_real_distribution<double>(-3, 9)(random);
        const auto times = static_cast<int>(random() % 20);
        weighted.push_back({value, static_cast<double>(times)});
        repeated.insert(repeated.end(), static_cast<std::size_t>(times), StWeighted{value});
    }
    const StStatistics found = StatisticsOf(weighted);
    const StStatistics meant = StatisticsOf(repeated);
    EXPECT_EQ(found.count, meant.count);
    EXPECT_NEAR(found.mean, meant.mean, 1e-12);
    EXPECT_NEAR(found.deviation, meant.deviation, 1e-12);
    EXPECT_EQ(found.quantiles, meant.quantiles);
    EXPECT_EQ(found.maximum, meant.maximum);
}

TEST(Statistics, LeaveOutWhatIsNotCounted) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    const StStatistics found = StatisticsOf({{nan}, {infinite}, {7, 0}, {8, -1}, {9, nan}, {2, 3}});
    EXPECT_EQ(found.count, 3.0);
    EXPECT_EQ(found.mean, 2.0);
    EXPECT_EQ(found.deviation, 0.0);
    EXPECT_EQ(StatisticsOf({}).count, 0.0);
}
