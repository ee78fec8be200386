#include "QuillonTransformation/thinning/OrderedThinning.h"

#include "QuillonTransformation/ForEachByteExcept.h"
#include "QuillonTransformation/distance/CSquaredDistanceView.h"
#include "QuillonTransformation/thinning/CPixelSets.h"
#include "QuillonTransformation/thinning/SimplePoints.h"

#include <QuillonBase/CWorkPace.h>
#include <QuillonBase/Neighborhoods.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace ORVEN {

// A pixel that is not queued has been taken out of a queue before, so its distance does not exceed the
// current one. Pixels are therefore always queued again at the current distance. The initial queues are
// slices of one array and never grow, and a single extra queue serves all distances.

namespace {

const char* const c_site = "CSkeletonCouprierZour::EuclideanSkeleton";

/// Units of work for adding a pixel to a set of pixels or looking it up there.
constexpr std::int64_t c_unitsPerPixel = 8;

struct StImages {
    CImageView<const unsigned char> input;
    const CSquaredDistanceView& squaredDistance;
    CImageView<const unsigned char> anchors;
};

/// Calls `body(place, squaredDistance, isAnchor)` for the object pixels in raster order. Returns false if the
/// run was cancelled.
template <class Body>
bool ForEachObjectPixel(const StImages& images, const CPixelSets& sets, IProgress& progress,
                        const Body& body) {
    CWorkPace pace(progress);
    for (std::int64_t z = 0; z < images.input.nz; ++z) {
        if (progress.IsCancelled())
            return false;
        for (std::int64_t y = 0; y < images.input.ny; ++y) {
            const unsigned char* const anchors = images.anchors.Row(y, z);
            const std::int32_t* const squaredDistance = images.squaredDistance.Row(y, z);
            const std::uint64_t place = sets.Place(0, y, z);
            ForEachByteExcept(images.input.Row(y, z), images.input.nx, std::uint8_t{0}, [&](std::int64_t x) {
                body(place + static_cast<std::uint64_t>(x) * CPixelSets::c_stepX,
                     static_cast<std::size_t>(squaredDistance[x]), anchors[x] != 0);
            });
            if (pace.Add(c_unitsPerPixel * images.input.nx))
                return false;
        }
        progress.Step(1, 0);
    }
    return true;
}

/// The bits of a block in raster order.
std::uint32_t InRasterOrder(std::uint32_t block) {
    static constexpr std::array<std::uint16_t, 512> transposed = [] {
        std::array<std::uint16_t, 512> planes{};
        for (unsigned plane = 0; plane < planes.size(); ++plane) {
            for (unsigned bit = 0; bit < 9; ++bit) {
                const unsigned transposedBit = bit % 3 * 3 + bit / 3;
                planes[plane] =
                    static_cast<std::uint16_t>(planes[plane] | (plane >> bit & 1) << transposedBit);
            }
        }
        return planes;
    }();
    return transposed[block & 0x1FF] | std::uint32_t{transposed[block >> 9 & 0x1FF]} << 9 |
           std::uint32_t{transposed[block >> 18]} << 18;
}

/// The places of the pixels that may be removed: ordered by squared distance, and in raster order within
/// each.
template <class Place>
class CQueues {
public:
    /// Reserves space for the given number of pixels of each distance.
    explicit CQueues(std::vector<std::size_t> counts)
        : m_ends(std::move(counts)) {
        std::size_t total = 0;
        for (std::size_t& end : m_ends)
            end = std::exchange(total, total + end);
        m_places = std::make_unique_for_overwrite<Place[]>(total);
        m_total = total;
    }

    void Append(std::size_t squaredDistance, std::uint64_t place) {
        m_places[m_ends[squaredDistance]++] = static_cast<Place>(place);
    }

    /// The places appended for a distance. Call it only after all have been appended.
    [[nodiscard]] std::span<const Place> OfDistance(std::size_t squaredDistance) const {
        const std::size_t begin = squaredDistance > 0 ? m_ends[squaredDistance - 1] : 0;
        return {m_places.get() + begin, m_ends[squaredDistance] - begin};
    }

