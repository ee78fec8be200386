#include "engine/measurements/StStatistics.h"

#include <algorithm>
#include <cmath>

namespace engine {

namespace {

double Mean(const std::vector<StWeighted>& values, double count) {
    double sum = 0.0;
    for (const StWeighted& item : values)
        sum += item.weight * item.value;
    return sum / count;
}

double Deviation(const std::vector<StWeighted>& values, double count, double mean) {
    double sum = 0.0;
    for (const StWeighted& item : values)
        sum += item.weight * (item.value - mean) * (item.value - mean);
    return std::sqrt(sum / count);
}

} // namespace

StStatistics StatisticsOf(std::vector<StWeighted> values) {
    std::erase_if(values, [](const StWeighted& item) {
        return !std::isfinite(item.value) || !std::isfinite(item.weight) || item.weight <= 0.0;
    });
    StStatistics statistics;
    if (values.empty())
        return statistics;
    std::ranges::sort(values, {}, &StWeighted::value);
    for (const StWeighted& item : values)
        statistics.count += item.weight;
    statistics.mean = Mean(values, statistics.count);
    statistics.deviation = Deviation(values, statistics.count, statistics.mean);
    statistics.minimum = values.front().value;
    statistics.maximum = values.back().value;
    double below = 0.0;
    std::size_t next = 0;
    for (const StWeighted& item : values) {
        below += item.weight;
        for (; next < statistics.quantiles.size() &&
               100.0 * below >= StStatistics::percentages[next] * statistics.count;
             ++next)
            statistics.quantiles[next] = item.value;
    }
    return statistics;
}

} // namespace engine
