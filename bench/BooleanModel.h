#pragma once

#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>

/// Images and clock for the distance and morphology benchmarks.
namespace bench {

/// A Boolean model of spheres with radii from `least` to `greatest`: balls at random positions that may
/// overlap, enough to fill half of the volume. Identical on every machine.
inline std::unique_ptr<ORVEN::CImage> BooleanModel(std::int64_t edge, std::int64_t least,
                                                   std::int64_t greatest) {
    using namespace ORVEN;
    auto image = std::make_unique<CImage>(IMAGE_BINARY_FG, CSize(edge, edge, edge), CSize(0, 0, 0));
    const CImageView<unsigned char> view(*image);
    std::mt19937 random(1);
    // Half of the volume stays free when the volumes of the balls add up to ln 2 of the whole.
    double missing = std::log(2.0) * static_cast<double>(image->Size().PixelCount());
    while (missing > 0.0) {
        const auto draw = [&] { return static_cast<std::int64_t>(random()) % edge; };
        const CPos center(draw(), draw(), draw());
        const std::int64_t r = least + static_cast<std::int64_t>(random()) % (greatest - least + 1);
        missing -= 4.18879 * static_cast<double>(r * r * r);
        for (std::int64_t z = std::max<std::int64_t>(center.z - r, 0); z <= std::min(center.z + r, edge - 1);
             ++z) {
            for (std::int64_t y = std::max<std::int64_t>(center.y - r, 0);
                 y <= std::min(center.y + r, edge - 1); ++y) {
                const std::int64_t rest =
                    r * r - (z - center.z) * (z - center.z) - (y - center.y) * (y - center.y);
                if (rest < 0)
                    continue;
                const auto half = static_cast<std::int64_t>(std::sqrt(static_cast<double>(rest)));
                unsigned char* const row = view.Row(y, z);
                std::fill(row + std::max<std::int64_t>(center.x - half, 0),
                          row + std::min(center.x + half, edge - 1) + 1, 1);
            }
        }
    }
    return image;
}

inline double Seconds(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// Time of the fastest round. A first, uncounted round touches the memory for the first time.
inline double Quickest(int rounds, const std::function<void()>& work) {
    work();
    double best = Seconds(work);
    for (int round = 1; round < rounds; ++round)
        best = std::min(best, Seconds(work));
    return best;
}

} // namespace bench
