#pragma once

#include "QuillonFilter/FilterLines.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace ORVEN::Impl {

/// A sampled Gaussian of at most 11 pixels as a filter of `FilterLines`, by direct convolution.
class CSampledGauss {
public:
    explicit CSampledGauss(double sigma) {
        // Divided before squaring: the square of a very small sigma underflows to 0.
        const auto sample = [sigma](double k) { return std::exp(-0.5 * (k / sigma) * (k / sigma)); };
        double sum = 1.0;
        for (std::size_t k = 1; k < m_weights.size(); ++k)
            sum += 2.0 * sample(static_cast<double>(k));
        m_weights[0] = 1.0 / sum;
        for (std::size_t k = 1; k < m_weights.size(); ++k)
            m_weights[k] = sample(static_cast<double>(k)) / sum;
    }

    const double* operator()(const StLineBlock& block, std::int64_t lanes, CWorkPace& pace) const {
        double* const values = block.values;
        double* const last = values + (block.length - 1) * c_lanes;
        for (std::int64_t row = 1; row <= c_margin; ++row) {
            std::copy_n(values, lanes, values - row * c_lanes);
            std::copy_n(last, lanes, last + row * c_lanes);
        }
        ForEachPiece(block.length, 2 * c_unitsPerFilter * c_lanes, pace,
                     [=, this](std::int64_t begin, std::int64_t end) { Convolve(block, begin, end, lanes); });
        return block.results;
    }

private:
    void Convolve(const StLineBlock& block, std::int64_t begin, std::int64_t end, std::int64_t lanes) const {
        for (std::int64_t i = begin * c_lanes; i < end * c_lanes; i += c_lanes) {
#pragma GCC ivdep // the rows of a block do not overlap, which the compiler cannot know
            for (std::int64_t lane = 0; lane < lanes; ++lane) {
                const double* const value = block.values + i + lane;
                double sum = m_weights[0] * *value;
                for (std::int64_t k = 1; k <= c_margin; ++k)
                    sum +=
                        m_weights[static_cast<std::size_t>(k)] * (value[-k * c_lanes] + value[k * c_lanes]);
                block.results[i + lane] = sum;
            }
        }
    }

    std::array<double, c_margin + 1> m_weights{}; ///< of the pixel itself, then outwards
};

} // namespace ORVEN::Impl
