#include "QuillonFilterOrientations/CForeground.h"

#include <QuillonBase/CWorkPace.h>
#include <sorblib2image/GreyTypeDispatch.h>

#include <algorithm>
#include <array>
#include <functional>
#include <mutex>
#include <type_traits>

namespace ORVEN::Impl {

namespace {

using Histogram = std::array<std::int64_t, 256>;

std::optional<Histogram> HistogramOf(const CImageView<const unsigned char>& view, IProgress& progress) {
    Histogram total{};
    std::mutex guard;
    progress.Start(static_cast<unsigned>(view.nz), "Counting grey values");
    const bool isDone = ParallelFor(view.nz, progress, [&](CWorkerTurn& turn) {
        return [&, pace = CWorkPace(turn)](std::int64_t z) mutable {
            Histogram plane{};
            for (std::int64_t y = 0; y < view.ny; ++y) {
                const unsigned char* const row = view.Row(y, z);
                const auto count = [&](std::int64_t begin, std::int64_t end) {
                    for (std::int64_t x = begin; x < end; ++x)
                        ++plane[row[x]];
                };
                if (!ForEachPiece(view.nx, 2, pace, count))
                    return;
            }
            const std::lock_guard lock(guard);
            std::transform(total.begin(), total.end(), plane.begin(), total.begin(), std::plus());
        };
    });
    progress.Finish();
    return isDone ? std::optional(total) : std::nullopt;
}

/// Otsu's threshold; 255 if there are fewer than two grey values. Variances are compared as the square of an
/// exact integer divided by the product of two others, so that equal variances compare as equal.
int OtsuThreshold(const Histogram& histogram) {
    std::int64_t count = 0;
    std::int64_t sum = 0;
    for (std::size_t value = 0; value < histogram.size(); ++value) {
        count += histogram[value];
        sum += histogram[value] * static_cast<std::int64_t>(value);
    }
    int best = 255;
    long double greatest = 0.0L;
    std::int64_t lowerCount = 0;
    std::int64_t lowerSum = 0;
    for (std::size_t value = 0; value < histogram.size(); ++value) {
        lowerCount += histogram[value];
        lowerSum += histogram[value] * static_cast<std::int64_t>(value);
        const std::int64_t upperCount = count - lowerCount;
        if (lowerCount == 0 || upperCount == 0)
            continue;
        const auto difference = static_cast<long double>(static_cast<__int128>(sum - lowerSum) * lowerCount -
                                                         static_cast<__int128>(lowerSum) * upperCount);
        const long double variance =
            difference * difference /
            (static_cast<long double>(lowerCount) * static_cast<long double>(upperCount));
        if (variance > greatest) {
            greatest = variance;
            best = static_cast<int>(value);
        }
    }
    return best;
}

template <class T>
bool IsForeground(T pixel, unsigned least) {
    if constexpr (std::is_floating_point_v<T>)
        return pixel != T{};
    else
        return unsigned{pixel} >= least;
}

/// The smallest grey value above the threshold; 256 if there is none.
unsigned LeastAbove(double threshold) {
    if (threshold < 0.0)
        return 0;
    return threshold < 255.0 ? static_cast<unsigned>(threshold) + 1 : 256;
}

} // namespace

std::optional<CForeground> CForeground::ByOtsu(const IImage& image, double factor, IProgress& progress) {
    const auto histogram = HistogramOf(Bytes(image), progress);
    if (!histogram)
        return std::nullopt;
    return CForeground(image, ThresholdByOtsu(*histogram, factor));
}

double CForeground::ThresholdByOtsu(const Histogram& histogram, double factor) {
    const int threshold = OtsuThreshold(histogram);
    // 255 means that the image is constant. It then has no foreground, whatever the factor.
    return threshold < 255 ? factor * threshold : 255.0;
}

CForeground::CForeground(const IImage& mask)
    : m_view(ViewOf(mask)) {}

CForeground::CForeground(const IImage& image, double threshold)
    : m_view(Bytes(image))
    , m_threshold(threshold)
    , m_least(LeastAbove(threshold)) {}

CForeground::View CForeground::ViewOf(const IImage& mask) {
    if (mask.Type().IsBinary())
        return Bytes(mask);
    return DispatchGreyType("CSubfieldFiberDirections", mask.Type(),
                            [&]<class T>(std::type_identity<T>) { return View(CImageView<const T>(mask)); });
}

void CForeground::Collect(std::int64_t y, std::int64_t z, std::int64_t begin, std::int64_t end,
                          std::vector<std::int64_t>& xs) const {
    const std::size_t before = xs.size();
    xs.resize(before + static_cast<std::size_t>(end - begin));
    std::int64_t* next = xs.data() + before;
    std::visit(
        [&](const auto& view) {
            const auto* const row = view.Row(y, z);
            for (std::int64_t x = begin; x < end; ++x) {
                *next = x;
                next += IsForeground(row[x], m_least) ? 1 : 0;
            }
        },
        m_view);
    xs.resize(static_cast<std::size_t>(next - xs.data()));
}

} // namespace ORVEN::Impl
