#pragma once

#include "segmentation/RefineLevels.h"
#include "utils/visitors/Analyzers.h"
#include "utils/visitors/OrderedKey.h"

#include <QuillonBase/CWorkPace.h>
#include <sorblib2core/LargePages.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

/// The visitors of the pixel sort, see PixelSort.h. T is the pixel type of the image to sort, Dim its
/// dimension, and L the pixel type of an image of seeds. Pixels with a label other than 0 are left out.
namespace ORVEN::visitors {

/// The bin in which a pixel is counted: for up to 16 bits that of its value, otherwise that of the leading
/// half of its key.
template <class T>
std::size_t BinOf(T pixel) {
    if constexpr (sizeof(T) <= sizeof(std::uint16_t))
        return pixel;
    else
        return OrderedKey(pixel) >> 16;
}

/// Counts the pixels of 32 bits by the leading halves of their keys. Together with the trailing halves, which
/// the sorter takes, this yields the levels of a count by value in linear time.
template <class T>
struct CAnalyzerHistogramOfLeadingHalves : StVisitor<const T> {
    using StandsFor = CAnalyzerCountValues<T, std::size_t>;

    explicit CAnalyzerHistogramOfLeadingHalves(std::vector<std::size_t>& counts)
        : bins(counts) {}

    void preprocess() { bins.assign(std::size_t{1} << 16, 0); }
    void operator()(T pixel) { ++bins[BinOf(pixel)]; }

    std::vector<std::size_t>& bins;
};

/// The information that the counting pass collects about the seeds.
template <class L>
struct StSeedCount {
    /// Whether the pixel takes part in the sort.
    bool Count(L seed) {
        if (seed == 0) {
            ++unlabeledPixelCount;
            return true;
        }
        ++seededPixelCount;
        highestLabel = std::max(highestLabel, seed);
        return false;
    }

    std::uint64_t unlabeledPixelCount = 0;
    std::uint64_t seededPixelCount = 0;
    L highestLabel = 0;
};

template <class T, class L>
struct CAnalyzerHistogramOnlyInUnlabeledRegions : StVisitor<const T, const L> {
    CAnalyzerHistogramOnlyInUnlabeledRegions(std::size_t numberOfBins, std::vector<std::size_t>& counts)
        : binCount(numberOfBins)
        , bins(counts) {}

    void preprocess() {
        bins.assign(binCount, 0);
        seeds = {};
    }

    void operator()(T pixel, L seed) {
        if (seeds.Count(seed))
            ++bins[BinOf(pixel)];
    }

    std::size_t binCount;
    std::vector<std::size_t>& bins;
    StSeedCount<L> seeds;
};

/// The same for values of more than 16 bits, by the leading half of their keys.
template <class T, class L>
struct CAnalyzerCountValuesOnlyInUnlabeledRegions : CAnalyzerHistogramOnlyInUnlabeledRegions<T, L> {
    using CAnalyzerHistogramOnlyInUnlabeledRegions<T, L>::CAnalyzerHistogramOnlyInUnlabeledRegions;
};

/// Distributes the pixels to their bins. Each bin keeps the position of its next pixel, so that the pixels of
/// a bin keep the order in which they arrive. Each bin is a level, even if it has no pixels.
template <class T, int Dim>
struct CDistributivePixelSortByHistogram : StVisitor<const T> {
    CDistributivePixelSortByHistogram(std::size_t numberOfPixels,
                                      const std::vector<std::size_t>& countsOfBins, StSortedPixels target)
        : pixelCount(numberOfPixels)
        , counts(countsOfBins)
        , sorted(target) {}

    /// Makes room for the pixels, before the pass; returns false if cancelled. Touching new memory takes as
    /// long as a pass.
    bool MakeRoom(CWorkPace& pace) {
        return FillWithZeros(sorted.x, pace) && FillWithZeros(sorted.y, pace) &&
               FillWithZeros(sorted.z, pace);
    }

    void preprocess() {
        sorted.levelStarts.assign(1, 0);
        sorted.levelStarts.reserve(counts.size() + 1);
        nextPlaces.clear();
        for (const std::size_t count : counts) {
            nextPlaces.push_back(sorted.levelStarts.back());
            sorted.levelStarts.push_back(sorted.levelStarts.back() + count);
        }
    }

