#include "QuillonTransformation/distance/DistanceTransform.h"

#include "QuillonTransformation/distance/CLowerEnvelope.h"
#include "QuillonTransformation/distance/ShortDistances.h"

#include <QuillonBase/LineBlocks.h>
#include <QuillonBase/SeparablePasses.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/ImageChecks.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <mutex>
#include <type_traits>

// One axis after the other, x first, in place in the map. The rows of a plane are measured directly from the
// binary image and then transformed along y while they are in the cache, one plane at a time; the lines along
// z follow. Along y and z, 32 neighbouring lines are processed at once; each of their pixel rows takes two
// cache lines of the map.
//
// There are two ways to transform such a group of lines. Where no result is farther than 127 pixels from a
// seed, the whole group is transformed by trying the neighbours one after the other, in 16-bit integers as
// long as pixels have length 1, and in doubles otherwise. Elsewhere each line is transformed with the lower
// envelope, whose time does not depend on the distances. Both compute the minimum of the same doubles, or of
// whole numbers that are exact in either representation, so the result is the same whichever is used.

namespace ORVEN {

namespace {

constexpr std::int64_t c_lanes = c_shortLanes;

/// Lines along y and z that a thread processes in one go: a run of pixels that is long enough for the
/// processor to fetch ahead.
constexpr std::int64_t c_linesPerCall = 256;

constexpr std::int64_t c_unitsPerRowPixel = 24;

/// Performs the steps that follow the squared distances, and finds the extrema of the map.
template <class T>
class CFinisher {
public:
    explicit CFinisher(const StDistanceTransform& transform)
        : m_factor(transform.factor)
        , m_isSquared(transform.isSquared) {}

    void Finish(float* row, std::int64_t count) {
        constexpr float largest = std::numeric_limits<float>::max();
        Replace(row, count, [factor = static_cast<float>(m_factor), isSquared = m_isSquared](float pixel) {
            const float product = pixel == c_noSeed<float> ? 0.0F : factor * pixel;
            const float squared = product <= largest ? product : largest;
            return isSquared ? squared : std::sqrt(squared);
        });
    }

    void Finish(unsigned* row, std::int64_t count) {
        if (m_isSquared && m_factor == 1.0)
            return Replace(row, count,
                           [](unsigned pixel) { return pixel == c_noSeed<unsigned> ? 0U : pixel; });
        Replace(row, count, [factor = m_factor, isSquared = m_isSquared](unsigned pixel) {
            const double product = pixel == c_noSeed<unsigned> ? 0.0 : factor * pixel;
            const auto squared = StoredDistance<unsigned>(product);
            return isSquared ? squared : static_cast<unsigned>(std::sqrt(static_cast<double>(squared)));
        });
    }

    [[nodiscard]] StDistanceRange Range() const {
        return {static_cast<double>(std::bit_cast<T>(m_minimum)),
                static_cast<double>(std::bit_cast<T>(m_maximum))};
    }

private:
    template <class Finished>
    void Replace(T* row, std::int64_t count, const Finished& finished) {
        std::uint32_t minimum = m_minimum;
        std::uint32_t maximum = m_maximum;
        for (std::int64_t x = 0; x < count; ++x) {
            row[x] = finished(row[x]);
            // Non-negative floats have the same order as their bits.
            const auto bits = std::bit_cast<std::uint32_t>(row[x]);
            minimum = std::min(minimum, bits);
            maximum = std::max(maximum, bits);
        }
        m_minimum = minimum;
        m_maximum = maximum;
    }

    double m_factor;
    bool m_isSquared;
    std::uint32_t m_minimum = std::bit_cast<std::uint32_t>(std::numeric_limits<T>::max());
    std::uint32_t m_maximum = 0;
};

/// The images and parameters of a call.
template <class T>
struct StTask {
    StTask(const StDistanceTransform& what, const IImage& binaryImage, IImage& mapImage)
        : transform(what)
        , binary(binaryImage)
        , map(mapImage)
        , dimension(mapImage.Size().Dim()) {
        for (double& weight : transform.weights)
            weight = StoredWeight<T>(weight);
        transform.factor = StoredWeight<T>(transform.factor);
    }

    /// Whether the results of the previous axes are whole numbers.
    [[nodiscard]] bool HoldsWholeNumbers(int axis) const {
        return std::all_of(transform.weights.begin(), transform.weights.begin() + axis,
                           [](double weight) { return weight == std::round(weight); });
    }

