#pragma once

#include "segmentation/CBasins.h"
#include "segmentation/PixelSort.h"
#include "segmentation/floods/CFloodStates.h"
#include "segmentation/floods/CPixelQueue.h"
#include "segmentation/floods/WatershedChecks.h"
#include "segmentation/floods/WatershedCriteria.h"
#include "segmentation/floods/WatershedLabels.h"
#include "utils/JoinedText.h"

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
#include <vector>

namespace ORVEN {

/// The watershed transform by immersion: turns a grey image into a 32-bit label image, in which regions are
/// numbered from 1 and the lines between them are pixels of label 0.
///
/// The pixels are flooded level by level, from low to high. On a level the regions there are first spread
/// breadth-first through the pixels of the level, which divides plateaus by geodesic distance; what they do
/// not reach is a new minimum and starts a new region, if criterion C takes it. With an image of seeds the
/// regions are the seeds alone. A pixel that meets two regions becomes a line, for good; one that has met
/// only a line takes the first region it meets. The order of the neighbourhood's table decides which of two
/// equally near regions comes first. Levels and the order within a level are those of
/// `GetHistogramAndPixelSort`.
///
/// N is one of the neighbourhoods of Neighborhoods.h, T the pixel type of the input, C one of
/// WatershedCriteria.h.
///
/// Time: linear in pixels times neighbours, beside the sort, whatever a criterion refuses. Memory beside the
/// images: 6 bytes a pixel for the sort, a quarter byte for states, and the queue, as a rule small; 8 bytes
/// for each minimum, if the criterion counts pixels. One thread.
///
/// Source: L. Vincent, P. Soille, *Watersheds in digital spaces: an efficient algorithm based on immersion
/// simulations*, IEEE PAMI 13(6), 1991. In the paper distances are kept in an image of their own; here the
/// order of the queue and a flag on pixels that have met only a line do that work.
template <class N>
class CWatershedTemplate {
public:
    /// Floods `input` into `output`, an image of 32-bit labels of the same size. `seeds` can be null,
    /// `parameters` is the record of C. Returns the number of regions, which with seeds is the highest seed,
    /// and 0 if the run was cancelled. Raises what `CheckWatershedImages` raises, before anything is changed.
    ///
    /// `progress` is asked between the steps and at each level. Filling the labels and the sort report to the
    /// host's sink, as traversals do, and ask that one. A caller who wants one sink for all of it passes the
    /// host's.
    template <class T, class C>
    std::uint32_t DoWatershed(IImage& output, const IImage& input, const IImage* seeds,
                              typename C::StParameters* parameters, IProgress& progress) {
        CheckWatershedImages(Site::c_str(), N::dimension, output, input, seeds, m_size);
        StLevels levels;
        if (progress.IsCancelled())
            return 0;
        InitWatershedLabels(output, seeds);
        if (progress.IsCancelled())
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
        TakeLabels(*access, output.Size(), seeds != nullptr);
        const bool isDone = Flood(levels, criterion, seeds == nullptr, progress);
        if (m_hasRefused)
            MaskRefused();
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
    /// The name under which the engine raises; contract wording.
    using Site = Impl::CJoinedText<siteBegin, siteDimension, siteId, siteEnd>;

    void TakeLabels(IImage::IAccess& access, const CSize& size, bool isSeeded) {
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
        // Labels are read by rows only where those of a row stand side by side.
        const bool areLabelsPacked = m_strideX == sizeof(std::uint32_t);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const int behind = axis == 0 ? 3 : 2;
            m_insideCount[axis] =
                static_cast<std::uint16_t>(areLabelsPacked ? std::max(0, m_size[axis] - behind) : 0);
        }
        m_states.Clear(size);
        if (isSeeded)
            TakeSeeds();
        m_currentLabel = 0;
        m_currentLevel = 0;
        m_hasRefused = false;
        m_basins.Clear();
        m_queue.Clear();
    }

