#pragma once

#include "segmentation/CBasins.h"
#include "segmentation/PixelSort.h"
#include "segmentation/floods/CFloodLabels.h"
#include "segmentation/floods/CLevelEnds.h"
#include "segmentation/floods/CPixelQueue.h"
#include "segmentation/floods/WatershedChecks.h"
#include "segmentation/floods/WatershedCriteria.h"
#include "segmentation/floods/WatershedLabels.h"
#include "utils/JoinedText.h"

#include <QuillonBase/CWorkPace.h>
#include <QuillonBase/IProgress.h>
#include <QuillonBase/Neighborhoods.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace ORVEN {

/// The watershed transform by immersion. Turns a grey image into a 32-bit label image in which regions are
/// numbered from 1 and the lines between them have label 0.
///
/// The pixels are flooded level by level, from low to high. At each level the existing regions first spread
/// breadth-first through the pixels of the level, which divides plateaus by geodesic distance. Pixels that
/// they do not reach form new minima, each of which starts a new region if criterion C accepts it. With an
/// image of seeds, the seeds are the only regions. A pixel that meets two regions becomes part of a line
/// permanently. A pixel that has only met a line takes the first region it meets. Between two equally near
/// regions, the order of the neighbourhood's table decides. Levels and the order within a level are those of
/// `GetHistogramAndPixelSort`.
///
/// N is one of the neighbourhoods of Neighborhoods.h, T the pixel type of the input, C one of
/// WatershedCriteria.h.
///
/// Time, besides the sort: linear in the number of pixels times neighbours, even if the criterion refuses
/// minima. Memory besides the images: 6 bytes per pixel for the order of the pixels, 5 for the labels during
/// the flood (see CFloodLabels.h), up to a quarter for the levels, and 6 bytes per pixel in the queue, which
/// is usually small. A criterion that counts pixels takes 8 more bytes per minimum. This is never more than
/// 18.5 bytes per pixel, because a minimum is not in the queue and at most every second pixel is one. Before
/// the flood, a sort beyond 16 bits takes up to 16 bytes per pixel. Runs on one thread.
///
/// Source: L. Vincent, P. Soille, *Watersheds in digital spaces: an efficient algorithm based on immersion
/// simulations*, IEEE PAMI 13(6), 1991. The paper keeps distances in a separate image; here the order of the
/// queue and a flag for pixels that have only met a line replace it.
template <class N>
class CWatershedTemplate {
public:
    /// What a cancelled run writes to the output: the labels of the levels so far, or as few labels as
    /// possible, which takes less time.
    enum class EnCancelledLabels { WRITTEN, DROPPED };

    explicit CWatershedTemplate(EnCancelledLabels cancelledLabels = EnCancelledLabels::WRITTEN)
        : m_cancelledLabels(cancelledLabels) {}

    /// Floods `input` into `output`, an image of 32-bit labels of the same size. `seeds` can be null;
    /// `parameters` is the parameter record of C. Returns the number of regions, which with seeds is the
    /// highest seed, or 0 if the run was cancelled. Raises the errors of `CheckWatershedImages` before
    /// anything is changed.
    ///
    /// `progress` is checked for cancellation between the steps, at each level, and within a level at the
    /// pace of `CWorkPace`. Filling the labels and the sort report to the host's sink, like all traversals,
    /// and check that one. To have a single sink for everything, pass the host's.
    template <class T, class C>
    std::uint32_t DoWatershed(IImage& output, const IImage& input, const IImage* seeds,
                              typename C::StParameters* parameters, IProgress& progress) {
        CheckWatershedImages(Site::c_str(), N::dimension, output, input, seeds, m_size);
        StLevels levels;
        if (progress.IsCancelled())
            return 0;
        // The host's sink, which the filling asks, need not be the one that is asked here.
        const bool areFilled = InitWatershedLabels(output, seeds);
        if (progress.IsCancelled() || !areFilled)
            return 0;
        std::uint32_t highestSeed = 0;
        if (seeds != nullptr) {
            levels.count = GetHistogramAndPixelSort<T, N::dimension>(
                levels.x, levels.y, levels.z, levels.starts, input, *seeds, highestSeed);
        } else {
            levels.count =
                GetHistogramAndPixelSort<T, N::dimension>(levels.x, levels.y, levels.z, levels.starts, input);
        }
        if (progress.IsCancelled())
            return 0;

        const std::unique_ptr<IImage::IAccess> access(output.CreateAccess(false));
        Impl::LockWhole(*access, output.Size(), IImage::LOCK_READ_WRITE);
        const C criterion(parameters);
        TakeOutput(*access, output.Size());
        CWorkPace pace(progress);
        CLevelEnds ends(levels.count > 0 ? levels.starts.back() : 0, levels.count);
        if (!TakeEnds(levels.starts, ends, pace))
            return 0;
        levels.starts =
            std::vector<std::uint64_t>(); // can be large; freed before the labels get their memory
        if (!m_labels.MakeRoom(pace) || (seeds != nullptr && !TakeSeeds(pace)))
            return 0;
        const bool isFlooded = Flood(levels, ends, criterion, seeds == nullptr, progress, pace);
        if (!GiveLabels(!isFlooded, progress, pace) || !isFlooded)
            return 0;
        access->Unlock();
        return seeds != nullptr ? highestSeed : m_currentLabel;
    }

private:
    using Labels = CFloodLabels<N>;
    using Place = typename Labels::Place;

