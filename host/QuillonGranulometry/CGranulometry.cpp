#include "QuillonGranulometry/CGranulometry.h"

#include "QuillonGranulometry/BallLists.h"
#include "QuillonGranulometry/CoverWithBalls.h"
#include "QuillonGranulometry/CoverWithSmallBalls.h"
#include "QuillonGranulometry/IsMaximalBall.h"
#include "QuillonGranulometry/StBalls.h"

#include <QuillonBase/CWorkPace.h>
#include <QuillonTransformation/axis/MedialAxisKernel.h>
#include <QuillonTransformation/distance/DistanceTransform.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>
#include <vector>

namespace ORVEN {

namespace {

const char* const c_function = "CGranulometry::DoSphereGranulometryBinned";

void RequireType(const IImage& image, const IImage::CType& type) {
    if (!(image.Type() == type))
        throw CException(
            Impl::Here(c_function),
            CString("Image type %1 not supported.", CString::ENC_UTF8).Arg(image.Type().ToString()));
}

void RequireImages(const IImage& input, const IImage& output) {
    RequireType(input, IMAGE_BINARY_FG);
    RequireType(output, IMAGE_GREY_F);
    if (!(input.Size() == output.Size())) {
        throw CExBadParam(Impl::Here(c_function), CString("Image sizes differ: %1 vs %2.", CString::ENC_UTF8)
                                                      .Arg(input.Size().ToString())
                                                      .Arg(output.Size().ToString()));
    }
    CheckDistanceExtents(c_function, input.Size());
}

/// Number of pixels for each squared distance.
using SquaredSizes = std::map<std::int32_t, std::uint64_t>;

/// Converts squared distances to the reported diameters.
class CDiameters {
public:
    CDiameters(const IImage& image, double stepWidth)
        : m_stepWidth(std::isfinite(stepWidth) && stepWidth > 0.0 ? stepWidth : 0.0) {
        double x = 1.0;
        double y = 1.0;
        double z = 1.0;
        CQuillonHeaderTools::GetSpacing(image, x, y, z);
        m_spacing = std::isfinite(x) && x > 0.0 ? x : 1.0;
    }

    [[nodiscard]] float Of(std::int32_t squaredDistance) const {
        const double diameter = 2.0 * std::sqrt(static_cast<double>(squaredDistance)) * m_spacing;
        if (m_stepWidth == 0.0)
            return static_cast<float>(diameter);
        // A diameter that is a multiple of the step width must not lose a step by rounding.
        constexpr double tolerance = 1e-9;
        return static_cast<float>(std::floor(diameter / m_stepWidth + tolerance) * m_stepWidth);
    }

private:
    double m_spacing;
    double m_stepWidth;
};

/// The result is meaningless if cancelled.
std::int32_t GreatestDistance(const IImage& squaredDistances, CWorkPace& pace) {
    const CImageView<const std::uint32_t> view(squaredDistances);
    std::uint32_t greatest = 0;
    ForEachRow(view, 1, pace, [&](std::int64_t y, std::int64_t z) {
        const std::uint32_t* const row = view.Row(y, z);
        std::uint32_t greatestOfRow = 0;
        for (std::int64_t x = 0; x < view.nx; ++x)
            greatestOfRow = std::max(greatestOfRow, row[x]);
        greatest = std::max(greatest, greatestOfRow);
    });
    constexpr std::uint32_t limit = 1U << 30;
    if (greatest > limit) {
        throw CExBadParam(
            Impl::Here(c_function),
            CString("Squared distances of an image of size %1 are too large.", CString::ENC_UTF8)
                .Arg(squaredDistances.Size().ToString()));
    }
    return static_cast<std::int32_t>(greatest);
}

/// Calls `body(firstZ, endZ, pace)` for groups of layers, in parallel. Returns false if cancelled.
template <class T, class Body>
bool ForEachGroup(const CLayerView<T>& view, IProgress& progress, const char* phase, const Body& body) {
    const std::int64_t thickness = view.LayersPerItem();
    const std::int64_t itemCount = (view.nz + thickness - 1) / thickness;
    progress.Start(static_cast<unsigned>(itemCount), phase);
    const bool isDone = ParallelFor(itemCount, progress, [&](CWorkerTurn& turn) {
        return [&, pace = CWorkPace(turn)](std::int64_t item) mutable {
            body(item * thickness, std::min((item + 1) * thickness, view.nz), pace);
        };
    });
    progress.Finish();
    return isDone;
}

/// Replaces squared distances by diameters, and counts the pixels of each squared distance.
class CDiameterWriter {
public:
    CDiameterWriter(const CLayerView<float>& output, const CDiameters& diameters)
        : m_output(output)
        , m_diameters(diameters) {
        for (std::int32_t squaredDistance = 0; squaredDistance < c_tabled; ++squaredDistance)
            m_table.push_back(diameters.Of(squaredDistance));
    }

