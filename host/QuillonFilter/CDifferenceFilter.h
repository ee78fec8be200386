#pragma once

#include "QuillonFilter/CFiniteDifferences.h"
#include "QuillonFilter/FilterLines.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace ORVEN::Impl {

/// Finite differences as a filter of `FilterLines`: weighted sums of the rows of a block.
class CDifferenceFilter {
public:
    CDifferenceFilter(int order, std::int64_t length)
        : m_differences(order, length) {}

    const double* operator()(const StLineBlock& block, std::int64_t lanes, CWorkPace& pace) const {
        const std::int64_t first = m_differences.FirstCentral();
        const std::int64_t end = m_differences.EndCentral();
        for (std::int64_t pixel = 0; pixel < first; ++pixel)
            Sum(block, pixel, lanes);
        const std::size_t windowSize = first < end ? m_differences.WindowAt(first).weights.size() : 0;
        const std::int64_t unitsOfPixel =
            static_cast<std::int64_t>(windowSize + 1) * c_unitsPerFilter * c_lanes;
        ForEachPiece(end - first, unitsOfPixel, pace,
                     [=, this](std::int64_t pieceBegin, std::int64_t pieceEnd) {
                         if (windowSize == 3)
                             SumCentral(block, first + pieceBegin, first + pieceEnd, lanes,
                                        std::make_index_sequence<3>());
                         else if (windowSize == 5)
                             SumCentral(block, first + pieceBegin, first + pieceEnd, lanes,
                                        std::make_index_sequence<5>());
                         else
                             for (std::int64_t pixel = first + pieceBegin; pixel < first + pieceEnd; ++pixel)
                                 Sum(block, pixel, lanes);
                     });
        for (std::int64_t pixel = end; pixel < block.length; ++pixel)
            Sum(block, pixel, lanes);
        return block.results;
    }

private:
    void Sum(const StLineBlock& block, std::int64_t pixel, std::int64_t lanes) const {
        const auto [first, weights] = m_differences.WindowAt(pixel);
        const double* values = block.values + first * c_lanes;
        double* __restrict const sums = block.results + pixel * c_lanes;
        for (std::int64_t lane = 0; lane < lanes; ++lane)
            sums[lane] = weights[0] * values[lane];
        for (const double weight : weights.subspan(1)) {
            values += c_lanes;
            for (std::int64_t lane = 0; lane < lanes; ++lane)
                sums[lane] += weight * values[lane];
        }
    }

    /// The same for pixels with a centred window, with the terms of the sum unrolled. They are added from
    /// left to right as above.
    template <std::size_t... term>
    void SumCentral(const StLineBlock& block, std::int64_t begin, std::int64_t end, std::int64_t lanes,
                    std::index_sequence<term...>) const {
        const auto [first, span] = m_differences.WindowAt(begin);
        const std::array weights{span[term]...};
        const double* values = block.values + first * c_lanes;
        for (std::int64_t pixel = begin; pixel < end; ++pixel) {
            double* __restrict const sums = block.results + pixel * c_lanes;
            for (std::int64_t lane = 0; lane < lanes; ++lane)
                sums[lane] =
                    (... + (weights[term] * values[static_cast<std::int64_t>(term) * c_lanes + lane]));
            values += c_lanes;
        }
    }

    CFiniteDifferences m_differences;
};

} // namespace ORVEN::Impl
