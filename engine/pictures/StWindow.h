#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace engine {

/// The values shown as black and as white.
struct StWindow {
    double black = 0;
    double white = 1;

    /// 0 for black or less, 1 for white or more; 0 for NaN.
    [[nodiscard]] double ToneOf(double value) const {
        const double tone = (value - black) / (white - black);
        return std::isnan(tone) ? 0.0 : std::clamp(tone, 0.0, 1.0);
    }
};

/// The window that shows all but few of the finite values, see `MakePicture`.
StWindow WindowOfSample(std::vector<double> sample, double least, double greatest);

/// The window of several lists of pixels together.
template <class Pixel>
StWindow WindowOf(const std::vector<const std::vector<Pixel>*>& lists) {
    // A sample of this size gives the percentiles to within a small fraction of a per cent.
    constexpr std::size_t maxSampled = 1 << 20;
    std::size_t count = 0;
    for (const auto* pixels : lists)
        count += pixels->size();
    const std::size_t step = count / maxSampled + 1;
    std::vector<double> sample;
    double least = std::numeric_limits<double>::infinity();
    double greatest = -least;
    for (const auto* pixels : lists) {
        for (std::size_t i = 0; i < pixels->size(); ++i) {
            const auto value = static_cast<double>((*pixels)[i]);
            if (!std::isfinite(value))
                continue;
            least = std::min(least, value);
            greatest = std::max(greatest, value);
            if (i % step == 0)
                sample.push_back(value);
        }
    }
    return WindowOfSample(std::move(sample), least, greatest);
}

} // namespace engine
