#pragma once

#include "utils/visitors/OrderedKey.h"
#include "utils/visitors/Visitor.h"

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