    [[nodiscard]] std::size_t DistanceCount() const { return m_ends.size(); }
    [[nodiscard]] std::size_t PixelCount() const { return m_total; }

private:
    std::vector<std::size_t> m_ends; // of the places appended so far
    std::unique_ptr<Place[]> m_places;
    std::size_t m_total = 0;
};

/// Processes the queues.
template <class Place, class Neighborhood>
class CThinning {
public:
    /// The object is the first set, and the second one is empty. The run is reported as `stepCount` steps of
    /// progress.
    CThinning(CPixelSets& sets, std::int64_t stepCount, IProgress& progress)
        : m_sets(sets)
        , m_stepCount(static_cast<std::uint64_t>(std::max<std::int64_t>(1, stepCount)))
        , m_progress(progress) {}

    /// Returns false if the run was cancelled.
    bool Run(const CQueues<Place>& queues) {
        m_testsAStep = std::max<std::uint64_t>(1, queues.PixelCount() / m_stepCount);
        std::vector<Place> tested;
        for (std::size_t distance = 0; distance < queues.DistanceCount(); ++distance) {
            if (!Test(queues.OfDistance(distance)))
                return false;
            while (!m_again.empty()) {
                tested.clear();
                tested.swap(m_again);
                if (!Test(tested))
                    return false;
            }
        }
        StepTo(m_stepCount);
        return true;
    }

private:
    static constexpr CPixelSets::EnSet c_object = CPixelSets::FIRST;
    /// Object pixels that were tested, are not anchors, and are not queued.
    static constexpr CPixelSets::EnSet c_standing = CPixelSets::SECOND;

    bool Test(std::span<const Place> places) {
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (m_tests++ % c_testsALook == 0 && !Look())
                return false;
            if (i + c_testsAhead < places.size())
                m_sets.Prefetch(places[i + c_testsAhead]);
            const Place place = places[i];
            const bool isSimple = m_isSimple(m_sets.Block(c_object, place));
            const std::uint32_t again = isSimple ? m_sets.Block(c_standing, place) : 0;
            // Whether a pixel is simple cannot be predicted, so that branches on it would be slow.
            m_sets.Toggle(isSimple ? c_object : c_standing, place);
            if (again != 0)
                QueueAgain(place, again);
        }
        return true;
    }

    void QueueAgain(Place place, std::uint32_t block) {
        for (std::uint32_t again = InRasterOrder(block); again != 0; again &= again - 1) {
            const std::uint64_t neighbor =
                m_sets.Neighbor(place, static_cast<std::size_t>(std::countr_zero(again)));
            m_sets.Toggle(c_standing, neighbor);
            m_again.push_back(static_cast<Place>(neighbor));
        }
    }

    bool Look() {
        StepTo(std::min(m_tests / m_testsAStep, m_stepCount));
        return !m_progress.IsCancelled();
    }

    void StepTo(std::uint64_t step) {
        m_progress.Step(static_cast<unsigned>(step - m_told), 0);
        m_told = step;
    }

    /// How many tests ahead memory is prefetched: pixels of equal distance are scattered over the whole
    /// image.
    static constexpr std::size_t c_testsAhead = 16;
    /// Number of pixels tested between two updates of the progress.
    static constexpr std::uint64_t c_testsALook = 1 << 13;

    const CSimplePoints<Neighborhood>& m_isSimple = CSimplePoints<Neighborhood>::Obj();
    CPixelSets& m_sets;
    std::vector<Place> m_again;
    std::uint64_t m_tests = 0;
    std::uint64_t m_testsAStep = 1;
    std::uint64_t m_told = 0;
    std::uint64_t m_stepCount;
    IProgress& m_progress;
};