    /// Calls `write` with the function to apply to each row that it has written, if this is the last axis.
    template <class Write>
    void FinishIfLast(int axis, const Write& write) {
        if (axis + 1 < dimension)
            return write([](T* /*row*/, std::int64_t /*count*/) {});
        CFinisher<T> finisher(transform);
        write([&finisher](T* row, std::int64_t count) { finisher.Finish(row, count); });
        const std::lock_guard lock(m_rangeGuard);
        range.minimum = std::min(range.minimum, finisher.Range().minimum);
        range.maximum = std::max(range.maximum, finisher.Range().maximum);
    }

    StDistanceTransform transform;
    CImageView<const unsigned char> binary;
    CImageView<T> map;
    int dimension;
    StDistanceRange range{std::numeric_limits<double>::max(), 0.0}; ///< of the finished pixels

private:
    std::mutex m_rangeGuard;
};

/// Processes the rows along x.
template <class T>
class CRowTransformer {
public:
    explicit CRowTransformer(StTask<T>& task)
        : m_task(task)
        , m_weight(task.transform.weights[0])
        , m_shortRow(task.map.nx, task.transform.isOutsideSeed) {}

    void operator()(std::int64_t y, std::int64_t z) {
        T* const row = m_task.map.Row(y, z);
        const std::int64_t length = m_task.map.nx;
        const bool isFar =
            m_shortRow.Measure(m_task.binary.Row(y, z), m_task.transform.seeds, c_farDistance - 1);
        const unsigned char* const distances = m_shortRow.Distances();
        if (isFar || !std::isfinite(m_weight)) {
            for (std::int64_t x = 0; x < length; ++x)
                row[x] = distances[x] == 0 ? T{0} : c_noSeed<T>;
            m_envelope.Transform(row, length, sizeof(T), m_weight, m_task.transform.isOutsideSeed);
        } else if (m_weight == 1.0) {
            for (std::int64_t x = 0; x < length; ++x)
                row[x] = static_cast<T>(distances[x] * distances[x]);
        } else {
            for (std::int64_t x = 0; x < length; ++x)
                row[x] = StoredDistance<T>(m_weight * (distances[x] * distances[x]));
        }
        m_task.FinishIfLast(0, [&](const auto& finish) { finish(row, length); });
    }

private:
    StTask<T>& m_task;
    double m_weight;
    CShortRow m_shortRow;
    CLowerEnvelope m_envelope;
};

/// Processes the lines along y or z.
template <class T>
class CLineTransformer {
public:
    CLineTransformer(StTask<T>& task, int axis)
        : m_task(task)
        , m_axis(axis)
        , m_length(axis == 1 ? task.map.ny : task.map.nz)
        , m_weight(task.transform.weights[static_cast<std::size_t>(axis)])
        , m_lines(m_length) {
        const bool isOutsideSeed = task.transform.isOutsideSeed;
        if (m_weight == 1.0 && task.HoldsWholeNumbers(axis))
            m_shortIntegers.emplace(m_length, isOutsideSeed, std::int16_t{1});
        else if (std::isfinite(m_weight))
            m_shortDoubles.emplace(m_length, isOutsideSeed, m_weight);
    }

    void operator()(std::int64_t other, std::int64_t x, std::int64_t endX, CWorkPace& pace) {
        m_task.FinishIfLast(m_axis, [&](const auto& finish) {
            ForEachLineBlock<c_lanes>(x, endX, pace, [&](std::int64_t first, auto count) {
                TransformLines(CLines<T>(m_task.map, m_axis, other, first), count, finish, pace);
            });
        });
    }

private:
    static constexpr std::int64_t c_unitsPerEnvelopePlace = 16;

    template <class Count, class Finish>
    void TransformLines(const CLines<T>& lines, Count count, const Finish& finish, CWorkPace& pace) {
        const auto isShort = [&](auto& shortLines) {
            return shortLines && TransformShort(*shortLines, lines, count, finish, pace);
        };
        if (!isShort(m_shortIntegers) && !isShort(m_shortDoubles) && !pace.IsCancelled())
            TransformByEnvelope(lines, count, finish, pace);
    }

    [[nodiscard]] static std::int16_t Value(T value, std::int16_t tooFar) {
        return static_cast<std::int16_t>(std::min(value, static_cast<T>(tooFar)));
    }
    [[nodiscard]] static double Value(T value, double tooFar) {
        // Compares and selects bits: with numbers, the compiler would convert in one branch only, and would
        // not vectorise the loop.
        constexpr auto noSeed = std::bit_cast<std::uint64_t>(static_cast<double>(c_noSeed<T>));
        const auto bits = std::bit_cast<std::uint64_t>(static_cast<double>(value));
        return std::bit_cast<double>(bits == noSeed ? std::bit_cast<std::uint64_t>(tooFar) : bits);
    }

