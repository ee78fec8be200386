#include "QuillonGranulometry/CGranulometry.h"

#include "QuillonGranulometry/BallLists.h"
#include "QuillonGranulometry/CDiameterWriter.h"
#include "QuillonGranulometry/CDiameters.h"
#include "QuillonGranulometry/CSquaredDistanceImage.h"
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

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

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

/// Replaces squared distances by diameters. Returns false if cancelled.
bool WriteDiameters(const CLayerView<float>& output, CDiameterWriter& writer, IProgress& progress) {
    return ForEachGroup(output, progress, "diameters",
                        [&](std::int64_t firstZ, std::int64_t endZ, CWorkPace& pace) {
                            CDiameterWriter::CTurn turn(writer);
                            output.ForEachRow(firstZ, endZ, 8, pace, [&](std::int64_t y, std::int64_t z) {
                                turn.Write({output.Row(y, z), static_cast<std::size_t>(output.nx)});
                            });
                        });
}

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

void Copy(const CLayerView<const std::int32_t>& distances, const CLayerView<float>& output) {
    for (std::int64_t z = 0; z < output.nz; ++z) {
        for (std::int64_t y = 0; y < output.ny; ++y)
            std::transform(distances.Row(y, z), distances.Row(y, z) + output.nx, output.Row(y, z), PixelOf);
    }
}

/// The arguments of one call.
struct StMeasurement {
    const IImage& input;
    IImage& output;
    const CLayerView<float>& pixels;
    bool isFiltered;
    bool isOnForeground;
    bool isLimitedByOutside;
    CDiameterWriter& writer;
    IProgress& progress;

    /// Writes and counts diameters. Returns false if cancelled.
    [[nodiscard]] bool Measure() const {
        if (!isFiltered)
            return MeasureOpeningSizes();
        // In 3-d images limited by background there is a faster way to find the same balls.
        const bool isMedialAxis = isLimitedByOutside && input.Size().Dim() == 3;
        return (isMedialAxis ? KeepMedialAxis() : KeepMaximalBalls()) &&
               WriteDiameters(pixels, writer, progress);
    }

private:
    /// Returns the greatest squared distance, or nothing if cancelled.
    [[nodiscard]] std::optional<std::int32_t> TransformDistancesTo(IImage& squaredDistances) const {
        StDistanceTransform transform;
        transform.seeds = isOnForeground ? EnSeeds::ZEROS : EnSeeds::NON_ZEROS;
        transform.isOutsideSeed = isLimitedByOutside;
        const auto range = TransformDistances(transform, input, squaredDistances, progress);
        if (!range)
            return std::nullopt;
        constexpr double limit = 1 << 30;
        if (range->maximum > limit) {
            Clear(pixels);
            throw CExBadParam(
                Impl::Here(c_function),
                CString("Squared distances of an image of size %1 are too large.", CString::ENC_UTF8)
                    .Arg(input.Size().ToString()));
        }
        return static_cast<std::int32_t>(range->maximum);
    }

    /// Distances and sizes share the pixels of the output: most of the time goes into reaching the memory.
    [[nodiscard]] bool MeasureOpeningSizes() const {
        CSquaredDistanceImage squaredDistances(output);
        const auto greatest = TransformDistancesTo(squaredDistances);
        if (!greatest)
            return false;
        const CLayerView<const std::int32_t> distances(std::as_const(squaredDistances));
        StBalls balls(input.Size().Dim(), distances, *greatest);
        return FindCandidates(balls, progress) && Cover(balls, &writer);
    }

    [[nodiscard]] bool KeepMedialAxis() const {
        CSquaredDistanceImage squaredDistances(output);
        if (!TransformDistancesTo(squaredDistances))
            return false;
        CImage medialAxis(IMAGE_BINARY_FG, input.Size(), CSize(0, 0, 0));
        MarkMedialAxis(squaredDistances, medialAxis, 0, {}, progress);
        if (progress.IsCancelled())
            return false;
        const CLayerView<const unsigned char> marks(medialAxis);
        const CLayerView<const std::int32_t> distances(std::as_const(squaredDistances));
        return Keep(distances, pixels, progress,
                    [&marks](std::int64_t x, std::int64_t y, std::int64_t z, CWorkPace& /*pace*/) {
                        return marks.Row(y, z)[x] != 0;
                    });
    }

    [[nodiscard]] bool KeepMaximalBalls() const {
        CImage squaredDistances(IMAGE_GREY_32, input.Size(), CSize(0, 0, 0));
        const auto greatest = TransformDistancesTo(squaredDistances);
        if (!greatest)
            return false;
        const CLayerView<const std::int32_t> distances(squaredDistances);
        StBalls balls(input.Size().Dim(), distances, *greatest);
        if (!FindCandidates(balls, progress))
            return false;
        Copy(distances, pixels);
        return Cover(balls, nullptr) &&
               Keep(distances, pixels, progress,
                    [&](std::int64_t x, std::int64_t y, std::int64_t z, CWorkPace& pace) {
                        return balls.candidates.Has(pixels.RowNumber(y, z), x) &&
                               IsMaximalBall(balls, x, y, z, SquaredDistanceOf(pixels.Row(y, z)[x]), pace);
                    });
    }

    [[nodiscard]] bool Cover(StBalls& balls, CDiameterWriter* writerOfSizes) const {
        CWorkPace pace(progress);
        const CBallList list = SortedLargeBalls(balls, pace);
        return !pace.IsCancelled() && CoverWithBalls(list.Balls(), pixels, progress) &&
               CoverWithSmallBalls(balls.small, pixels, writerOfSizes, progress);
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
    const CDiameters diameters(input, stepWidth);
    CDiameterWriter writer(diameters);
    const StMeasurement measurement{input,  output,    pixels, isFiltered, onForeground, isLimitedByOutside,
                                    writer, Progress()};
    if (!measurement.Measure())
        return Clear(pixels);
    CWorkPace pace(Progress());
    for (const auto& [squaredDistance, count] : writer.Sizes()) {
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