    /// Returns false if cancelled.
    [[nodiscard]] bool Write(SquaredSizes& sizes, IProgress& progress) const {
        std::mutex guard;
        return ForEachGroup(
            m_output, progress, "diameters", [&](std::int64_t firstZ, std::int64_t endZ, CWorkPace& pace) {
                StCounts counts;
                m_output.ForEachRow(firstZ, endZ, 8, pace, [&](std::int64_t y, std::int64_t z) {
                    WriteRow(m_output.Row(y, z), counts);
                });
                const std::lock_guard lock(guard);
                counts.AddTo(sizes);
            });
    }

private:
    /// Smaller squared distances are frequent; the others, of large balls, come in long runs.
    static constexpr std::int32_t c_tabled = 1 << 12;
    static constexpr std::int64_t c_columns = 4;

    struct StCounts {
        /// Neighbouring pixels, which are often equal, count in different places.
        std::array<std::array<std::uint64_t, c_tabled>, c_columns> tabled{};
        SquaredSizes others;

        void AddTo(SquaredSizes& sizes) const {
            for (std::int32_t squaredDistance = 1; squaredDistance < c_tabled; ++squaredDistance) {
                std::uint64_t count = 0;
                for (const auto& column : tabled)
                    count += column[static_cast<std::size_t>(squaredDistance)];
                if (count > 0)
                    sizes[squaredDistance] += count;
            }
            for (const auto& [squaredDistance, count] : others)
                sizes[squaredDistance] += count;
        }
    };

    void WriteRow(float* row, StCounts& counts) const {
        for (std::int64_t x = 0; x < m_output.nx;) {
            const std::int32_t squaredDistance = SquaredDistanceOf(row[x]);
            if (squaredDistance < c_tabled) {
                const auto index = static_cast<std::size_t>(squaredDistance);
                row[x] = m_table[index];
                ++counts.tabled[static_cast<std::size_t>(x % c_columns)][index];
                ++x;
                continue;
            }
            const float diameter = m_diameters.Of(squaredDistance);
            const std::int64_t first = x;
            do {
                row[x++] = diameter;
            } while (x < m_output.nx && SquaredDistanceOf(row[x]) == squaredDistance);
            counts.others[squaredDistance] += static_cast<std::uint64_t>(x - first);
        }
    }

    const CLayerView<float>& m_output;
    const CDiameters& m_diameters;
    std::vector<float> m_table;
};

/// Writes the squared distances of the pixels for which `isKept(x, y, z, pace)` is true, and 0 elsewhere.
/// Returns false if cancelled.
template <class IsKept>
bool Keep(const CLayerView<const std::int32_t>& distances, const CLayerView<float>& output,
          IProgress& progress, const IsKept& isKept) {
    const auto keepGroup = [&](std::int64_t firstZ, std::int64_t endZ, CWorkPace& pace) {
        output.ForEachRow(firstZ, endZ, 4, pace, [&](std::int64_t y, std::int64_t z) {
            const std::int32_t* const distanceRow = distances.Row(y, z);
            float* const row = output.Row(y, z);
            for (std::int64_t x = 0; x < output.nx && !pace.IsCancelled(); ++x)
                row[x] = PixelOf(isKept(x, y, z, pace) ? distanceRow[x] : 0);
        });
    };
    return ForEachGroup(output, progress, "maximal balls", keepGroup);
}

void Clear(const CLayerView<float>& output) {
    for (std::int64_t z = 0; z < output.nz; ++z) {
        for (std::int64_t y = 0; y < output.ny; ++y)
            std::fill_n(output.Row(y, z), output.nx, 0.0F);
    }
}

/// The arguments of one call.
struct StMeasurement {
    const IImage& input;
    const CLayerView<float>& output;
    bool isFiltered;
    bool isOnForeground;
    bool isLimitedByOutside;
    IProgress& progress;

