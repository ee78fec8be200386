#pragma once

#include "segmentation/CBasins.h"
#include "segmentation/PixelSort.h"
#include "segmentation/floods/CFloodStates.h"
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
/// minima. Memory besides the images: 6 bytes per pixel for the order of the pixels, three eighths of a byte
/// per pixel for states and levels, and 6 bytes per pixel in the queue, which is usually small. A criterion
/// that counts pixels takes 8 more bytes per minimum. This is never more than 16.5 bytes per pixel, because
/// at most every second pixel is a minimum. Before the flood, a sort beyond 16 bits takes up to 16 bytes per
/// pixel. Runs on one thread.
///
/// Source: L. Vincent, P. Soille, *Watersheds in digital spaces: an efficient algorithm based on immersion
/// simulations*, IEEE PAMI 13(6), 1991. The paper keeps distances in a separate image; here the order of the
/// queue and a flag for pixels that have only met a line replace it.
template <class N>
class CWatershedTemplate {
public:
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
        TakeLabels(*access, output.Size());
        CWorkPace pace(progress);
        const bool isDone = (seeds == nullptr || TakeSeeds(pace)) &&
                            Flood(levels, criterion, seeds == nullptr, progress, pace);
        if (m_hasRefused || !isDone)
            MaskOpen();
        if (!isDone)
            return 0;
        access->Unlock();
        return seeds != nullptr ? highestSeed : m_currentLabel;
    }