    /// The pixels in the order of the flood.
    struct StLevels {
        std::uint32_t count = 0;
        std::vector<std::uint16_t> x;
        std::vector<std::uint16_t> y;
        std::vector<std::uint16_t> z;
        std::vector<std::uint64_t> starts;

        [[nodiscard]] StPixelPosition Pixel(std::uint64_t place) const {
            return {x[place], y[place], z[place]};
        }
    };

    static constexpr std::string_view siteBegin = "ORVEN::CWatershedTemplate<struct ORVEN::CNeighborhood";
    static constexpr std::string_view siteDimension = N::dimension == 3 ? "3dDiff" : "2dDiff";
    static constexpr std::string_view siteId = N::id;
    static constexpr std::string_view siteEnd = ">::DoWatershed";
    /// The name under which the engine raises errors; contract wording.
    using Site = Impl::CJoinedText<siteBegin, siteDimension, siteId, siteEnd>;

    void TakeOutput(IImage::IAccess& access, const CSize& size) {
        const CPos strides = access.Strides();
        m_output = static_cast<unsigned char*>(access.Data());
        m_strideX = strides.x;
        m_strideY = strides.y;
        m_strideZ = N::dimension == 3 ? strides.z : 0;
        m_size = {static_cast<std::int16_t>(size.x), static_cast<std::int16_t>(size.y),
                  static_cast<std::int16_t>(N::dimension == 3 ? size.z : 1)};
        for (std::size_t i = 0; i < N::count; ++i)
            m_outputSteps[i] = N::dx[i] * m_strideX + N::dy[i] * m_strideY + N::dz[i] * m_strideZ;
        m_labels.Clear(size);
        m_currentLabel = 0;
        m_currentLevel = 0;
        m_basins.Clear();
        m_queue.Clear();
    }

    /// Calls `body(firstPixel)` for all rows until it returns false; returns whether it never did.
    template <class Body>
    bool ForEachRow(const Body& body) const {
        for (std::int16_t z = 0; z < m_size[2]; ++z) {
            for (std::int16_t y = 0; y < m_size[1]; ++y) {
                if (!body(StPixelPosition{0, static_cast<std::uint16_t>(y), static_cast<std::uint16_t>(z)}))
                    return false;
            }
        }
        return true;
    }

    /// Takes the seeds from the output. They are final from the start. A seed with the value `LabelMask`
    /// counts as an open pixel. Returns false if cancelled, like all functions below that take a pace.
    bool TakeSeeds(CWorkPace& pace) {
        return ForEachRow([&](StPixelPosition first) {
            const unsigned char* const row = Address(first);
            WithStride([&](auto stride) {
                const auto label = [&](std::int64_t x) {
                    return *reinterpret_cast<const std::uint32_t*>(row + x * stride);
                };
                std::uint32_t all = LabelInit;
                for (std::int64_t x = 0; x < m_size[0]; ++x)
                    all &= label(x);
                if (all == LabelInit) // most rows, if seeds are few
                    return;
                for (std::int64_t x = 0; x < m_size[0]; ++x) {
                    if (label(x) != LabelInit)
                        m_labels.SetLabel(m_labels.At(first) + x, label(x));
                }
            });
            return !pace.Add(m_size[0]);
        });
    }