    /// Writes squared distances. Returns false if cancelled.
    [[nodiscard]] bool Measure() const {
        CImage squaredDistances(IMAGE_GREY_32, input.Size(), CSize(0, 0, 0));
        StDistanceTransform transform;
        transform.seeds = isOnForeground ? EnSeeds::ZEROS : EnSeeds::NON_ZEROS;
        transform.isOutsideSeed = isLimitedByOutside;
        if (!TransformDistances(transform, input, squaredDistances, progress))
            return false;
        CWorkPace paceOfSearch(progress);
        const std::int32_t greatest = GreatestDistance(squaredDistances, paceOfSearch);
        if (paceOfSearch.IsCancelled())
            return false;
        const CLayerView<const std::int32_t> distances(squaredDistances);
        if (greatest == 0)
            return Keep(distances, output, progress, [](auto...) { return false; });
        if (isFiltered && isLimitedByOutside && input.Size().Dim() == 3) {
            // In 3-d images limited by background there is a faster way to find the same balls.
            CImage medialAxis(IMAGE_BINARY_FG, input.Size(), CSize(0, 0, 0));
            MarkMedialAxis(squaredDistances, medialAxis, 0, {}, progress);
            const CLayerView<const unsigned char> marks(medialAxis);
            return !progress.IsCancelled() &&
                   Keep(distances, output, progress,
                        [&marks](std::int64_t x, std::int64_t y, std::int64_t z, CWorkPace& /*pace*/) {
                            return marks.Row(y, z)[x] != 0;
                        });
        }

        StBalls balls{input.Size().Dim(), distances, greatest, CBitRows(output.nx, output.ny * output.nz)};
        if (!FindCandidates(balls, progress))
            return false;
        if (!FindOpeningSizes(balls))
            return false;
        return !isFiltered ||
               Keep(distances, output, progress,
                    [&](std::int64_t x, std::int64_t y, std::int64_t z, CWorkPace& pace) {
                        return balls.candidates.Has(output.RowNumber(y, z), x) &&
                               IsMaximalBall(balls, x, y, z, SquaredDistanceOf(output.Row(y, z)[x]), pace);
                    });
    }

private:
    [[nodiscard]] bool FindOpeningSizes(const StBalls& balls) const {
        CWorkPace pace(progress);
        const CBallList list = SortedCandidates(balls, c_greatestSmallBall, pace);
        return !pace.IsCancelled() && CoverWithBalls(list.Balls(), output, progress) &&
               CoverWithSmallBalls(balls, output, progress);
    }
};

} // namespace

CGranulometry::CGranulometry(const char* name, const IObject* parent)
    : CAlgorithm(name, parent) {}

void CGranulometry::DoSphereGranulometryBinned(const IImage& input, IImage& output,
                                               std::map<float, std::uint64_t>& histogram, double stepWidth,
                                               bool isFiltered, bool onForeground, int mode) {
    RequireImages(input, output);
    histogram.clear();
    const CLayerView<float> pixels(output);
    const bool isLimitedByOutside = (mode & 1) == 0;
    const StMeasurement measurement{input, pixels, isFiltered, onForeground, isLimitedByOutside, Progress()};
    const CDiameters diameters(input, stepWidth);
    SquaredSizes sizes;
    if (!measurement.Measure() || !CDiameterWriter(pixels, diameters).Write(sizes, Progress()))
        return Clear(pixels);
    CWorkPace pace(Progress());
    for (const auto& [squaredDistance, count] : sizes) {
        const float diameter = diameters.Of(squaredDistance);
        if (diameter != 0.0F)
            histogram[diameter] += count;
        if (pace.Add(64)) {
            histogram.clear();
            return Clear(pixels);
        }
    }
}

} // namespace ORVEN
