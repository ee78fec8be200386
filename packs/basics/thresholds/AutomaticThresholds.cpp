#include "thresholds/AutomaticThresholds.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace quillon::basics {

namespace {

/// Prefix sums over the values that occur, with values relative to their mean, where differences of sums lose
/// fewest digits.
struct StSums {
    explicit StSums(const CGreyHistogram& histogram) {
        const auto& all = histogram.Counts();
        double pixels = 0.0;
        double total = 0.0;
        for (std::size_t bin = 0; bin < all.size(); ++bin) {
            if (all[bin] == 0)
                continue;
            bins.push_back(bin);
            pixels += static_cast<double>(all[bin]);
            total += static_cast<double>(all[bin]) * histogram.Value(bin);
        }
        const double mean = total / pixels;
        for (const std::size_t bin : bins) {
            const auto count = static_cast<double>(all[bin]);
            counts.push_back(counts.back() + count);
            sums.push_back(sums.back() + count * (histogram.Value(bin) - mean));
        }
    }

    /// What the values from `first` up to, but without, `end` contribute to the variance between classes.
    [[nodiscard]] double Between(std::size_t first, std::size_t end) const {
        const double sum = sums[end] - sums[first];
        return sum * sum / (counts[end] - counts[first]);
    }

    std::vector<std::size_t> bins; ///< those that are not empty
    std::vector<double> counts{0.0};
    std::vector<double> sums{0.0};
};

/// One more class: for each number of values from `first` to `last`, the best start of the last class, which
/// lies from `low` to `high`.
struct StLayer {
    const StSums& sums;
    const std::vector<double>& before; ///< best value by number of values, with one class fewer
    std::vector<double>& best;
    std::vector<std::size_t>& start;

    // NOLINTNEXTLINE(misc-no-recursion): as deep as the logarithm of the number of values
    void Fill(std::size_t first, std::size_t last, std::size_t low, std::size_t high) {
        const std::size_t middle = first + (last - first) / 2;
        best[middle] = -1.0;
        for (std::size_t candidate = low; candidate <= std::min(high, middle - 1); ++candidate) {
            const double value = before[candidate] + sums.Between(candidate, middle);
            if (value > best[middle]) {
                best[middle] = value;
                start[middle] = candidate;
            }
        }
        const std::size_t split = start[middle];
        if (middle > first)
            Fill(first, middle - 1, low, split);
        if (middle < last)
            Fill(middle + 1, last, split, high);
    }
};

} // namespace

std::vector<double> OtsuThresholds(const CGreyHistogram& histogram, std::int32_t classes) {
    const StSums sums(histogram);
    const std::size_t values = sums.bins.size();
    if (values == 1)
        return {histogram.UpperEnd(sums.bins.front())};
    const std::size_t classCount = std::min(static_cast<std::size_t>(classes), values);

    std::vector<double> best(values + 1, 0.0);
    for (std::size_t end = 1; end <= values; ++end)
        best[end] = sums.Between(0, end);
    std::vector<std::vector<std::size_t>> starts(classCount + 1, std::vector<std::size_t>(values + 1, 0));
    for (std::size_t count = 2; count <= classCount; ++count) {
        const std::vector<double> before = best;
        StLayer{sums, before, best, starts[count]}.Fill(count, values, count - 1, values - 1);
    }

    std::vector<double> thresholds(classCount - 1);
    std::size_t end = values;
    for (std::size_t count = classCount; count > 1; --count) {
        end = starts[count][end];
        thresholds[count - 2] = histogram.UpperEnd(sums.bins[end - 1]);
    }
    return thresholds;
}

double LiThreshold(const CGreyHistogram& histogram) {
    const auto& counts = histogram.Counts();
    const double least = histogram.Value(0);
    double width = std::numeric_limits<double>::infinity(); // the least distance of two values that occur
    double pixels = 0.0;
    double total = 0.0;
    double previous = -std::numeric_limits<double>::infinity();
    for (std::size_t bin = 0; bin < counts.size(); ++bin) {
        if (counts[bin] == 0)
            continue;
        const double value = histogram.Value(bin);
        width = std::min(width, value - previous);
        previous = value;
        pixels += static_cast<double>(counts[bin]);
        total += static_cast<double>(counts[bin]) * (value - least);
    }
    if (!std::isfinite(width))
        return histogram.UpperEnd(0);

    // Values count from the least one, so that both means are positive.
    double threshold = total / pixels;
    for (double last = threshold + 2.0 * width; std::abs(threshold - last) > width / 2.0;) {
        last = threshold;
        double darkPixels = 0.0;
        double dark = 0.0;
        for (std::size_t bin = 0; bin < counts.size() && histogram.Value(bin) - least <= last; ++bin) {
            darkPixels += static_cast<double>(counts[bin]);
            dark += static_cast<double>(counts[bin]) * (histogram.Value(bin) - least);
        }
        if (dark <= 0.0 || darkPixels >= pixels)
            break;
        const double darkMean = dark / darkPixels;
        const double brightMean = (total - dark) / (pixels - darkPixels);
        threshold = (darkMean - brightMean) / (std::log(darkMean) - std::log(brightMean));
    }
    return threshold + least;
}

double TriangleThreshold(const CGreyHistogram& histogram) {
    const auto& counts = histogram.Counts(); // the first bin and the last one hold the extremes
    const auto peak = static_cast<std::int64_t>(std::ranges::max_element(counts) - counts.begin());
    const auto last = static_cast<std::int64_t>(counts.size()) - 1;
    const bool isTailBright = peak < last - peak;
    const std::int64_t end = isTailBright ? last : 0;
    const std::int64_t towardsPeak = isTailBright ? -1 : 1;
    const double height = static_cast<double>(counts[static_cast<std::size_t>(peak)]);
    const double width = static_cast<double>(std::abs(peak - end));

    std::int64_t farthest = end;
    double greatest = -std::numeric_limits<double>::infinity();
    for (std::int64_t bin = end; bin != peak; bin += towardsPeak) {
        const double distance = height * static_cast<double>(std::abs(bin - end)) -
                                width * static_cast<double>(counts[static_cast<std::size_t>(bin)]);
        if (distance > greatest) {
            greatest = distance;
            farthest = bin;
        }
    }
    return histogram.UpperEnd(static_cast<std::size_t>(farthest));
}

} // namespace quillon::basics
