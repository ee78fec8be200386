#include "engine/pictures/StWindow.h"

namespace engine {

StWindow WindowOfSample(std::vector<double> sample, double least, double greatest) {
    constexpr double cutOff = 0.005;
    const auto quantile = [&](double part) {
        const auto nth = sample.begin() + std::lround(part * static_cast<double>(sample.size() - 1));
        std::nth_element(sample.begin(), nth, sample.end());
        return *nth;
    };
    if (!sample.empty()) {
        const StWindow window{quantile(cutOff), quantile(1 - cutOff)};
        if (window.black < window.white)
            return window;
    }
    if (least < greatest)
        return {least, greatest};
    // A single value: 0 is black, any other is a medium grey.
    return least == 0 ? StWindow{0, 1} : StWindow{least - 1, least + 1};
}

} // namespace engine
