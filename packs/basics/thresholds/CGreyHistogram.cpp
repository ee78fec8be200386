#include "thresholds/CGreyHistogram.h"

#include <sorblib2image/ImageView.h>

#include <algorithm>

namespace quillon::basics {

using namespace ORVEN;

CGreyHistogram::CGreyHistogram(const CImage& image, const StRange& range, std::int64_t mostBins,
                               IProgress& progress)
    : m_least(range.least) {
    const double span = range.greatest - range.least;
    m_isExact = !(image.Type() == IMAGE_GREY_F) && span < static_cast<double>(mostBins);
    const std::int64_t bins = m_isExact ? static_cast<std::int64_t>(span) + 1 : span > 0.0 ? mostBins : 1;
    if (!m_isExact)
        m_width = span / static_cast<double>(bins);
    const double perUnit = m_width > 0.0 ? 1.0 / m_width : 0.0;

    DispatchRealType("CGreyHistogram", image.Type(), [&]<class T>(std::type_identity<T>) {
        const CImageView<const T> view(image);
        const std::int64_t rows = view.ny * view.nz;
        const std::int64_t blocks = std::min<std::int64_t>(rows, 16);
        std::vector<std::vector<std::int64_t>> counts(static_cast<std::size_t>(blocks));
        progress.Start(static_cast<unsigned>(blocks), "Counting grey values...");
        ParallelFor(blocks, progress, [&](CWorkerTurn& turn) {
            return [&, pace = CWorkPace(turn)](std::int64_t block) mutable {
                auto& bin = counts[static_cast<std::size_t>(block)];
                bin.assign(static_cast<std::size_t>(bins), 0);
                for (std::int64_t row = block * rows / blocks; row < (block + 1) * rows / blocks; ++row) {
                    const T* const pixels = view.Row(row % view.ny, row / view.ny);
                    for (std::int64_t x = 0; x < view.nx; ++x) {
                        const double place = (static_cast<double>(pixels[x]) - m_least) * perUnit;
                        if (place >= 0.0) // false for NaN
                            ++bin[static_cast<std::size_t>(
                                std::min(static_cast<std::int64_t>(place), bins - 1))];
                    }
                    if (pace.Add(2 * view.nx))
                        return;
                }
            };
        });
        progress.Finish();
        m_counts.assign(static_cast<std::size_t>(bins), 0);
        for (const auto& part : counts)
            std::transform(part.begin(), part.end(), m_counts.begin(), m_counts.begin(), std::plus<>());
    });
}

double CGreyHistogram::Value(std::size_t bin) const {
    return m_least + (static_cast<double>(bin) + (m_isExact ? 0.0 : 0.5)) * m_width;
}

double CGreyHistogram::UpperEnd(std::size_t bin) const {
    return m_least + (static_cast<double>(bin) + (m_isExact ? 0.0 : 1.0)) * m_width;
}

} // namespace quillon::basics