    /// Calls `body(stride)` with the stride along rows, as a constant for vector instructions if they are
    /// dense.
    template <class Body>
    void WithStride(const Body& body) const {
        if (m_strideX == sizeof(std::uint32_t))
            body(std::integral_constant<std::int64_t, sizeof(std::uint32_t)>());
        else
            body(m_strideX);
    }

    /// Writes the labels to the output; after a cancellation those of the levels so far. If these are
    /// dropped, stops as soon as the sink answers that the run is cancelled. One that has forgotten it gets
    /// all labels, because what follows takes the run for a whole one.
    bool GiveLabels(bool isCancelled, IProgress& progress, CWorkPace& pace) {
        ForEachRow([&](StPixelPosition first) {
            if (m_cancelledLabels == EnCancelledLabels::DROPPED && (isCancelled || pace.IsCancelled()) &&
                progress.IsCancelled())
                return false;
            const Place place = m_labels.At(first);
            unsigned char* const row = Address(first);
            WithStride([&](auto stride) {
                for (std::int64_t x = 0; x < m_size[0]; ++x)
                    *reinterpret_cast<std::uint32_t*>(row + x * stride) = m_labels.Label(place + x);
            });
            (void)pace.Add(m_size[0]);
            return true;
        });
        return !pace.IsCancelled();
    }

    static bool TakeEnds(const std::vector<std::uint64_t>& starts, CLevelEnds& ends, CWorkPace& pace) {
        const auto levelCount = static_cast<std::int64_t>(starts.size()) - 1;
        return ForEachPiece(levelCount, 4, pace, [&](std::int64_t first, std::int64_t end) {
            for (auto level = static_cast<std::uint64_t>(first); level < static_cast<std::uint64_t>(end);
                 ++level)
                ends.Set(level, starts[level + 1]);
        });
    }

    /// Floods all levels.
    template <class C>
    bool Flood(StLevels& levels, CLevelEnds& ends, const C& criterion, bool makesRegions, IProgress& progress,
               CWorkPace& pace) {
        std::uint64_t end = 0;
        for (std::uint32_t level = 0; level < levels.count; ++level) {
            if (progress.IsCancelled())
                return false;
            m_currentLevel = level;
            const std::uint64_t first = std::exchange(end, ends.Next());
            std::uint64_t openEnd = first;
            if (!Mark(levels, first, end, openEnd, pace) || !Spread(pace))
                return false;
            if (makesRegions && !MakeRegions(levels, first, openEnd, criterion, pace))
                return false;
        }
        return !progress.IsCancelled();
    }

    /// Calls `body(pixel, place)` for the pixels from index `first` up to but not including `end`. Levels can
    /// be tiny, and each asks anyway, so work is counted in whole pieces only.
    template <class Body>
    static bool ForEachPixel(const StLevels& levels, std::uint64_t first, std::uint64_t end, CWorkPace& pace,
                             const Body& body) {
        while (first < end) { // one loop around the body, so that it is inlined
            const std::uint64_t count = std::min(end - first, pixelsPerPiece);
            for (std::uint64_t place = first; place < first + count; ++place)
                body(levels.Pixel(place), place);
            first += count;
            if (count == pixelsPerPiece && pace.Add(pixelsPerPiece * workPerPixel))
                return false;
        }
        return !pace.IsCancelled();
    }

    /// Calls `takeSome()` until the queue is empty. Each call takes pixels from the front, which can add
    /// others, and returns their number.
    template <class TakeSome>
    bool EmptyQueue(CWorkPace& pace, const TakeSome& takeSome) {
        std::uint64_t count = 0;
        while (!m_queue.IsEmpty()) {
            count += takeSome();
            if (count >= pixelsPerPiece) {
                if (pace.Add(static_cast<std::int64_t>(count) * workPerPixel))
                    return false;
                count = 0;
            }
        }
        return true;
    }

