#include "QuillonTransformation/CSphericalMorphology.h"

#include "QuillonTransformation/CloseWithLargeBall.h"
#include "QuillonTransformation/distance/DistanceTransform.h"
#include "QuillonTransformation/distance/ShortDistances.h"

#include <QuillonBase/LineBlocks.h>
#include <QuillonBase/SeparablePasses.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <type_traits>

// Whether a pixel lies within the ball of a seed can be decided without its exact distance. Up to radius 126,
// all work is done in the bytes of the result. They first hold distances along x. In three dimensions, these
// are replaced by what the squared distances in the plane leave of the ball for z, or by nothing where they
// exceed the ball. Along the last axis, each place reaches as far as its remainder allows. Two sweeps that
// count down the reach of the preceding places decide whether a pixel is reached, at a cost that is
// independent of the radius. Larger balls are thresholded from a distance map.

namespace ORVEN {

namespace {

constexpr const char* c_site = "ORVEN::CSphericalMorphology";
constexpr const char* c_phase = "Spherical morphology";

constexpr std::int64_t c_unitsPerRowPixel = 24;

/// All squared distances between pixels are below this value, so larger balls give the same result.
constexpr double c_largestSquare = 0x1p34;

std::int64_t SquaredRadius(float radius) {
    if (!(radius >= 0.0F))
        throw CExBadParam(Impl::Here(c_site), "Radius must not be negative.");
    const double r = radius;
    return static_cast<std::int64_t>(std::min(r * r, c_largestSquare));
}

/// The pixels to find: those within the ball of a seed.
struct StSearch {
    EnSeeds seeds;
    bool isOutsideSeed;  ///< the pixels beyond the border are seeds too
    std::int64_t square; ///< of the radius
    bool findsObject;    ///< whether the pixels found become object, else background
};

StSearch Dilation(std::int64_t square) { return {EnSeeds::NON_ZEROS, false, square, true}; }

/// An erosion removes the pixels near the background.
StSearch Erosion(std::int64_t square, bool isOutsideBackground) {
    return {EnSeeds::ZEROS, isOutsideBackground, square, false};
}

/// The number of places that a ball covers along an axis, counted from its centre, where `rest` of its
/// squared radius remains; 0 if `rest` is negative. This is the root of rest + 1, rounded up. Within the
/// range used here, roots that are not whole exceed a whole number by at least 1 / 256.
unsigned char Reach(int rest) {
    const float root = std::sqrt(static_cast<float>(std::max(rest + 1, 0)));
    return static_cast<unsigned char>(static_cast<int>(root + 0.998F));
}

/// A single call with a ball that is small enough for bytes.
struct StTask {
    StTask(const StSearch& what, const IImage& sourceImage, IImage& resultImage)
        : search(what)
        , square(static_cast<int>(what.square))
        , radius(Reach(square) - 1)
        , source(sourceImage)
        , result(resultImage)
        , dimension(resultImage.Size().Dim()) {}

    [[nodiscard]] static bool Takes(std::int64_t square) {
        return square + 1 < c_farDistance * c_farDistance;
    }

    [[nodiscard]] unsigned char Pixel(bool isNear) const { return isNear == search.findsObject ? 1 : 0; }

    StSearch search;
    int square;
    int radius;
    CImageView<const unsigned char> source;
    CImageView<unsigned char> result;
    int dimension;
};

/// Processes the rows. Writes distances; or the remainder for the last axis, if that is next; or the final
/// result, if x is the last axis.
class CBallRows {
public:
    explicit CBallRows(const StTask& task)
        : m_task(task)
        , m_row(task.result.nx, task.search.isOutsideSeed) {}

    void operator()(std::int64_t y, std::int64_t z) {
        m_row.Measure(m_task.source.Row(y, z), m_task.search.seeds, m_task.radius);
        switch (m_task.dimension) {
        case 1:
            return Write(y, z, [&](int distance) { return m_task.Pixel(distance <= m_task.radius); });
        case 2:
            return Write(
                y, z, [square = m_task.square](int distance) { return Reach(square - distance * distance); });
        default:
            return Write(y, z, [](unsigned char distance) { return distance; });
        }
    }

private:
    template <class Convert>
    void Write(std::int64_t y, std::int64_t z, const Convert& convert) const {
        const unsigned char* const distances = m_row.Distances();
        unsigned char* const __restrict row = m_task.result.Row(y, z);
        const std::int64_t length = m_task.result.nx;
        for (std::int64_t x = 0; x < length; ++x)
            row[x] = convert(distances[x]);
    }

    const StTask& m_task;
    CShortRow m_row;
};

/// Processes the lines along y and z.
class CBallLines {
public:
    CBallLines(const StTask& task, int axis)
        : m_task(task)
        , m_axis(axis)
        , m_length(axis == 1 ? task.result.ny : task.result.nz)
        , m_shortLines(m_length, task.search.isOutsideSeed, 1) {}