    void operator()(T pixel, std::int64_t x, std::int64_t y, std::int64_t z) { Place(BinOf(pixel), x, y, z); }

    /// Completes the sort after the pass; returns false if it is cancelled.
    bool Finish(std::int64_t /*lineLength*/, IProgress& /*progress*/) const { return true; }

    std::size_t pixelCount;
    const std::vector<std::size_t>& counts;
    StSortedPixels sorted;
    std::vector<std::uint64_t> nextPlaces; ///< per bin

protected:
    bool FillWithZeros(std::vector<std::uint16_t>& list, CWorkPace& pace) const {
        list.clear();
        list.reserve(pixelCount);
        PreferLargePages(list.data(), pixelCount * sizeof list[0]); // every bin writes to a page of its own
        const auto append = [&list](std::int64_t /*first*/, std::int64_t end) {
            list.resize(static_cast<std::size_t>(end));
        };
        return ForEachPiece(static_cast<std::int64_t>(pixelCount), 1, pace, append);
    }

    std::uint64_t Place(std::size_t bin, std::int64_t x, std::int64_t y, std::int64_t z) {
        const std::uint64_t place = nextPlaces[bin]++;
        if constexpr (Dim > 2)
            sorted.z[place] = static_cast<std::uint16_t>(z); // in two dimensions z stays 0
        sorted.y[place] = static_cast<std::uint16_t>(y);
        sorted.x[place] = static_cast<std::uint16_t>(x);
        return place;
    }
};

/// Each value that occurs is a level. The pixels are distributed by the leading halves of their keys, and
/// finally each bin is sorted by the trailing halves.
template <class T, int Dim>
struct CDistributivePixelSortByValueCount : CDistributivePixelSortByHistogram<T, Dim> {
    using Base = CDistributivePixelSortByHistogram<T, Dim>;
    using Base::Base;

    bool MakeRoom(CWorkPace& pace) {
        return Base::MakeRoom(pace) && this->FillWithZeros(trailingHalves, pace);
    }

    void operator()(T pixel, std::int64_t x, std::int64_t y, std::int64_t z) {
        trailingHalves[this->Place(BinOf(pixel), x, y, z)] = static_cast<std::uint16_t>(OrderedKey(pixel));
    }

    bool Finish(std::int64_t lineLength, IProgress& progress) {
        // A cancelled pass has not filled the bins, and its levels are not used.
        const bool isFilled = std::equal(this->nextPlaces.begin(), this->nextPlaces.end(),
                                         this->sorted.levelStarts.begin() + 1);
        return !isFilled || RefineLevels(this->sorted, trailingHalves, lineLength, progress);
    }

    std::vector<std::uint16_t> trailingHalves; ///< by index in the sorted order
};

/// A sorter that skips the pixels with a seed.
template <class Sorter, class T, class L>
struct CSortOnlyInUnlabeledRegions : Sorter {
    using Pixels = typename StVisitor<const T, const L>::Pixels;
    using Sorter::Sorter;

    void operator()(T pixel, L seed, std::int64_t x, std::int64_t y, std::int64_t z) {
        if (seed == 0)
            Sorter::operator()(pixel, x, y, z);
    }
};

template <class T, class L, int Dim>
struct CDistributivePixelSortByHistogramOnlyInUnlabeledRegions
    : CSortOnlyInUnlabeledRegions<CDistributivePixelSortByHistogram<T, Dim>, T, L> {
    using CSortOnlyInUnlabeledRegions<CDistributivePixelSortByHistogram<T, Dim>, T,
                                      L>::CSortOnlyInUnlabeledRegions;
};

template <class T, class L, int Dim>
struct CDistributivePixelSortByValueCountOnlyInUnlabeledRegions
    : CSortOnlyInUnlabeledRegions<CDistributivePixelSortByValueCount<T, Dim>, T, L> {
    using CSortOnlyInUnlabeledRegions<CDistributivePixelSortByValueCount<T, Dim>, T,
                                      L>::CSortOnlyInUnlabeledRegions;
};

} // namespace ORVEN::visitors