    /// Opens the pixels of a level, except those next to a region or a line, which go into the queue.
    ///
    /// The opened pixels are moved to the front of the level, because only they are visited again. `openEnd`,
    /// which is `first` before, is the end of this range. Whether a pixel is opened is unpredictable, so this
    /// code does not branch on it. Labels are written in a second pass: few pixels are opened as a rule, and
    /// all others need no access to their labels here.
    bool Mark(StLevels& levels, std::uint64_t first, std::uint64_t end, std::uint64_t& openEnd,
              CWorkPace& pace) {
        const bool isMarked =
            ForEachPixel(levels, first, end, pace, [&](StPixelPosition pixel, std::uint64_t index) {
                if (index + levelPrefetchDistance < end)
                    m_labels.PrefetchFinals(m_labels.At(levels.Pixel(index + levelPrefetchDistance)));
                const Place place = m_labels.At(pixel);
                const bool isOpen = !m_labels.HasFinalNeighbor(place);
                m_queue.PushBackIf(!isOpen, place);
                levels.x[openEnd] = pixel.x;
                levels.y[openEnd] = pixel.y;
                levels.z[openEnd] = pixel.z;
                openEnd += isOpen ? 1 : 0;
            });
        return ForEachPixel(
                   levels, first, openEnd, pace,
                   [&](StPixelPosition pixel, std::uint64_t) { m_labels.SetOpen(m_labels.At(pixel)); }) &&
               isMarked;
    }

    /// Grows the existing regions through the open pixels, breadth-first.
    bool Spread(CWorkPace& pace) {
        return EmptyQueue(pace, [this] {
            return m_queue.TakeBlock(prefetchDistance, [this](Place place, Place ahead) {
                m_labels.Prefetch(ahead);
                ProcessQueuedPixel(place);
            });
        });
    }

    /// The opened pixels of a level that are still open form new minima. A refused minimum is tried again at
    /// each of its pixels, because the answer can depend on the next free number; each trial takes constant
    /// time.
    template <class C>
    bool MakeRegions(const StLevels& levels, std::uint64_t first, std::uint64_t end, const C& criterion,
                     CWorkPace& pace) {
        if constexpr (CountsPixels<C>()) {
            if (!JoinBasins(levels, first, end, pace))
                return false;
        }
        return ForEachPixel(levels, first, end, pace, [&](StPixelPosition pixel, std::uint64_t index) {
            if constexpr (CountsPixels<C>())
                PrefetchBasinAhead(levels, index, end);
            const Place place = m_labels.At(pixel);
            if (m_labels.IsOpen(place) && !pace.IsCancelled() && IsTaken(pixel, criterion)) {
                ++m_currentLabel;
                FloodNewRegion(place, pace);
            }
        });
    }

    template <class C>
    static constexpr bool CountsPixels() {
        if constexpr (C::takesEveryMinimum)
            return false;
        else
            return C::dependsOnPixelCount;
    }

    /// Whether the criterion accepts the basin of an open pixel as a region.
    template <class C>
    bool IsTaken(StPixelPosition pixel, const C& criterion) {
        if constexpr (C::takesEveryMinimum) {
            return true;
        } else {
            StWatershedCandidate candidate{m_currentLevel, m_currentLabel + 1};
            if constexpr (CountsPixels<C>())
                candidate.pixelCount = m_basins.PixelCount(m_basins.Find(Basin(pixel)));
            return criterion.Takes(candidate);
        }
    }

    /// Joins the opened pixels of a level that are still open to the adjacent basins of earlier levels.
    ///
    /// Basins only grow together or disappear as a whole, because a region that reaches one pixel of a basin
    /// floods all of it. So pixels of earlier levels need not be visited again. While a pixel is open, the
    /// output holds the number of its basin; `GiveLabels` replaces it in the end. Before, it holds
    /// `LabelInit`, which is no basin's number.
    bool JoinBasins(const StLevels& levels, std::uint64_t first, std::uint64_t end, CWorkPace& pace) {
        return ForEachPixel(levels, first, end, pace, [&](StPixelPosition pixel, std::uint64_t index) {
            PrefetchAhead(levels, index, end);
            const Place place = m_labels.At(pixel);
            if (!m_labels.IsOpen(place))
                return;
            const CBasins::Number basin = BasinAround(pixel, place);
            m_basins.AddPixel(basin);
            Basin(pixel) = basin;
        });
    }

