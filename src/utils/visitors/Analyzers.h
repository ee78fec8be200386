#pragma once

#include "utils/visitors/OrderedKey.h"
#include "utils/visitors/Visitor.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <map>
#include <vector>

namespace ORVEN::visitors {

/// Finds the smallest and the largest pixel. NaN is skipped. If there are no numbers, the minimum stays at
/// the largest value of T and the maximum at the smallest.
template <class T>
struct CAnalyzerMinMax : StVisitor<const T> {
    void preprocess() {
        minimum = continues ? startMinimum : std::numeric_limits<T>::max();
        maximum = continues ? startMaximum : std::numeric_limits<T>::lowest();
        continues = true;
    }

    void operator()(T pixel) {
        if (pixel > maximum)
            maximum = pixel;
        if (minimum > pixel)
            minimum = pixel;
    }

    void VisitRow(const T* pixels, std::int64_t count) {
        constexpr std::int64_t laneCount = 64 / sizeof(T); // enough to keep several vector registers busy
        std::array<T, laneCount> least;
        std::array<T, laneCount> greatest;
        least.fill(minimum);
        greatest.fill(maximum);
        std::int64_t x = 0;
        for (; x + laneCount <= count; x += laneCount) {
            for (std::size_t lane = 0; lane < laneCount; ++lane) {
                const T pixel = pixels[x + static_cast<std::int64_t>(lane)];
                least[lane] = least[lane] > pixel ? pixel : least[lane];
                greatest[lane] = pixel > greatest[lane] ? pixel : greatest[lane];
            }
        }
        const T minimumBefore = minimum;
        const T maximumBefore = maximum;
        minimum = *std::min_element(least.begin(), least.end());
        maximum = *std::max_element(greatest.begin(), greatest.end());
        for (; x < count; ++x)
            (*this)(pixels[x]);
        // Both zeros are equal, and the first one counts.
        if (minimum == 0 && minimumBefore != 0)
            minimum = *std::find(pixels, pixels + count, T{0});
        if (maximum == 0 && maximumBefore != 0)
            maximum = *std::find(pixels, pixels + count, T{0});
    }

    void postprocess() { continues = false; }

    T minimum = 0;
    T maximum = 0;
    bool continues = false; ///< start from the next two instead of from scratch
    T startMinimum = 0;
    T startMaximum = 0;
};

/// Counts the pixels of each value. The caller has to provide a bin for every value.
template <class T, class Count>
struct CAnalyzerHistogram : StVisitor<const T> {
    CAnalyzerHistogram(std::size_t numberOfBins, std::vector<Count>* counts)
        : binCount(numberOfBins)
        , bins(counts) {}

    void preprocess() { bins->assign(binCount, 0); }

    void operator()(T pixel) { ++(*bins)[pixel]; }

    std::size_t binCount;
    std::vector<Count>* bins;
};

/// Counts the pixels of each value that occurs. Both zeros of a float count as one value, and so do all NaN,
/// which are the largest value.
///
/// Time: one search in the map per pixel. Memory: one node per value. A float image can have nearly as many
/// values as pixels, and then this takes about a minute per volume. The pixel sort needs only the order of
/// the values and not the map, and uses `CAnalyzerHistogramOfLeadingHalves` instead.
template <class T, class Count>
struct CAnalyzerCountValues : StVisitor<const T> {
    void preprocess() { counts.clear(); }

    void operator()(T pixel) { ++counts[pixel]; }

    std::map<T, Count, StLessByOrderedKey> counts;
};

} // namespace ORVEN::visitors