    void operator()(std::int64_t other, std::int64_t x, std::int64_t endX, CWorkPace& pace) {
        if (m_axis + 1 == m_task.dimension)
            return Sweep(CLines<unsigned char>(m_task.result, m_axis, other, x), endX - x, pace);
        ForEachLineBlock<c_shortLanes>(x, endX, pace, [&](std::int64_t first, auto count) {
            Minimize(CLines<unsigned char>(m_task.result, m_axis, other, first), count, pace);
        });
    }

    /// Lines that are swept at once.
    static constexpr std::int64_t c_linesPerCall = 256;

private:
    /// Units of work for a place of all lines that are swept.
    static constexpr std::int64_t c_unitsPerSweep = 3 * c_linesPerCall;

    /// Converts distances along x to the remainder for z.
    template <class Count>
    void Minimize(const CLines<unsigned char>& lines, Count count, CWorkPace& pace) {
        const int square = m_task.square;
        m_shortLines.ClearLanesFrom(count);
        if (!GatherLines<c_shortLanes>(
                lines, count, m_shortLines.Values(0), pace, [square](unsigned char distance) {
                    return static_cast<std::int16_t>(std::min(distance * distance, square + 1));
                }))
            return;
        // The result itself shows whether a place is farther away than the ball reaches.
        (void)m_shortLines.Minimize(pace);
        ScatterLines<c_shortLanes>(m_shortLines.Results(0), lines, count, pace,
                                   [square](std::int16_t result) { return Reach(square - result); });
    }

    /// Counts down the reach of each place in both directions, and writes whether it is reached.
    void Sweep(const CLines<unsigned char>& lines, std::int64_t count, CWorkPace& pace) {
        std::array<unsigned char, c_linesPerCall> reaches{};
        const auto pass = [&](unsigned char* row, const auto& convert) {
            for (std::int64_t lane = 0; lane < count; ++lane) {
                auto& reach = reaches[static_cast<std::size_t>(lane)];
                const auto left = static_cast<unsigned char>(std::max<int>(reach, 1) - 1);
                reach = std::max(left, row[lane]);
                row[lane] = convert(reach);
            }
        };
        const unsigned char atEnds = m_task.search.isOutsideSeed ? Reach(m_task.square) : 0;
        reaches.fill(atEnds);
        ForEachPiece(m_length, c_unitsPerSweep, pace, [&](std::int64_t first, std::int64_t end) {
            for (std::int64_t place = first; place < end; ++place)
                pass(lines.Row(place), [](unsigned char reach) { return reach; });
        });
        reaches.fill(atEnds);
        const bool findsObject = m_task.search.findsObject;
        ForEachPiece(m_length, c_unitsPerSweep, pace, [&](std::int64_t first, std::int64_t end) {
            for (std::int64_t place = m_length - 1 - first; place >= m_length - end; --place) {
                pass(lines.Row(place), [findsObject](unsigned char reach) {
                    return static_cast<unsigned char>((reach > 0) == findsObject ? 1 : 0);
                });
            }
        });
    }

    const StTask& m_task;
    int m_axis;
    std::int64_t m_length;
    CShortLines<std::int16_t> m_shortLines;
};

/// Undefined if cancelled.
bool HasSeed(const StSearch& search, const IImage& source, CWorkPace& pace) {
    if (search.isOutsideSeed)
        return true;
    const CImageView<const unsigned char> view(source);
    const auto isSeed = [&](unsigned char pixel) { return (pixel == 0) == (search.seeds == EnSeeds::ZEROS); };
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            if (std::any_of(view.Row(y, z), view.Row(y, z) + view.nx, isSeed))
                return true;
            if (pace.Add(view.nx))
                return false;
        }
    }
    return false;
}

/// The method for large balls.
bool FindInDistanceMap(const StSearch& search, const IImage& source, IImage& result, IProgress& progress) {
    CWorkPace pace(progress);
    const CImageView<unsigned char> to(result);
    if (!HasSeed(search, source, pace)) {
        const unsigned char pixel = search.findsObject ? 0 : 1;
        return ForEachRow(to, 1, pace, [&](std::int64_t y, std::int64_t z) { to.FillRow(y, z, pixel); });
    }
    CImage squares(IMAGE_GREY_32, source.Size(), CSize(0, 0, 0));
    StDistanceTransform transform;
    transform.seeds = search.seeds;
    transform.isOutsideSeed = search.isOutsideSeed;
    if (!TransformDistances(transform, source, squares, progress))
        return false;
    const CImageView<const unsigned> from(squares);
    // Squares saturate only in images that are larger than 65535 pixels across.
    const auto limit = static_cast<unsigned>(std::min<std::int64_t>(search.square, UINT32_MAX));
    return ForEachRowInParallel(to, 1, progress, c_phase, [&](std::int64_t y, std::int64_t z) {
        std::transform(from.Row(y, z), from.Row(y, z) + from.nx, to.Row(y, z), [&](unsigned square) {
            return static_cast<unsigned char>((square <= limit) == search.findsObject ? 1 : 0);
        });
    });
}

