#pragma once

#include "QuillonFilter/FilterLines.h"
#include "QuillonFilter/StGaussRecursion.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace ORVEN::Impl {

/// The recursive Gaussian as a filter of `FilterLines`, in place: a forward run, then a backward run over its
/// result.
class CRecursiveGauss {
public:
    explicit CRecursiveGauss(double sigma)
        : m_coefficients(sigma) {}

    const double* operator()(const StLineBlock& block, std::int64_t lanes, CWorkPace& pace) const {
        double* const first = block.values;
        double* const last = first + (block.length - 1) * c_lanes;
        for (std::int64_t row = 1; row <= 3; ++row)
            std::copy_n(first, lanes, first - row * c_lanes);
        std::array<double, c_lanes> lastPixels;
        std::copy_n(last, lanes, lastPixels.data());
        Recur<1>(first, block.length, lanes, pace);
        TurnRound(last, lastPixels.data(), lanes);
        Recur<-1>(last - c_lanes, block.length - 1, lanes, pace);
        return block.values;
    }

private:
    template <std::int64_t direction>
    void Recur(double* row, std::int64_t count, std::int64_t lanes, CWorkPace& pace) const {
        ForEachPiece(count, c_unitsPerFilter * c_lanes, pace,
                     [=, this](std::int64_t begin, std::int64_t end) {
                         Recur<direction>(row + direction * c_lanes * begin, end - begin, lanes);
                     });
    }

    /// Processes `count` rows starting at `row`. The last term depends on the previous step, so it is added
    /// last.
    template <std::int64_t direction>
    void Recur(double* row, std::int64_t count, std::int64_t lanes) const {
        const double gain = m_coefficients.gain;
        const double a1 = m_coefficients.a1;
        const double a2 = m_coefficients.a2;
        const double a3 = m_coefficients.a3;
        constexpr std::int64_t step = direction * c_lanes;
        for (std::int64_t i = 0; i < count; ++i, row += step) {
#pragma GCC ivdep // the rows of a block do not overlap, which the compiler cannot know
            for (std::int64_t lane = 0; lane < lanes; ++lane) {
                double* const value = row + lane;
                *value = gain * *value + a3 * value[-3 * step] + a2 * value[-2 * step] + a1 * value[-step];
            }
        }
    }

    /// Computes the first three results of the backward run from the last results of the forward run.
    void TurnRound(double* last, const double* lastPixels, std::int64_t lanes) const {
        const auto& m = m_coefficients.end;
#pragma GCC ivdep // the rows of a block do not overlap, which the compiler cannot know
        for (std::int64_t lane = 0; lane < lanes; ++lane) {
            const double beyond = lastPixels[lane];
            const double t0 = last[lane] - beyond;
            const double t1 = last[lane - c_lanes] - beyond;
            const double t2 = last[lane - 2 * c_lanes] - beyond;
            last[lane] = beyond + (m[0][0] * t0 + m[0][1] * t1 + m[0][2] * t2);
            last[lane + c_lanes] = beyond + (m[1][0] * t0 + m[1][1] * t1 + m[1][2] * t2);
            last[lane + 2 * c_lanes] = beyond + (m[2][0] * t0 + m[2][1] * t1 + m[2][2] * t2);
        }
    }

    StGaussRecursion m_coefficients;
};

} // namespace ORVEN::Impl