    /// Joins all basins around a pixel and returns the result, or a new basin if there are none.
    CBasins::Number BasinAround(StPixelPosition pixel, Place place) {
        const unsigned char* const centre = Address(pixel);
        CBasins::Number last = LabelInit; // most neighbours belong to the same basin
        CBasins::Number basin = LabelInit;
        m_labels.ForEachOpenNeighbor(place, [&](std::size_t index) {
            const auto neighbor = *reinterpret_cast<const CBasins::Number*>(centre + m_outputSteps[index]);
            if (!m_basins.Has(neighbor) || neighbor == last)
                return;
            last = neighbor;
            const CBasins::Number other = m_basins.Find(neighbor);
            basin = basin == LabelInit ? other : m_basins.Join(basin, other);
        });
        return basin == LabelInit ? m_basins.Add(LabelInit) : basin;
    }

    /// Decides the label of a pixel from those of its neighbours, and queues the open neighbours.
    ///
    /// The result is deliberately that of a walk through the table with a flag for "line, but only because a
    /// line was met": if exactly one region is met, its number; if two regions are met, a line; if only lines
    /// are met, a line. The order of the table affects only the queue.
    void ProcessQueuedPixel(Place place) {
        if (!m_labels.Decide(place))
            return;
        m_labels.ForEachOpenNeighbor(place, [&](std::size_t index) {
            const Place neighbor = m_labels.Neighbor(place, index);
            m_labels.SetInQueue(neighbor);
            m_queue.PushBack(neighbor);
        });
    }

    /// Gives a pixel the current label and queues it.
    void TakeIntoRegion(Place place) {
        m_labels.SetLabel(place, m_currentLabel);
        m_queue.PushBack(place);
    }

    /// Floods the open pixels connected to an open pixel with the current label, or some of them if the pace
    /// is cancelled.
    void FloodNewRegion(Place first, CWorkPace& pace) {
        TakeIntoRegion(first);
        EmptyQueue(pace, [this] {
            const Place place = m_queue.PopFront();
            m_labels.ForEachOpenNeighbor(
                place, [&](std::size_t index) { TakeIntoRegion(m_labels.Neighbor(place, index)); });
            return 1;
        });
    }

    [[nodiscard]] unsigned char* Address(StPixelPosition pixel) const {
        return m_output + pixel.x * m_strideX + pixel.y * m_strideY + pixel.z * m_strideZ;
    }

    /// The number of the basin of an open pixel.
    [[nodiscard]] CBasins::Number& Basin(StPixelPosition pixel) const {
        return *reinterpret_cast<CBasins::Number*>(Address(pixel));
    }

    /// Prefetches what `JoinBasins` reads around a pixel of a level that will be visited soon.
    void PrefetchAhead(const StLevels& levels, std::uint64_t index, std::uint64_t end) const {
        if (index + levelPrefetchDistance < end) {
            const StPixelPosition pixel = levels.Pixel(index + levelPrefetchDistance);
            m_labels.Prefetch(m_labels.At(pixel));
            __builtin_prefetch(Address(pixel));
        }
    }

    /// The same, but only its own basin.
    void PrefetchBasinAhead(const StLevels& levels, std::uint64_t index, std::uint64_t end) const {
        if (index + levelPrefetchDistance < end)
            __builtin_prefetch(Address(levels.Pixel(index + levelPrefetchDistance)));
    }

    static constexpr std::size_t prefetchDistance = 32; // in the queue
    static constexpr std::size_t levelPrefetchDistance = 32;
    static constexpr std::uint64_t pixelsPerPiece = 8192;
    static constexpr std::int64_t workPerPixel = 32;

    EnCancelledLabels m_cancelledLabels;
    unsigned char* m_output = nullptr;
    std::int64_t m_strideX = 0;
    std::int64_t m_strideY = 0;
    std::int64_t m_strideZ = 0;
    std::array<std::int16_t, 3> m_size{};
    std::array<std::int64_t, N::count> m_outputSteps{}; // from a pixel to its neighbours, in bytes
    std::uint32_t m_currentLabel = 0;                   // the newest region
    std::uint32_t m_currentLevel = 0;
    CBasins m_basins;
    Labels m_labels;
    CPixelQueue m_queue;
};

} // namespace ORVEN