    [[nodiscard]] static T Result(std::int16_t result) { return static_cast<T>(result); }
    [[nodiscard]] static T Result(double result) { return StoredDistance<T>(result); }

    template <class Number, class Count, class Finish>
    static bool TransformShort(CShortLines<Number>& shortLines, const CLines<T>& lines, Count count,
                               const Finish& finish, CWorkPace& pace) {
        const Number tooFar = shortLines.TooFar();
        shortLines.ClearLanesFrom(count);
        return GatherLines<c_lanes>(lines, count, shortLines.Values(0), pace,
                                    [=](T value) { return Value(value, tooFar); }) &&
               shortLines.Minimize(pace) &&
               ScatterLines<c_lanes>(
                   shortLines.Results(0), lines, count, pace, [](Number result) { return Result(result); },
                   finish);
    }

    template <class Count, class Finish>
    void TransformByEnvelope(const CLines<T>& lines, Count count, const Finish& finish, CWorkPace& pace) {
        const auto same = [](T value) { return value; };
        if (!GatherLines<c_lanes>(lines, count, m_lines.Row(0), pace, same))
            return;
        for (std::int64_t lane = 0; lane < count; ++lane) {
            m_envelope.Transform(m_lines.Row(0) + lane, m_length, c_lanes * std::int64_t{sizeof(T)}, m_weight,
                                 m_task.transform.isOutsideSeed);
            if (pace.Add(m_length * c_unitsPerEnvelopePlace))
                return;
        }
        ScatterLines<c_lanes>(m_lines.Row(0), lines, count, pace, same, finish);
    }

    StTask<T>& m_task;
    int m_axis;
    std::int64_t m_length;
    double m_weight;
    std::optional<CShortLines<std::int16_t>> m_shortIntegers;
    std::optional<CShortLines<double>> m_shortDoubles;
    CLowerEnvelope m_envelope;
    CLineBlock<T, c_lanes> m_lines;
};

template <class T>
std::optional<StDistanceRange> FillMap(const StDistanceTransform& transform, const IImage& binary,
                                       IImage& distance, IProgress& progress) {
    StTask<T> task(transform, binary, distance);
    const CImageView<T>& map = task.map;
    if (map.PixelCount() == 0)
        return StDistanceRange{0.0, 0.0};
    const CSeparablePasses passes({map.nx, map.ny, map.nz, task.dimension > 1, task.dimension > 2},
                                  c_linesPerCall, progress);
    const bool isDone = passes.Run("Distance transform", [&](int firstAxis, int lastAxis) {
        return CRowsAndLines<CRowTransformer<T>, CLineTransformer<T>>(
            firstAxis, lastAxis, map.nx * c_unitsPerRowPixel, [&] { return CRowTransformer<T>(task); },
            [&](int axis) { return CLineTransformer<T>(task, axis); });
    });
    if (isDone)
        return task.range;
    map.Fill(T{0});
    return std::nullopt;
}

} // namespace

std::optional<StDistanceRange> TransformDistances(const StDistanceTransform& transform, const IImage& binary,
                                                  IImage& distance, IProgress& progress) {
    return distance.Type() == IMAGE_GREY_F ? FillMap<float>(transform, binary, distance, progress)
                                           : FillMap<unsigned>(transform, binary, distance, progress);
}

void CheckDistanceImages(const char* function, const IImage& binary, const IImage& result,
                         const IImage::CType& resultType) {
    if (!(binary.Type() == IMAGE_BINARY_FG) || !(result.Type() == resultType)) {
        throw CException(
            Impl::Here(function),
            CString("Images are of types %1 and %2 and not of types %3 and %4.", CString::ENC_UTF8)
                .Arg(binary.Type().ToString())
                .Arg(result.Type().ToString())
                .Arg(IMAGE_BINARY_FG.ToString())
                .Arg(resultType.ToString()));
    }
    RequireSameSize(function, "Result", result, "image", binary);
    CheckDistanceExtents(function, binary.Size());
}

void CheckDistanceExtents(const char* function, const CSize& size) {
    for (int axis = 0; axis < size.Dim(); ++axis) {
        if (size[axis] >= c_tooLargeExtent) {
            throw CException(
                Impl::Here(function),
                CString("Image of size %1 is too large: extents must be below %2.", CString::ENC_UTF8)
                    .Arg(size.ToString())
                    .Arg(static_cast<long long>(c_tooLargeExtent), 0));
        }
    }
}

} // namespace ORVEN
