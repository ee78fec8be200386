#include "QuillonTransformation/CloseWithLargeBall.h"

#include "QuillonTransformation/distance/CLowerEnvelope.h"
#include "QuillonTransformation/distance/DistanceTransform.h"

#include <QuillonBase/AvailableMemory.h>
#include <QuillonBase/CWorkPace.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

// The axes are named by their role, from the longest to the shortest: planes follow one another along the
// first axis, lines of a plane along the second, and places of a line along the third. A flat image has
// planes of one line; a line has a single plane.
//
// Each plane, inside or outside the image, is processed independently. The object pixels of all planes affect
// it through their distance along the first axis. This gives the squared distance of each line of the plane
// at each place, and so how far each place of the image's lines covers the line along the third axis. The
// uncovered places are the centres of free balls. Outside the image, a line is covered up to some place and
// free beyond it. Of these free places only the first can be the nearest to any pixel of the image, so a
// single number represents all of them. In the same way, the free centres of the plane determine how far they
// reach along the first axis, and two sweeps along that axis determine which pixels are reached from any
// plane.

namespace ORVEN {

namespace {

constexpr const char* c_site = "ORVEN::CSphericalMorphology";
constexpr const char* c_phase = "Spherical morphology";

/// An axis of the image, or a missing one with a single place.
struct StAxis {
    std::int64_t extent = 1;
    std::int64_t stride = 0; ///< in pixels
    std::int64_t margin = 0; ///< relevant places outside the image, on either side

    [[nodiscard]] std::int64_t PaddedExtent() const { return extent + 2 * margin; }
};

struct StAxes {
    StAxis first;
    StAxis second;
    StAxis third;

    template <class View>
    StAxes(const View& view, int dimension, std::int64_t radius) {
        const std::array<StAxis, 3> all{{{view.nx, 1, radius},
                                         {view.ny, view.Row(1, 0) - view.Row(0, 0), radius},
                                         {view.nz, view.Row(0, 1) - view.Row(0, 0), radius}}};
        std::array<std::size_t, 3> order{0, 1, 2};
        const auto end = order.begin() + dimension;
        std::stable_sort(order.begin(), end,
                         [&](std::size_t i, std::size_t j) { return all[i].extent > all[j].extent; });
        third = all[*(end - 1)];
        if (dimension > 1)
            first = all[order[0]];
        if (dimension > 2)
            second = all[order[1]];
    }
};

/// A single call of `CloseWithLargeBall`.
class CClosing {
public:
    CClosing(const StAxes& axes, std::int64_t squaredRadius)
        : m_first(axes.first)
        , m_second(axes.second)
        , m_third(axes.third)
        , m_square(squaredRadius)
        , m_planes(MakePlanes()) {}

    /// Computes the distances along the first axis to the nearest object pixel.
    bool MeasureAlongFirst(const unsigned char* pixels, IProgress& progress) {
        return ForEachItem(m_second.extent, progress, [&](std::int64_t line, CWorkPace& pace) {
            std::vector<std::uint16_t> distances(static_cast<std::size_t>(m_third.extent), c_far);
            const auto pass = [&](std::int64_t plane, const auto& take) {
                std::uint16_t* const row = Row(plane, line);
                const std::int64_t place = plane - m_first.margin;
                const bool isInImage = place >= 0 && place < m_first.extent;
                const unsigned char* const from =
                    isInImage ? pixels + place * m_first.stride + line * m_second.stride : nullptr;
                for (std::int64_t c = 0; c < m_third.extent; ++c) {
                    std::uint16_t& distance = distances[static_cast<std::size_t>(c)];
                    const bool isSeed = isInImage && from[c * m_third.stride] != 0;
                    distance = isSeed ? std::uint16_t{0}
                                      : static_cast<std::uint16_t>(std::min<int>(distance + 1, c_far));
                    take(row[c], distance);
                }
            };
            SweepPlanes(
                pace,
                [&](std::int64_t plane) {
                    pass(plane, [](std::uint16_t& pixel, std::uint16_t distance) { pixel = distance; });
                },
                [&] { std::ranges::fill(distances, c_far); },
                [&](std::int64_t plane) {
                    pass(plane, [](std::uint16_t& pixel, std::uint16_t distance) {
                        pixel = std::min(pixel, distance);
                    });
                });
        });
    }

    /// Replaces the distances of each plane by the number of places along the first axis, counted from the
    /// plane, that its free balls cover.
    bool FindReachOfPlanes(IProgress& progress) {
        progress.Start(static_cast<unsigned>(m_first.PaddedExtent()), c_phase);
        const bool isDone =
            ParallelForAtPace(m_first.PaddedExtent(), progress, [this] { return CPlaneWork(*this); });
        progress.Finish();
        return isDone;
    }

