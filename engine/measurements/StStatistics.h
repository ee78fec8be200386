#pragma once

#include <array>
#include <vector>

namespace engine {

/// A value and how often it occurs.
struct StWeighted {
    double value;
    double weight = 1.0;
};

/// What is said about a distribution in a sentence of a paper.
struct StStatistics {
    static constexpr std::array<int, 5> percentages = {10, 25, 50, 75, 90};

    double count = 0.0; ///< the sum of the weights
    double mean = 0.0;
    double deviation = 0.0; ///< standard deviation of the values themselves: divided by `count`
    double minimum = 0.0;
    double maximum = 0.0;
    /// For each percentage the smallest value that at least so many per cent do not exceed.
    std::array<double, percentages.size()> quantiles{};
};

/// The statistics of the finite values with a positive weight; all 0 if there are none. Time n log n.
StStatistics StatisticsOf(std::vector<StWeighted> values);

} // namespace engine
