#pragma once

#include "utils/visitors/Visitor.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace ORVEN::visitors {

/// Counts how often each relation holds between the pixels of two images. If one of the images is a float
/// image, pixels are compared as floats, and large integers lose digits; otherwise they are compared as
/// integers. Differences are computed exactly, in double precision.
///
/// Two NaN are equal, but neither "lower or equal" nor "greater or equal" holds for them. No relation holds
/// between NaN and a number.
template <class A, class B>
struct COperationAnalyzeRelation : StVisitor<const A, const B> {
    void preprocess() { *this = {}; }

    void operator()(A a, B b) {
        ++pixelCount;
        if constexpr (std::is_floating_point_v<A> || std::is_floating_point_v<B>) {
            const bool isNanA = std::isnan(static_cast<float>(a));
            const bool isNanB = std::isnan(static_cast<float>(b));
            nanInA += isNanA ? 1 : 0;
            nanInB += isNanB ? 1 : 0;
            nanMismatch += isNanA != isNanB ? 1 : 0;
            m_nanPairCount += isNanA && isNanB ? 1 : 0;
            if (isNanA || isNanB)
                return;
        }
        CountNumbers(static_cast<Common>(a), static_cast<Common>(b), a, b);
    }

    /// Derives the counts that follow from others; all are modulo 2^32.
    void postprocess() {
        lower = pixelCount - nanMismatch - m_nanPairCount - m_equalNumberCount - greater;
        equal = m_equalNumberCount + m_nanPairCount;
        lowerOrEqual = lower + m_equalNumberCount;
        greaterOrEqual = greater + m_equalNumberCount;
        isLower = lower == pixelCount;
        isLowerOrEqual = lowerOrEqual == pixelCount;
        isEqual = equal == pixelCount;
        isGreaterOrEqual = greaterOrEqual == pixelCount;
        isGreater = greater == pixelCount;
        hasNoRelation = !isLower && !isLowerOrEqual && !isEqual && !isGreaterOrEqual && !isGreater;
        if (isEqual)
            minimumDifference = 0.0;
    }

    std::uint32_t pixelCount = 0;
    std::uint32_t greater = 0;
    std::uint32_t equal = 0;
    std::uint32_t lower = 0;
    std::uint32_t lowerOrEqual = 0;
    std::uint32_t greaterOrEqual = 0;
    std::uint32_t nanMismatch = 0;
    std::uint32_t nanInA = 0;
    std::uint32_t nanInB = 0;
    double minimumDifference = std::numeric_limits<double>::max(); ///< among unequal pixels
    double maximumDifference = 0.0;
    bool isGreater = false;
    bool isEqual = false;
    bool isLower = false;
    bool isLowerOrEqual = false;
    bool isGreaterOrEqual = false;
    bool hasNoRelation = false;

private:
    using Common =
        std::conditional_t<std::is_floating_point_v<A> || std::is_floating_point_v<B>, float, unsigned int>;

    void CountNumbers(Common first, Common second, A a, B b) {
        greater += first > second ? 1 : 0;
        if (first == second) {
            ++m_equalNumberCount;
            return;
        }
        const double difference = static_cast<double>(a) - static_cast<double>(b);
        const double magnitude = first > second ? difference : -difference;
        maximumDifference = std::max(maximumDifference, magnitude);
        minimumDifference = std::min(minimumDifference, magnitude);
    }

    std::uint32_t m_equalNumberCount = 0; ///< without pairs of NaN
    std::uint32_t m_nanPairCount = 0;
};

} // namespace ORVEN::visitors