/// Returns false if cancelled; the result is then all zeros.
bool Find(const StSearch& search, const IImage& source, IImage& result, IProgress& progress) {
    CheckDistanceImages(c_site, source, result, IMAGE_BINARY_FG);
    bool isDone = true;
    if (StTask::Takes(search.square)) {
        const StTask task(search, source, result);
        const CImageView<unsigned char>& view = task.result;
        const CSeparablePasses passes({view.nx, view.ny, view.nz, task.dimension > 1, task.dimension > 2},
                                      CBallLines::c_linesPerCall, progress);
        const auto makeLines = [&](int firstAxis, int lastAxis) {
            return CRowsAndLines<CBallRows, CBallLines>(
                firstAxis, lastAxis, view.nx * c_unitsPerRowPixel, [&] { return CBallRows(task); },
                [&](int axis) { return CBallLines(task, axis); });
        };
        isDone = view.PixelCount() == 0 || passes.Run(c_phase, makeLines);
    } else {
        isDone = FindInDistanceMap(search, source, result, progress);
    }
    if (!isDone)
        CImageView<unsigned char>(result).Fill(0);
    return isDone;
}

/// Copies the whole of the smaller of two images, which lies in the larger one with the given margin around
/// it. Returns false if cancelled.
bool CopyBox(const IImage& source, const CPos& sourceMargin, IImage& target, const CPos& targetMargin,
             CWorkPace& pace) {
    const CImageView<const unsigned char> from(source);
    const CImageView<unsigned char> to(target);
    const auto rowOf = [](const auto& view, const CPos& margin, std::int64_t y, std::int64_t z) {
        return view.Row(y + margin.y, z + margin.z) + margin.x;
    };
    const auto copy = [&](std::int64_t y, std::int64_t z) {
        std::copy_n(rowOf(from, sourceMargin, y, z), std::min(from.nx, to.nx), rowOf(to, targetMargin, y, z));
    };
    return from.nx < to.nx ? ForEachRow(from, 1, pace, copy) : ForEachRow(to, 1, pace, copy);
}

/// Closing with a small ball. Adds a border as wide as the ball around the image; takes one byte per pixel.
bool CloseWithBorder(const IImage& source, IImage& result, std::int64_t square, IProgress& progress) {
    const auto reach = static_cast<std::int64_t>(std::sqrt(static_cast<double>(square)));
    CSize size = source.Size();
    CPos margin(0, 0, 0);
    for (int axis = 0; axis < size.Dim(); ++axis) {
        margin[axis] = reach;
        size[axis] += 2 * reach;
    }
    CheckDistanceExtents(c_site, size);
    CImage image(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
    CWorkPace pace(progress);
    return CopyBox(source, CPos(0, 0, 0), image, margin, pace) &&
           Find(Dilation(square), image, image, progress) &&
           Find(Erosion(square, false), image, image, progress) &&
           CopyBox(image, margin, result, CPos(0, 0, 0), pace);
}

} // namespace

CSphericalMorphology::CSphericalMorphology(const char* name, const IObject* parent)
    : CAlgorithm(name, parent) {}

void CSphericalMorphology::Erode(IImage& result, IImage& source, float radius) {
    Find(Erosion(SquaredRadius(radius), true), source, result, Progress());
}

void CSphericalMorphology::Dilate(IImage& result, IImage& source, float radius) {
    Find(Dilation(SquaredRadius(radius)), source, result, Progress());
}

void CSphericalMorphology::Opening(IImage& result, IImage& source, float radius) {
    const std::int64_t square = SquaredRadius(radius);
    if (Find(Erosion(square, true), source, result, Progress()))
        Find(Dilation(square), result, result, Progress());
}

void CSphericalMorphology::Closing(IImage& result, IImage& source, float radius) {
    const std::int64_t square = SquaredRadius(radius);
    CheckDistanceImages(c_site, source, result, IMAGE_BINARY_FG);
    if (source.Size().PixelCount() == 0)
        return;
    // The dilation extends beyond the border, and the area that it leaves free there affects the erosion.
    const bool isDone = StTask::Takes(square) ? CloseWithBorder(source, result, square, Progress())
                                              : CloseWithLargeBall(source, result, square, Progress());
    if (!isDone)
        CImageView<unsigned char>(result).Fill(0);
}

void CSphericalMorphology::ReflectedErosion(IImage& result, IImage& source, float radius) {
    Find(Erosion(SquaredRadius(radius), false), source, result, Progress());
}

void CSphericalMorphology::ReflectedDilation(IImage& result, IImage& source, float radius) {
    Dilate(result, source, radius);
}

} // namespace ORVEN