    /// Writes 0 where a free ball reaches and 1 elsewhere.
    bool WriteResult(unsigned char* pixels, const StAxes& axes, IProgress& progress) {
        return ForEachItem(m_second.extent, progress, [&](std::int64_t line, CWorkPace& pace) {
            std::vector<std::uint16_t> reaches(static_cast<std::size_t>(m_third.extent), 0);
            const auto pass = [&](std::int64_t plane) {
                std::uint16_t* const row = Row(plane, line);
                for (std::int64_t c = 0; c < m_third.extent; ++c) {
                    std::uint16_t& reach = reaches[static_cast<std::size_t>(c)];
                    const auto left = static_cast<std::uint16_t>(std::max<int>(reach, 1) - 1);
                    reach = std::max(left, row[c]);
                    row[c] = reach;
                }
            };
            SweepPlanes(
                pace, pass, [&] { std::ranges::fill(reaches, std::uint16_t{0}); },
                [&](std::int64_t plane) {
                    pass(plane);
                    const std::int64_t place = plane - m_first.margin;
                    if (place < 0 || place >= m_first.extent)
                        return;
                    unsigned char* const to = pixels + place * axes.first.stride + line * axes.second.stride;
                    for (std::int64_t c = 0; c < m_third.extent; ++c)
                        to[c * axes.third.stride] = reaches[static_cast<std::size_t>(c)] > 0 ? 0 : 1;
                });
        });
    }

private:
    [[nodiscard]] std::unique_ptr<std::uint16_t[]> MakePlanes() const {
        const std::int64_t size = m_first.PaddedExtent() * m_second.extent * m_third.extent;
        RequireMemory(c_site, "A closing with this radius", size * std::int64_t{sizeof(std::uint16_t)});
        return std::make_unique_for_overwrite<std::uint16_t[]>(static_cast<std::size_t>(size));
    }

    /// Represents all distances from this value on; with the permitted extents, none is that large.
    static constexpr std::uint16_t c_far = std::numeric_limits<std::uint16_t>::max();

    /// The state of a thread that processes planes.
    class CPlaneWork {
    public:
        explicit CPlaneWork(CClosing& closing)
            : m_closing(closing)
            , m_length(closing.m_second.PaddedExtent())
            , m_count(closing.m_third.extent)
            , m_values(static_cast<std::size_t>(m_length * m_count))
            , m_run(static_cast<std::size_t>(m_length)) {}

        void operator()(std::int64_t plane, CWorkPace& pace) {
            for (std::int64_t c = 0; c < m_count && !pace.IsCancelled(); ++c)
                CoverFromLine(plane, c, pace);
            FindFreeDistances(pace);
            for (std::int64_t c = 0; c < m_count && !pace.IsCancelled(); ++c)
                ReachFromLine(plane, c, pace);
        }

    private:
        static constexpr std::int64_t c_unitsPerEnvelopePlace = 32;
        static constexpr std::int64_t c_unitsPerPlace = 4;
        static constexpr unsigned c_none = c_noSeed<unsigned>;

        /// The places c of all lines of the plane are contiguous.
        [[nodiscard]] unsigned* Places(std::int64_t c) { return m_values.data() + c * m_length; }

        /// The number of places that a ball covers along an axis, counted from its centre, at the given
        /// squared distance from it.
        [[nodiscard]] unsigned CoverAt(unsigned squaredDistance) const {
            const std::int64_t rest = m_closing.m_square - std::int64_t{squaredDistance};
            return rest < 0 ? 0 : static_cast<unsigned>(std::sqrt(static_cast<double>(rest))) + 1;
        }

        /// Computes the squared distances of the lines to the object pixels at place c, and from them the
        /// cover.
        void CoverFromLine(std::int64_t plane, std::int64_t c, CWorkPace& pace) {
            const StAxis& second = m_closing.m_second;
            unsigned* const places = Places(c);
            std::fill_n(places, m_length, c_none);
            for (std::int64_t line = 0; line < second.extent; ++line) {
                const std::int64_t distance = m_closing.Row(plane, line)[c];
                if (distance * distance <= m_closing.m_square)
                    places[second.margin + line] = static_cast<unsigned>(distance * distance);
            }
            m_envelope.Transform(places, m_length, sizeof(unsigned), 1.0, false);
            for (std::int64_t line = 0; line < m_length; ++line)
                places[line] = CoverAt(places[line]);
            (void)pace.Add(m_length * c_unitsPerEnvelopePlace);
        }