    /// Seeds are final from the start. A seed of the value `LabelMask` is taken for an open pixel.
    void TakeSeeds() {
        for (std::int16_t z = 0; z < m_size[2]; ++z) {
            for (std::int16_t y = 0; y < m_size[1]; ++y) {
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
        }
    }

    /// All levels; false if the run was cancelled.
    template <class C>
    bool Flood(StLevels& levels, const C& criterion, bool makesRegions, IProgress& progress) {
        for (std::uint32_t level = 0; level < levels.count; ++level) {
            if (progress.IsCancelled())
                return false;
            m_currentLevel = level;
            const std::uint64_t first = levels.starts[level];
            const std::uint64_t openEnd = Mark(levels, first, levels.starts[level + 1]);
            Spread();
            if (makesRegions)
                MakeRegions(levels, first, openEnd, criterion);
            else
                MaskOpen(levels, first, openEnd);
        }
        return !progress.IsCancelled();
    }

    /// Opens the pixels of a level, but for those beside a region or a line, which go into the queue. What is
    /// in the queue or open for the time of a level only is no concern of the label image.
    ///
    /// The opened pixels move to the front of the level, as they alone are asked for once more. Returns their
    /// end. Whether a pixel is opened is anybody's guess, so that nothing here branches on it.
    std::uint64_t Mark(StLevels& levels, std::uint64_t first, std::uint64_t end) {
        std::uint64_t openEnd = first;
        for (std::uint64_t place = first; place < end; ++place) {
            const StPixelPosition pixel = levels.Pixel(place);
            const bool isOpen = !m_states.HasFinalNeighbor(pixel);
            m_queue.PushBackIf(!isOpen, pixel);
            m_states.SetOpenIf(isOpen, pixel);
            levels.x[openEnd] = pixel.x;
            levels.y[openEnd] = pixel.y;
            levels.z[openEnd] = pixel.z;
            openEnd += isOpen ? 1 : 0;
        }
        return openEnd;
    }

    /// Grows the regions there are through the open pixels, breadth-first.
    void Spread() {
        while (!m_queue.IsEmpty()) {
            Prefetch(m_queue.Ahead(prefetchDistance));
            ProcessQueuedPixel(m_queue.PopFront());
        }
    }

    /// What is still open of the opened pixels of a level are new minima. A refused one is asked for again at
    /// each of its pixels, as the answer can depend on the number that is next.
    template <class C>
    void MakeRegions(const StLevels& levels, std::uint64_t first, std::uint64_t end, const C& criterion) {
        if constexpr (CountsPixels<C>())
            JoinBasins(levels, first, end);
        for (std::uint64_t place = first; place < end; ++place) {
            const StPixelPosition pixel = levels.Pixel(place);
            if (!m_states.IsOpen(pixel))
                continue;
            if (IsTaken(pixel, criterion)) {
                ++m_currentLabel;
                FloodNewRegion(pixel);
            } else {
                m_hasRefused = true;
            }
        }
    }

    template <class C>
    static constexpr bool CountsPixels() {
        if constexpr (C::takesEveryMinimum)
            return false;
        else
            return C::dependsOnPixelCount;
    }

    /// Whether the criterion makes a region of the basin of an open pixel.
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

    /// Joins what is still open of the opened pixels of a level to the basins of earlier levels beside them.
    ///
    /// Basins only ever grow together or go as a whole, since what reaches one pixel of a basin floods all of
    /// it. So nothing of an earlier level is looked at anew. While a pixel is open its label is the number of
    /// its basin, which `MaskRefused` mends in the end.
    void JoinBasins(const StLevels& levels, std::uint64_t first, std::uint64_t end) {
        for (std::uint64_t place = first; place < end; ++place) {
            const StPixelPosition pixel = levels.Pixel(place);
            if (m_states.IsOpen(pixel))
                Label(pixel) = LabelInit;
        }
        for (std::uint64_t place = first; place < end; ++place) {
            const StPixelPosition pixel = levels.Pixel(place);
            if (!m_states.IsOpen(pixel))
                continue;
            const CBasins::Number basin = BasinAround(pixel);
            m_basins.AddPixel(basin);
            Label(pixel) = basin;
        }
    }

    /// The basin that comes of all those around a pixel; a new one if there are none.
    CBasins::Number BasinAround(StPixelPosition pixel) {
        const unsigned char* const centre = Address(pixel);
        CBasins::Number last = LabelInit; // as neighbours mostly are of one basin
        CBasins::Number basin = LabelInit;
        for (auto open = m_states.Around(pixel) & States::openBits; open != 0; open &= open - 1) {
            const CBasins::Number neighbor = LabelAt(centre, States::FirstSlot(open));
            if (neighbor == LabelInit || neighbor == last)
                continue;
            last = neighbor;
            const CBasins::Number other = m_basins.Find(neighbor);
            basin = basin == LabelInit ? other : m_basins.Join(basin, other);
        }
        return basin == LabelInit ? m_basins.Add(LabelInit) : basin;
    }

    /// Pixels that are still open wait, and the label image says so.
    void MaskRefused() {
        for (std::int16_t z = 0; z < m_size[2]; ++z) {
            for (std::int16_t y = 0; y < m_size[1]; ++y) {
                for (std::int16_t x = 0; x < m_size[0]; ++x) {
                    const StPixelPosition pixel{static_cast<std::uint16_t>(x), static_cast<std::uint16_t>(y),
                                                static_cast<std::uint16_t>(z)};
                    if (m_states.IsOpen(pixel))
                        Label(pixel) = LabelMask;
                }
            }
        }
    }

    /// What is still open of them waits for a later level, and the label image says so.
    void MaskOpen(const StLevels& levels, std::uint64_t first, std::uint64_t end) {
        for (std::uint64_t place = first; place < end; ++place) {
            const StPixelPosition pixel = levels.Pixel(place);
            if (m_states.IsOpen(pixel))
                Label(pixel) = LabelMask;
        }
    }

    /// Decides the label of a pixel from those of its neighbours, and queues the open ones among these.
    ///
    /// By contract the table is walked with a flag for "line, but only because a line was met". That comes to
    /// this: one region met and no other gives its number; two regions give a line; no region and a line give
    /// a line. The order of the table matters for the queue alone.
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

    /// Whether the image has labels from the left neighbour to the second right one in all rows around a
    /// pixel, which is what `OnlyRegionAmong` reads.
    [[nodiscard]] bool HasLabelsAround(StPixelPosition pixel) const {
        const auto isWithin = [](std::uint16_t position, std::uint16_t count) {
            return static_cast<std::uint16_t>(position - 1) < count;
        };
        return isWithin(pixel.x, m_insideCount[0]) && isWithin(pixel.y, m_insideCount[1]) &&
               (N::dimension == 2 || isWithin(pixel.z, m_insideCount[2]));
    }

    /// The only region among the final neighbours of the pixel at `centre`; the label of a line if there are
    /// two, or none. All labels of a row are read at once, as which of them are final is anybody's guess.
    [[nodiscard]] std::uint32_t OnlyRegionAmong(const unsigned char* centre,
                                                typename States::Neighbors around) const {
        // Numbers of regions are equal if what any of them has set is what all of them have set.
        FourLabels any{};
        FourLabels all = ~any;
#pragma GCC unroll 9
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

    /// The same, neighbour by neighbour.
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

    /// Floods the open pixels connected with an open pixel by the current label.
    void FloodNewRegion(StPixelPosition first) {
        TakeIntoRegion(first);
        while (!m_queue.IsEmpty()) {
            const StPixelPosition pixel = m_queue.PopFront();
            for (auto open = m_states.Around(pixel) & States::openBits; open != 0; open &= open - 1)
                TakeIntoRegion(Neighbor(pixel, States::FirstSlot(open)));
        }
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

    /// Asks for the labels around a pixel that will be decided soon. A row is in one line of memory, as a
    /// rule.
    void Prefetch(StPixelPosition pixel) const {
        const auto centre = reinterpret_cast<std::uintptr_t>(Address(pixel));
        for (std::size_t slot = 1; slot < States::slotCount; slot += 3)
            __builtin_prefetch(
                reinterpret_cast<const void*>(centre + static_cast<std::uintptr_t>(m_steps[slot])));
    }

    static constexpr std::size_t prefetchDistance = 8;

    /// A row of three labels and the one after it.
    using FourLabels = std::uint32_t __attribute__((vector_size(4 * sizeof(std::uint32_t))));

    /// By the states of a row: all bits of the labels that are final.
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
    std::array<std::uint16_t, 3> m_insideCount{};          // from 1 on, the positions that `HasLabelsAround`
    std::array<std::int64_t, States::slotCount> m_steps{}; // from a pixel to its neighbours, in bytes
    std::uint32_t m_currentLabel = 0;                      // the region made last
    std::uint32_t m_currentLevel = 0;
    bool m_hasRefused = false; // the criterion, some pixel
    CBasins m_basins;
    States m_states;
    CPixelQueue m_queue;
};

} // namespace ORVEN