private:
    using States = CFloodStates<N>;

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

    void TakeLabels(IImage::IAccess& access, const CSize& size) {
        const CPos strides = access.Strides();
        m_labels = static_cast<unsigned char*>(access.Data());
        m_strideX = strides.x;
        m_strideY = strides.y;
        m_strideZ = N::dimension == 3 ? strides.z : 0;
        m_size = {static_cast<std::int16_t>(size.x), static_cast<std::int16_t>(size.y),
                  static_cast<std::int16_t>(N::dimension == 3 ? size.z : 1)};
        for (std::size_t slot = 0; slot < States::slotCount; ++slot) {
            const auto& offset = States::offsets[slot];
            m_steps[slot] = offset.dx * m_strideX + offset.dy * m_strideY + offset.dz * m_strideZ;
        }
        // Labels are read in rows only if the labels of a row are contiguous.
        const bool areLabelsPacked = m_strideX == sizeof(std::uint32_t);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const int behind = axis == 0 ? 3 : 2;
            m_insideCount[axis] =
                static_cast<std::uint16_t>(areLabelsPacked ? std::max(0, m_size[axis] - behind) : 0);
        }
        m_states.Clear(size);
        m_currentLabel = 0;
        m_currentLevel = 0;
        m_hasRefused = false;
        m_basins.Clear();
        m_queue.Clear();
    }

    /// Seeds are final from the start. A seed with the value `LabelMask` counts as an open pixel. Returns
    /// false if cancelled, like all functions below that take a pace.
    bool TakeSeeds(CWorkPace& pace) {
        for (std::int16_t z = 0; z < m_size[2]; ++z) {
            for (std::int16_t y = 0; y < m_size[1]; ++y) {
                TakeSeedsOfRow(y, z);
                if (pace.Add(m_size[0]))
                    return false;
            }
        }
        return true;
    }

    void TakeSeedsOfRow(std::int16_t y, std::int16_t z) {
        for (std::int16_t x = 0; x < m_size[0]; ++x) {
            const StPixelPosition pixel{static_cast<std::uint16_t>(x), static_cast<std::uint16_t>(y),
                                        static_cast<std::uint16_t>(z)};
            const std::uint32_t label = Label(pixel);
            if (IsFinalLabel(label))
                m_states.SetFinal(pixel);
            else if (label == LabelMask)
                m_states.SetOpen(pixel);
        }
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
    bool Flood(StLevels& levels, const C& criterion, bool makesRegions, IProgress& progress,
               CWorkPace& pace) {
        CLevelEnds ends(levels.count > 0 ? levels.starts.back() : 0, levels.count);
        if (!TakeEnds(std::exchange(levels.starts, {}), ends, pace))
            return false;
        std::uint64_t end = 0;
        for (std::uint32_t level = 0; level < levels.count; ++level) {
            if (progress.IsCancelled())
                return false;
            m_currentLevel = level;
            const std::uint64_t first = std::exchange(end, ends.Next());
            std::uint64_t openEnd = first;
            if (!Mark(levels, first, end, openEnd, pace) || !Spread(pace))
                return false;
            const bool isDone = makesRegions ? MakeRegions(levels, first, openEnd, criterion, pace)
                                             : MaskOpen(levels, first, openEnd, pace);
            if (!isDone)
                return false;
        }
        return !progress.IsCancelled();
    }

    /// Calls `body(pixel, place)` for the pixels from index `first` up to but not including `end`. Levels can
    /// be tiny, and each asks anyway, so work is counted in whole pieces only.
    template <class Body>
    static bool ForEachPixel(const StLevels& levels, std::uint64_t first, std::uint64_t end, CWorkPace& pace,
                             const Body& body) {
        for (; end - first > pixelsPerPiece; first += pixelsPerPiece) {
            for (std::uint64_t place = first; place < first + pixelsPerPiece; ++place)
                body(levels.Pixel(place), place);
            if (pace.Add(workPerPiece))
                return false;
        }
        for (std::uint64_t place = first; place < end; ++place)
            body(levels.Pixel(place), place);
        return !pace.IsCancelled();
    }

    /// Calls `body()` until the queue is empty. Each call takes the first pixel, and can add others.
    template <class Body>
    bool EmptyQueue(CWorkPace& pace, const Body& body) {
        while (!m_queue.IsEmpty()) {
            for (std::uint64_t count = 0; count < pixelsPerPiece; ++count) {
                body();
                if (m_queue.IsEmpty())
                    return true;
            }
            if (pace.Add(workPerPiece))
                return false;
        }
        return true;
    }

    /// Opens the pixels of a level, except those next to a region or a line, which go into the queue. Pixels
    /// that are queued, or open only while the level is processed, are not marked in the label image.
    ///
    /// The opened pixels are moved to the front of the level, because only they are visited again. `openEnd`,
    /// which is `first` before, is the end of this range. Whether a pixel is opened is unpredictable, so this
    /// code does not branch on it.
    bool Mark(StLevels& levels, std::uint64_t first, std::uint64_t end, std::uint64_t& openEnd,
              CWorkPace& pace) {
        return ForEachPixel(levels, first, end, pace, [&](StPixelPosition pixel, std::uint64_t /*place*/) {
            const bool isOpen = !m_states.HasFinalNeighbor(pixel);
            m_queue.PushBackIf(!isOpen, pixel);
            m_states.SetOpenIf(isOpen, pixel);
            levels.x[openEnd] = pixel.x;
            levels.y[openEnd] = pixel.y;
            levels.z[openEnd] = pixel.z;
            openEnd += isOpen ? 1 : 0;
        });
    }

    /// Grows the existing regions through the open pixels, breadth-first.
    bool Spread(CWorkPace& pace) {
        return EmptyQueue(pace, [this] {
            Prefetch(m_queue.Ahead(prefetchDistance));
            ProcessQueuedPixel(m_queue.PopFront());
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
        return ForEachPixel(levels, first, end, pace, [&](StPixelPosition pixel, std::uint64_t place) {
            if constexpr (CountsPixels<C>())
                PrefetchLabelAhead(levels, place, end);
            if (!m_states.IsOpen(pixel) || pace.IsCancelled())
                return;
            if (IsTaken(pixel, criterion)) {
                ++m_currentLabel;
                FloodNewRegion(pixel, pace);
            } else {
                m_hasRefused = true;
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
                candidate.pixelCount = m_basins.PixelCount(m_basins.Find(Label(pixel)));
            return criterion.Takes(candidate);
        }
    }

    /// Joins the opened pixels of a level that are still open to the adjacent basins of earlier levels.
    ///
    /// Basins only grow together or disappear as a whole, because a region that reaches one pixel of a basin
    /// floods all of it. So pixels of earlier levels need not be visited again. While a pixel is open, its
    /// label holds the number of its basin; `MaskOpen` replaces it in the end. Before, it holds `LabelInit`,
    /// which is no basin's number.
    bool JoinBasins(const StLevels& levels, std::uint64_t first, std::uint64_t end, CWorkPace& pace) {
        return ForEachPixel(levels, first, end, pace, [&](StPixelPosition pixel, std::uint64_t place) {
            PrefetchAhead(levels, place, end);
            if (!m_states.IsOpen(pixel))
                return;
            const CBasins::Number basin = BasinAround(pixel);
            m_basins.AddPixel(basin);
            Label(pixel) = basin;
        });
    }

    /// Joins all basins around a pixel and returns the result, or a new basin if there are none.
    CBasins::Number BasinAround(StPixelPosition pixel) {
        const unsigned char* const centre = Address(pixel);
        CBasins::Number last = LabelInit; // most neighbours belong to the same basin
        CBasins::Number basin = LabelInit;
        for (auto open = m_states.Around(pixel) & States::openBits; open != 0; open &= open - 1) {
            const CBasins::Number neighbor = LabelAt(centre, States::FirstSlot(open));
            if (!m_basins.Has(neighbor) || neighbor == last)
                continue;
            last = neighbor;
            const CBasins::Number other = m_basins.Find(neighbor);
            basin = basin == LabelInit ? other : m_basins.Join(basin, other);
        }
        return basin == LabelInit ? m_basins.Add(LabelInit) : basin;
    }

    /// Marks the pixels that are still open as waiting in the label image. Also called after a cancellation,
    /// and so never cancelled itself.
    void MaskOpen() {
        m_states.ForEachOpen([this](StPixelPosition pixel) { Label(pixel) = LabelMask; });
    }

    /// Marks those of the given pixels that are still open as waiting for a later level in the label image.
    bool MaskOpen(const StLevels& levels, std::uint64_t first, std::uint64_t end, CWorkPace& pace) {
        return ForEachPixel(levels, first, end, pace, [this](StPixelPosition pixel, std::uint64_t) {
            if (m_states.IsOpen(pixel))
                Label(pixel) = LabelMask;
        });
    }

    /// Decides the label of a pixel from those of its neighbours, and queues the open neighbours.
    ///
    /// The result is deliberately that of a walk through the table with a flag for "line, but only because a
    /// line was met": if exactly one region is met, its number; if two regions are met, a line; if only lines
    /// are met, a line. The order of the table affects only the queue.
    void ProcessQueuedPixel(StPixelPosition pixel) {
        const typename States::Neighbors around = m_states.Around(pixel);
        unsigned char* const centre = Address(pixel);
        *reinterpret_cast<std::uint32_t*>(centre) =
            HasLabelsAround(pixel) ? OnlyRegionAmong(centre, around) : OnlyRegionAtBorder(centre, around);
        m_states.SetFinal(pixel);
        for (auto open = around & States::openBits; open != 0; open &= open - 1) {
            const StPixelPosition neighbor = Neighbor(pixel, States::FirstSlot(open));
            m_states.SetNone(neighbor);
            m_queue.PushBack(neighbor);
        }
    }

    /// Whether the image contains the pixels from the left neighbour to the second one on the right, in all
    /// rows around a pixel. `OnlyRegionAmong` reads these labels.
    [[nodiscard]] bool HasLabelsAround(StPixelPosition pixel) const {
        const auto isWithin = [](std::uint16_t position, std::uint16_t count) {
            return static_cast<std::uint16_t>(position - 1) < count;
        };
        return isWithin(pixel.x, m_insideCount[0]) && isWithin(pixel.y, m_insideCount[1]) &&
               (N::dimension == 2 || isWithin(pixel.z, m_insideCount[2]));
    }

    /// The only region among the final neighbours of the pixel at `centre`, or the label of a line if there
    /// are two or none. All labels of a row are read at once, because it is unpredictable which of them are
    /// final.
    [[nodiscard]] std::uint32_t OnlyRegionAmong(const unsigned char* centre,
                                                typename States::Neighbors around) const {
        // The numbers are equal if the bits set in any of them are the bits set in all of them.
        FourLabels any{};
        FourLabels all = ~any;
#pragma GCC unroll 9 // one load a row of neighbours, without the loop around it
        for (std::size_t row = 0; row < States::slotCount / 3; ++row) {
            FourLabels labels;
            std::memcpy(&labels, centre + m_steps[3 * row], sizeof labels);
            labels &= finalMasks[States::Row(around, row)];
            any |= labels;
            all &= labels | static_cast<FourLabels>(labels == LabelWatershed);
        }
        const std::uint32_t anyBits = any[0] | any[1] | any[2];
        const std::uint32_t allBits = all[0] & all[1] & all[2];
        return anyBits == allBits ? anyBits : LabelWatershed;
    }

    /// The same, neighbour by neighbour, for pixels near the border.
    [[nodiscard]] std::uint32_t OnlyRegionAtBorder(const unsigned char* centre,
                                                   typename States::Neighbors around) const {
        std::uint32_t region = LabelWatershed;
        for (auto finals = around & States::finalBits; finals != 0; finals &= finals - 1) {
            const std::uint32_t label = LabelAt(centre, States::FirstSlot(finals));
            if (label == region || label == LabelWatershed)
                continue;
            if (region != LabelWatershed)
                return LabelWatershed;
            region = label;
        }
        return region;
    }

    /// Gives a pixel the current label and queues it.
    void TakeIntoRegion(StPixelPosition pixel) {
        Label(pixel) = m_currentLabel;
        m_states.SetFinal(pixel);
        m_queue.PushBack(pixel);
    }

    /// Floods the open pixels connected to an open pixel with the current label, or some of them if the pace
    /// is cancelled.
    void FloodNewRegion(StPixelPosition first, CWorkPace& pace) {
        TakeIntoRegion(first);
        EmptyQueue(pace, [this] {
            const StPixelPosition pixel = m_queue.PopFront();
            for (auto open = m_states.Around(pixel) & States::openBits; open != 0; open &= open - 1)
                TakeIntoRegion(Neighbor(pixel, States::FirstSlot(open)));
        });
    }

    static StPixelPosition Neighbor(StPixelPosition pixel, std::size_t slot) {
        const auto& offset = States::offsets[slot];
        return {static_cast<std::uint16_t>(pixel.x + offset.dx),
                static_cast<std::uint16_t>(pixel.y + offset.dy),
                static_cast<std::uint16_t>(pixel.z + offset.dz)};
    }

    [[nodiscard]] unsigned char* Address(StPixelPosition pixel) const {
        return m_labels + pixel.x * m_strideX + pixel.y * m_strideY + pixel.z * m_strideZ;
    }

    [[nodiscard]] std::uint32_t& Label(StPixelPosition pixel) const {
        return *reinterpret_cast<std::uint32_t*>(Address(pixel));
    }

    /// The label of a neighbour of the pixel at `centre`.
    [[nodiscard]] std::uint32_t LabelAt(const unsigned char* centre, std::size_t slot) const {
        return *reinterpret_cast<const std::uint32_t*>(centre + m_steps[slot]);
    }

    /// Prefetches the labels around a pixel that will be decided soon. A row usually lies within one cache
    /// line.
    void Prefetch(StPixelPosition pixel) const {
        const auto centre = reinterpret_cast<std::uintptr_t>(Address(pixel));
        for (std::size_t slot = 1; slot < States::slotCount; slot += 3)
            __builtin_prefetch(
                reinterpret_cast<const void*>(centre + static_cast<std::uintptr_t>(m_steps[slot])));
    }

    /// The same for a pixel of a level that will be visited soon.
    void PrefetchAhead(const StLevels& levels, std::uint64_t place, std::uint64_t end) const {
        if (place + levelPrefetchDistance < end)
            Prefetch(levels.Pixel(place + levelPrefetchDistance));
    }

    /// The same, but only its own label.
    void PrefetchLabelAhead(const StLevels& levels, std::uint64_t place, std::uint64_t end) const {
        if (place + levelPrefetchDistance < end)
            __builtin_prefetch(Address(levels.Pixel(place + levelPrefetchDistance)));
    }

    static constexpr std::size_t prefetchDistance = 8; // in the queue
    static constexpr std::size_t levelPrefetchDistance = 32;
    static constexpr std::uint64_t pixelsPerPiece = 8192;
    static constexpr std::int64_t workPerPiece = 32 * pixelsPerPiece;

    /// A row of three labels and the one after it.
    using FourLabels = std::uint32_t __attribute__((vector_size(4 * sizeof(std::uint32_t))));

    /// For the states of a row: a mask with all bits of the labels that are final.
    static constexpr std::array<FourLabels, States::rowStateCount> finalMasks = [] {
        std::array<FourLabels, States::rowStateCount> masks{};
        for (std::uint32_t states = 0; states < States::rowStateCount; ++states) {
            const auto mask = [states](std::size_t slot) {
                const bool isFinal = (states >> (2 * slot) & 2U) != 0;
                return isFinal ? ~std::uint32_t{0} : std::uint32_t{0};
            };
            masks[states] = FourLabels{mask(0), mask(1), mask(2), 0};
        }
        return masks;
    }();

    unsigned char* m_labels = nullptr;
    std::int64_t m_strideX = 0;
    std::int64_t m_strideY = 0;
    std::int64_t m_strideZ = 0;
    std::array<std::int16_t, 3> m_size{};
    std::array<std::uint16_t, 3> m_insideCount{};          // from position 1: how many pass `HasLabelsAround`
    std::array<std::int64_t, States::slotCount> m_steps{}; // from a pixel to its neighbours, in bytes
    std::uint32_t m_currentLabel = 0;                      // the newest region
    std::uint32_t m_currentLevel = 0;
    bool m_hasRefused = false; // the criterion has refused a minimum
    CBasins m_basins;
    States m_states;
    CPixelQueue m_queue;
};

} // namespace ORVEN