        /// Converts the cover to squared distances along the third axis to the nearest free place.
        void FindFreeDistances(CWorkPace& pace) {
            const auto forEachPlace = [&](bool isForward, const auto& body) {
                for (std::int64_t i = 0; i < m_count && !pace.IsCancelled(); ++i) {
                    unsigned* const __restrict places = Places(isForward ? i : m_count - 1 - i);
                    unsigned* const __restrict run = m_run.data();
                    for (std::int64_t line = 0; line < m_length; ++line)
                        body(places[line], run[line]);
                    (void)pace.Add(m_length * c_unitsPerPlace);
                }
            };
            const auto spread = [](unsigned& cover, unsigned& run) {
                run = std::max(std::max(run, 1U) - 1U, cover);
                cover = run;
            };
            // Starting at the last place of the image, `run` places are covered, and the next one is free.
            const auto beginOutside = [&] {
                for (unsigned& run : m_run)
                    run = std::max(run, 1U) - 1U;
            };
            std::ranges::fill(m_run, 0U);
            forEachPlace(true, spread);
            m_runAtEnd = m_run;
            std::ranges::fill(m_run, 0U);
            forEachPlace(false, spread);
            beginOutside();
            forEachPlace(true, [](unsigned& cover, unsigned& run) {
                run = cover > 0 ? run + 1 : 0;
                cover = run;
            });
            m_run.swap(m_runAtEnd);
            beginOutside();
            const std::int64_t square = m_closing.m_square;
            forEachPlace(false, [square](unsigned& distance, unsigned& run) {
                run = distance > 0 ? run + 1 : 0;
                const std::int64_t nearest = std::min(distance, run);
                distance = nearest * nearest <= square ? static_cast<unsigned>(nearest * nearest) : c_none;
            });
        }

        /// Converts the squared distances to free places at the same place of each line to distances within
        /// the plane, and these to the reach that remains for the first axis.
        void ReachFromLine(std::int64_t plane, std::int64_t c, CWorkPace& pace) {
            const StAxis& second = m_closing.m_second;
            unsigned* const places = Places(c);
            m_envelope.Transform(places, m_length, sizeof(unsigned), 1.0, false);
            for (std::int64_t line = 0; line < second.extent; ++line)
                m_closing.Row(plane, line)[c] =
                    static_cast<std::uint16_t>(CoverAt(places[second.margin + line]));
            (void)pace.Add(m_length * c_unitsPerEnvelopePlace);
        }

        CClosing& m_closing;
        std::int64_t m_length;
        std::int64_t m_count;
        std::vector<unsigned> m_values;
        std::vector<unsigned> m_run;
        std::vector<unsigned> m_runAtEnd;
        CLowerEnvelope m_envelope;
    };

    /// The places of a line of a plane. Lines are counted from the first one outside the image.
    [[nodiscard]] std::uint16_t* Row(std::int64_t plane, std::int64_t line) const {
        return m_planes.get() + (plane * m_second.extent + line) * m_third.extent;
    }

    template <class Work>
    static bool ForEachItem(std::int64_t count, IProgress& progress, const Work& work) {
        progress.Start(static_cast<unsigned>(count), c_phase);
        const bool isDone = ParallelForAtPace(count, progress, [&work] { return std::ref(work); });
        progress.Finish();
        return isDone;
    }

    /// Calls `forward` for all planes, then `turn()`, then `backward` for all planes in reverse order.
    template <class Forward, class Turn, class Backward>
    void SweepPlanes(CWorkPace& pace, const Forward& forward, const Turn& turn,
                     const Backward& backward) const {
        const std::int64_t count = m_first.PaddedExtent();
        const std::int64_t units = 8 * m_third.extent;
        const auto each = [](const auto& pass, auto place) {
            return [&pass, place](std::int64_t first, std::int64_t end) {
                for (std::int64_t i = first; i < end; ++i)
                    pass(place(i));
            };
        };
        if (!ForEachPiece(count, units, pace, each(forward, [](std::int64_t i) { return i; })))
            return;
        turn();
        ForEachPiece(count, units, pace, each(backward, [count](std::int64_t i) { return count - 1 - i; }));
    }

    const StAxis m_first;
    const StAxis m_second;
    const StAxis m_third;
    const std::int64_t m_square;
    std::unique_ptr<std::uint16_t[]> m_planes;
};

} // namespace

bool CloseWithLargeBall(const IImage& source, IImage& result, std::int64_t squaredRadius,
                        IProgress& progress) {
    const auto radius = static_cast<std::int64_t>(std::sqrt(static_cast<double>(squaredRadius)));
    CSize padded = source.Size();
    for (int axis = 0; axis < padded.Dim(); ++axis)
        padded[axis] += 2 * radius;
    CheckDistanceExtents(c_site, padded);

    const auto axesOf = [&](const auto& view) { return StAxes(view, padded.Dim(), radius); };
    const auto measure = [&] {
        const CImageView<const unsigned char> view(source);
        auto closing = std::make_unique<CClosing>(axesOf(view), squaredRadius);
        return closing->MeasureAlongFirst(view.Row(0, 0), progress) ? std::move(closing) : nullptr;
    };
    const std::unique_ptr<CClosing> closing = measure();
    if (closing == nullptr || !closing->FindReachOfPlanes(progress))
        return false;
    const CImageView<unsigned char> view(result);
    // The result can have other strides.
    return closing->WriteResult(view.Row(0, 0), axesOf(view), progress);
}

} // namespace ORVEN
