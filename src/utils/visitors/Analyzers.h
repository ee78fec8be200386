#pragma once

#include "utils/visitors/OrderedKey.h"
#include "utils/visitors/Visitor.h"

#include <cstddef>
#include <limits>
#include <map>
#include <vector>

namespace ORVEN::visitors {

/// Finds the least and the greatest pixel. NaN is passed over; without any number the minimum stays the
/// largest value of T and the maximum the smallest.
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
    bool continues = false; ///< start from the next two instead of afresh
    T startMinimum = 0;
    T startMaximum = 0;
};

/// Counts the pixels of each value. A value beyond the bins is a fault of the caller.
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

/// Counts the pixels of each value that occurs. Both zeros of a float are one value, and so are all NaN, the
/// greatest.
///
/// Takes a walk down the map for each pixel, and a node for each value. For an image of floats, which can
/// have nearly as many values as pixels, that is a minute a volume: the pixel sort, which needs the order of
/// the values and not the map, has `CAnalyzerHistogramOfLeadingHalves` stand for it.
template <class T, class Count>
struct CAnalyzerCountValues : StVisitor<const T> {
    void preprocess() { counts.clear(); }

    void operator()(T pixel) { ++counts[pixel]; }

    std::map<T, Count, StLessByOrderedKey> counts;
};

} // namespace ORVEN::visitors
