#include "segmentation/PixelSort.h"

#include "segmentation/PixelSortVisitors.h"
#include "utils/ImageTypeDispatch.h"
#include "utils/PointOperations.h"

#include <numeric>
#include <type_traits>

namespace ORVEN {

namespace {

using Coordinates = std::vector<std::uint16_t>;

/// Types of up to 16 bits have one bin and one level per value; for all others, values share bins.
template <class T>
constexpr bool c_hasHistogram = sizeof(T) <= sizeof(std::uint16_t);

template <class T>
constexpr std::size_t c_binCount = std::size_t{1} << (sizeof(T) == 1 ? 8 : 16);

/// Runs both passes. `seededPixelCount()` returns the number of pixels that the first one left out; it is
/// called between the passes. Returns the number of levels.
template <class Sorter>
std::uint32_t CountAndSort(auto& counting, const std::vector<std::size_t>& bins, const auto& seededPixelCount,
                           const visitors::StSortedPixels& sorted, const IImage& image,
                           const auto&... seeds) {
    // The results of a cancelled step must not be used, even if the sink no longer reports the cancellation.
    const auto giveUp = [&sorted] {
        sorted.x.clear();
        sorted.y.clear();
        sorted.z.clear();
        sorted.levelStarts.clear();
        return 0U;
    };
    CPointOperations(nullptr, nullptr).Visit(counting, image, seeds...);
    const std::size_t pixelCount = std::accumulate(bins.begin(), bins.end(), std::size_t{0});
    if (pixelCount + seededPixelCount() != static_cast<std::size_t>(image.Size().PixelCount()))
        return giveUp(); // the second pass would have no place for some pixels
    Sorter sorting(pixelCount, bins, sorted);
    const CPointOperations pass(nullptr, nullptr);
    CWorkPace pace(pass.Progress());
    if (!sorting.MakeRoom(pace))
        return giveUp();
    pass.template Visit<2>(sorting, image, seeds...);
    if (!sorting.Finish(image.Size().x, pass.Progress()))
        return giveUp();
    return static_cast<std::uint32_t>(sorted.levelStarts.size() - 1);
}

template <class T, class L, int dimension>
std::uint32_t SortUnlabeled(const visitors::StSortedPixels& sorted, const IImage& image, const IImage& seeds,
                            std::uint32_t& highestLabel) {
    using namespace visitors;
    using Counter = std::conditional_t<c_hasHistogram<T>, CAnalyzerHistogramOnlyInUnlabeledRegions<T, L>,
                                       CAnalyzerCountValuesOnlyInUnlabeledRegions<T, L>>;
    using Sorter =
        std::conditional_t<c_hasHistogram<T>,
                           CDistributivePixelSortByHistogramOnlyInUnlabeledRegions<T, L, dimension>,
                           CDistributivePixelSortByValueCountOnlyInUnlabeledRegions<T, L, dimension>>;
    std::vector<std::size_t> bins;
    Counter counting(c_binCount<T>, bins);
    const auto seededPixelCount = [&counting] { return counting.seeds.seededPixelCount; };
    const auto levels = CountAndSort<Sorter>(counting, bins, seededPixelCount, sorted, image, seeds);
    highestLabel = counting.seeds.highestLabel;
    return levels;
}

} // namespace

template <class T, int dimension>
std::uint32_t GetHistogramAndPixelSort(Coordinates& x, Coordinates& y, Coordinates& z,
                                       std::vector<std::uint64_t>& levelStarts, const IImage& image) {
    const visitors::StSortedPixels sorted{x, y, z, levelStarts};
    const auto none = [] { return std::size_t{0}; };
    std::vector<std::size_t> bins;
    if constexpr (c_hasHistogram<T>) {
        using Sorter = visitors::CDistributivePixelSortByHistogram<T, dimension>;
        visitors::CAnalyzerHistogram<T, std::size_t> counting(c_binCount<T>, &bins);
        return CountAndSort<Sorter>(counting, bins, none, sorted, image);
    } else {
        using Sorter = visitors::CDistributivePixelSortByValueCount<T, dimension>;
        visitors::CAnalyzerHistogramOfLeadingHalves<T> counting(bins);
        return CountAndSort<Sorter>(counting, bins, none, sorted, image);
    }
}

template <class T, int dimension>
std::uint32_t GetHistogramAndPixelSort(Coordinates& x, Coordinates& y, Coordinates& z,
                                       std::vector<std::uint64_t>& levelStarts, const IImage& image,
                                       const IImage& seeds, std::uint32_t& highestLabel) {
    return DispatchImageType<unsigned int, unsigned short, unsigned char>(
        "GetHistogramAndPixelSort", seeds.Type(), [&]<class L>(std::type_identity<L>) {
            return SortUnlabeled<T, L, dimension>({x, y, z, levelStarts}, image, seeds, highestLabel);
        });
}

#define QUILLON_INSTANTIATE(T, dimension)                                                                    \
    template std::uint32_t GetHistogramAndPixelSort<T, dimension>(                                           \
        Coordinates&, Coordinates&, Coordinates&, std::vector<std::uint64_t>&, const IImage&);               \
    template std::uint32_t GetHistogramAndPixelSort<T, dimension>(                                           \
        Coordinates&, Coordinates&, Coordinates&, std::vector<std::uint64_t>&, const IImage&, const IImage&, \
        std::uint32_t&)

QUILLON_INSTANTIATE(unsigned char, 2);
QUILLON_INSTANTIATE(unsigned char, 3);
QUILLON_INSTANTIATE(unsigned short, 2);
QUILLON_INSTANTIATE(unsigned short, 3);
QUILLON_INSTANTIATE(unsigned int, 2);
QUILLON_INSTANTIATE(unsigned int, 3);
QUILLON_INSTANTIATE(float, 2);
QUILLON_INSTANTIATE(float, 3);

#undef QUILLON_INSTANTIATE

} // namespace ORVEN