/// Removes pixels from the object until none is left to remove. Returns false if the run was cancelled.
template <class Place, class Neighborhood>
bool Thin(const StImages& images, CPixelSets& sets, IProgress& progress) {
    std::vector<std::size_t> counts(static_cast<std::size_t>(images.squaredDistance.Greatest()) + 1);
    const auto enter = [&](std::uint64_t place, std::size_t distance, bool isAnchor) {
        sets.Toggle(CPixelSets::FIRST, place);
        counts[distance] += isAnchor ? 0 : 1;
    };
    if (!ForEachObjectPixel(images, sets, progress, enter))
        return false;
    CQueues<Place> queues(std::move(counts));
    const auto queue = [&](std::uint64_t place, std::size_t distance, bool isAnchor) {
        if (!isAnchor)
            queues.Append(distance, place);
    };
    if (!ForEachObjectPixel(images, sets, progress, queue))
        return false;
    return CThinning<Place, Neighborhood>(sets, images.input.nz, progress).Run(queues);
}

/// Writes the first set. Returns false if the run was cancelled.
bool Write(const CImageView<unsigned char>& output, const CPixelSets& sets, IProgress& progress) {
    CWorkPace pace(progress);
    for (std::int64_t bundleZ = 0; bundleZ < sets.BundleCountZ(); ++bundleZ) {
        for (std::int64_t bundleY = 0; bundleY < sets.BundleCountY(); ++bundleY) {
            std::int64_t lineCount = 0;
            sets.ForEachLine(bundleY, bundleZ, [&](std::int64_t y, std::int64_t z) {
                output.FillRow(y, z, 0);
                ++lineCount;
            });
            sets.ForEachPixel<CPixelSets::FIRST>(
                bundleY, bundleZ,
                [&](std::int64_t x, std::int64_t y, std::int64_t z) { output.Row(y, z)[x] = 1; });
            if (pace.Add(lineCount * output.nx))
                return false;
        }
    }
    return true;
}

void RequireAllFitting(const IImage& input, const CSquaredDistanceView& squaredDistance,
                       const IImage& anchors, const IImage& output) {
    for (const IImage* image : {&input, &anchors, &output})
        RequireFitting(c_site, *image, IMAGE_BINARY_FG, squaredDistance.Image());
}

} // namespace

void RequireSkeletonNeighborhood(const std::string& id) {
    With3dNeighborhood(c_site, CString(id), []<class N>(std::type_identity<N>) {});
}

void ThinByDistance(const IImage& input, const IImage& squaredDistance, const IImage& anchors, IImage& output,
                    const std::string& neighborhood, IProgress& progress, EnPlaceSize placeSize) {
    RequireSkeletonNeighborhood(neighborhood);
    CWorkPace pace(progress);
    const CSquaredDistanceView distances(c_site, squaredDistance, progress, pace);
    if (pace.IsCancelled()) {
        RequireAllFitting(input, distances, anchors, output);
        return CImageView<unsigned char>(output).Fill(0);
    }
    ThinByDistance(input, distances, anchors, output, neighborhood, progress, placeSize);
}

void ThinByDistance(const IImage& input, const CSquaredDistanceView& squaredDistance, const IImage& anchors,
                    IImage& output, const std::string& neighborhood, IProgress& progress,
                    EnPlaceSize placeSize) {
    RequireAllFitting(input, squaredDistance, anchors, output);
    const StImages images{CImageView<const unsigned char>(input), squaredDistance,
                          CImageView<const unsigned char>(anchors)};
    const CImageView<unsigned char> result(output);
    CPixelSets sets(result.nx, result.ny, result.nz);
    constexpr std::uint64_t placesOf32Bits = std::uint64_t{1} << 32;
    const bool fits32Bits = placeSize == EnPlaceSize::SUFFICIENT && sets.PlaceCount() <= placesOf32Bits;
    progress.Start(static_cast<unsigned>(3 * result.nz), "thinning");
    const bool isDone = With3dNeighborhood(
        c_site, CString(neighborhood), [&]<class Neighborhood>(std::type_identity<Neighborhood>) {
            return fits32Bits ? Thin<std::uint32_t, Neighborhood>(images, sets, progress)
                              : Thin<std::uint64_t, Neighborhood>(images, sets, progress);
        });
    if (!isDone || !Write(result, sets, progress))
        result.Fill(0);
    progress.Finish();
}

} // namespace ORVEN
