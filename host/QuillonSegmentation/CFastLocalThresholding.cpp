#include "QuillonSegmentation/CFastLocalThresholding.h"

#include <QuillonBase/Parallel.h>
#include <QuillonBase/VectorDispatch.h>
#include <sorblib2image/GreyTypeDispatch.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <optional>
#include <type_traits>
#include <vector>

// The box of a pixel is summed one axis after the other, z first. A plane of sums over z advances by one
// plane at a time: the pixels that enter are added and those that leave are subtracted, directly from the
// image. While the plane is processed row by row, a row of sums over z and y advances in the same way. Only
// one row, in the first-level cache, then remains to be summed along x. So each pixel is added and subtracted
// once per axis, whatever w is. For integers this is exact. Floats are stored as unevaluated pairs (high,
// low), so that subtracting a value that was added leaves no residue, and along x they are summed without any
// subtraction.
//
// Planes are divided into chunks, the units of parallel work, each of which sums its first window from
// scratch. The start of each chunk depends only on the image and w. Where there are too few chunks to keep
// all threads busy, those of integers are divided into bands of rows. A band sums its first rows from scratch
// and advances the planes of w more rows at both sides. Sums of floats depend on where they start.
//
// The inner loops are simple loops over a row, so that the compiler can vectorise them.

namespace ORVEN {

namespace {

using UInt128 = unsigned __int128;

constexpr std::int32_t c_niblack = 0;
constexpr std::int32_t c_sauvola = 1;

/// The windows along one axis: at most w to both sides, clipped at the ends.
struct StAxis {
    StAxis(std::int64_t extent, std::int64_t halfWidth)
        : length(extent)
        , w(std::clamp<std::int64_t>(halfWidth, 0, extent - 1)) {}

    [[nodiscard]] std::int64_t First(std::int64_t i) const { return std::max<std::int64_t>(i - w, 0); }
    [[nodiscard]] std::int64_t Last(std::int64_t i) const { return std::min(i + w, length - 1); }
    [[nodiscard]] std::int64_t Count(std::int64_t i) const { return Last(i) - First(i) + 1; }
    [[nodiscard]] std::int64_t LargestCount() const { return std::min(2 * w + 1, length); }
    [[nodiscard]] bool Contains(std::int64_t i) const { return i >= 0 && i < length; }

    std::int64_t length;
    std::int64_t w;
};

/// The images and the parameters of a call that are the same for each pixel.
template <class T>
struct StTask {
    StTask(const CFastLocalThresholding& algorithm, IImage& outputImage, const IImage& inputImage)
        : input(CImageView<const T>(inputImage).WithRowsAsPlanes())
        , output(CImageView<unsigned char>(outputImage).WithRowsAsPlanes())
        , x(input.nx, algorithm.m_nWindowSize)
        , y(input.ny, algorithm.m_nWindowSize)
        , z(input.nz, algorithm.m_nWindowSize)
        , chunkDepth(std::max<std::int64_t>(32, 2 * z.w + 1))
        , bandCount(std::is_integral_v<T> ? BandCount() : 1)
        , isSauvola(algorithm.m_nMethod == c_sauvola)
        , k(algorithm.m_fCoefficient)
        , progress(algorithm.Progress()) {
        for (std::int64_t i = 0; i < x.length; ++i)
            countsX.push_back(static_cast<double>(x.Count(i)));
    }

    [[nodiscard]] const T* InputRow(std::int64_t row, std::int64_t plane) const {
        return z.Contains(plane) ? input.Row(row, plane) : outside.data();
    }
    [[nodiscard]] double CountYZ(std::int64_t row, std::int64_t plane) const {
        return static_cast<double>(y.Count(row) * z.Count(plane));
    }
    [[nodiscard]] std::int64_t ItemCount() const { return ChunkCount() * bandCount; }

    CImageView<const T> input;
    CImageView<unsigned char> output;
    StAxis x;
    StAxis y;
    StAxis z;
    std::int64_t chunkDepth;
    std::int64_t bandCount; ///< of each chunk
    bool isSauvola;
    double k;
    IProgress& progress;
    std::vector<double> countsX; ///< number of pixels in each window along x

    double range = 1.0;        ///< R
    T largest = 0;             ///< for integers: an upper bound of the pixels
    T center = 0;              ///< subtracted from floats before they are summed
    bool hasNonFinite = false; ///< for floats
    std::vector<T> outside;    ///< a row of pixels that contribute nothing to any sum

private:
    [[nodiscard]] std::int64_t ChunkCount() const { return (z.length + chunkDepth - 1) / chunkDepth; }

    [[nodiscard]] std::int64_t BandCount() const {
        constexpr std::int64_t itemsOfThread = 4;
        constexpr std::int64_t leastRows = 16;
        if (ThreadCount() == 1)
            return 1;
        const std::int64_t wanted = (itemsOfThread * ThreadCount() + ChunkCount() - 1) / ChunkCount();
        return std::clamp<std::int64_t>(y.length / std::max(leastRows, 4 * y.w), 1, wanted);
    }
};

constexpr bool IsFinite(std::uint32_t /*value*/) { return true; }
bool IsFinite(float value) { return std::fabs(value) <= std::numeric_limits<float>::max(); }

double ThresholdOf(bool isSauvola, double mean, double deviation, double k, double range) {
    return isSauvola ? ((deviation / range - 1.0) * k + 1.0) * mean : deviation * k + mean;
}

/// How a row of integer sums is stored and advanced. Arithmetic is unsigned and wraps around, so a sum that
/// fits the type is correct whatever the intermediate values are.
template <class T>
struct StIntegerRow {
    using Cell = T;
    static constexpr std::int64_t cellsPerPixel = 1;

    static T Value(const T* row, std::int64_t /*length*/, std::int64_t x) { return row[x]; }

    template <class Enter, class Leave>
    static void Slide(T* __restrict row, std::int64_t length, const Enter& enter, const Leave& leave) {
        for (std::int64_t x = 0; x < length; ++x)
            row[x] += enter(x) - leave(x);
    }
};

/// The same for floats: a row of high parts, followed by a row of low parts that accumulate the rounding
/// errors of the high parts (two-sum: D. E. Knuth, The Art of Computer Programming, volume 2, 4.2.2).
struct StPairRow {
    using Cell = double;
    static constexpr std::int64_t cellsPerPixel = 2;

    static double Value(const double* row, std::int64_t length, std::int64_t x) {
        return row[x] + row[length + x];
    }

    template <class Enter, class Leave>
    static void Slide(double* __restrict row, std::int64_t length, const Enter& enter, const Leave& leave) {
        for (std::int64_t x = 0; x < length; ++x) {
            double high = row[x];
            double low = row[length + x];
            Add(high, low, enter(x));
            Add(high, low, -leave(x));
            row[x] = high;
            row[length + x] = low;
        }
    }

private:
    static void Add(double& high, double& low, double value) {
        const double sum = high + value;
        const double added = sum - high;
        low += (high - (sum - added)) + (value - added);
        high = sum;
    }
};

/// Sums of one quantity along z for each pixel of a plane, and along y and z for each pixel of a row.
template <class Row>
class CRunningSums {
public:
    using Cell = typename Row::Cell;

    CRunningSums(const StAxis& x, const StAxis& y)
        : m_y(y)
        , m_length(x.length)
        , m_plane(std::make_unique_for_overwrite<Cell[]>(
              static_cast<std::size_t>((y.length + 1) * CellsPerRow())))
        , m_row(static_cast<std::size_t>(CellsPerRow())) {
        ClearPlaneRow(y.length);
    }

    void ClearPlaneRow(std::int64_t y) { std::fill_n(PlaneRow(y), CellsPerRow(), Cell{}); }

    /// Advances the window along z: adds `enter(x)` and subtracts `leave(x)`.
    template <class Enter, class Leave>
    void SlidePlaneRow(std::int64_t y, const Enter& enter, const Leave& leave) {
        Row::Slide(PlaneRow(y), m_length, enter, leave);
    }

    void ClearRow() { std::fill(m_row.begin(), m_row.end(), Cell{}); }

    /// Advances the window along y by these rows of the plane. Rows outside the image contribute nothing.
    void SlideRow(std::int64_t enterY, std::int64_t leaveY) {
        const auto valuesOf = [this](std::int64_t y) {
            return
                [length = m_length, row = PlaneRow(y)](std::int64_t x) { return Row::Value(row, length, x); };
        };
        Row::Slide(m_row.data(), m_length, valuesOf(enterY), valuesOf(leaveY));
    }

    [[nodiscard]] Cell Value(std::int64_t x) const { return Row::Value(m_row.data(), m_length, x); }

private:
    [[nodiscard]] std::int64_t CellsPerRow() const { return m_length * Row::cellsPerPixel; }
    [[nodiscard]] Cell* PlaneRow(std::int64_t y) {
        return m_plane.get() + (m_y.Contains(y) ? y : m_y.length) * CellsPerRow();
    }

    StAxis m_y;
    std::int64_t m_length;
    /// The last row is empty and stands for the rows outside. The others are cleared one by one when a chunk
    /// begins, because clearing a whole plane can take long.
    std::unique_ptr<Cell[]> m_plane;
    std::vector<Cell> m_row;
};

/// Sums of integers along x by differences of prefix sums, which wrap around as well.
template <class T>
class CPrefixSums {
public:
    explicit CPrefixSums(const StAxis& x)
        : m_x(x)
        , m_sums(static_cast<std::size_t>(x.length + 2 * x.w + 1)) {}

    /// The sum of the window of x is element [x + 2 w + 1] minus element [x] of the result.
    template <class Row>
    const T* Of(const CRunningSums<Row>& row) {
        T* const sums = m_sums.data() + m_x.w + 1;
        T total = 0;
        for (std::int64_t x = 0; x < m_x.length; ++x) {
            total += row.Value(x);
            sums[x] = total;
        }
        std::fill_n(sums + m_x.length, m_x.w, total);
        return m_sums.data();
    }

private:
    StAxis m_x;
    std::vector<T> m_sums;
};

/// Sums of floats along x without subtraction. The row, with w zeros on both sides, is divided into blocks of
/// the window's length. A window overlaps at most two blocks; its sum is that from its start to the end of
/// the first block plus that from the start of the second block to its own end.
class CBlockSums {
public:
    explicit CBlockSums(const StAxis& x)
        : m_x(x)
        , m_window(2 * x.w + 1)
        , m_blockCount((x.length + 2 * x.w + m_window - 1) / m_window)
        , m_values(static_cast<std::size_t>(m_blockCount * m_window))
        , m_forward(m_values.size())
        , m_backward(m_values.size()) {}

    void Of(const CRunningSums<StPairRow>& row) {
        double* const values = m_values.data() + m_x.w;
        for (std::int64_t x = 0; x < m_x.length; ++x)
            values[x] = row.Value(x);
        for (std::int64_t block = 0; block < m_blockCount; ++block)
            SumBlock(block * m_window);
    }

    /// The sum of the window of x is the sum of elements [x] of both arrays.
    [[nodiscard]] const double* FirstParts() const { return m_backward.data(); }
    [[nodiscard]] const double* SecondParts() const { return m_forward.data() + 2 * m_x.w; }

private:
    void SumBlock(std::int64_t first) {
        const double* const values = m_values.data() + first;
        double* const forward = m_forward.data() + first;
        double* const backward = m_backward.data() + first;
        double fromBegin = 0.0;
        double fromEnd = 0.0;
        for (std::int64_t i = 0; i < m_window; ++i) {
            fromBegin += values[i];
            forward[i] = fromBegin;
            fromEnd += values[m_window - 1 - i];
            backward[m_window - 1 - i] = fromEnd;
        }
        // A window that coincides with a block consists of its second part only.
        backward[0] = 0.0;
    }

    StAxis m_x;
    std::int64_t m_window;
    std::int64_t m_blockCount;
    std::vector<double> m_values;
    std::vector<double> m_forward;
    std::vector<double> m_backward;
};

/// Correctly rounded like a cast, but composed of operations that every vector unit has: both halves are
/// exact when placed below the exponents of 2^84 and 2^52, and only the last addition rounds.
double ToDouble(std::uint64_t value) {
    const double high = std::bit_cast<double>((value >> 32) | 0x4530000000000000U) - 0x1.00000001p84;
    const double low = std::bit_cast<double>((value & 0xFFFFFFFFU) | 0x4330000000000000U);
    return high + low;
}

/// Rounded more than once, so suitable for estimates only.
double ToDouble(UInt128 value) {
    return ToDouble(static_cast<std::uint64_t>(value >> 64)) * 0x1p64 +
           ToDouble(static_cast<std::uint64_t>(value));
}

/// Thresholds of integers. `Sum` and `Square` hold the sums of values and squares along z and y, `SquareBox`
/// the sum of squares of a whole window.
template <class T, class Sum, class Square, class SquareBox>
class CIntegerThresholds {
public:
    explicit CIntegerThresholds(const StTask<T>& task)
        : m_task(task)
        , m_sums(task.x, task.y)
        , m_squares(task.x, task.y)
        , m_sumsX(task.x)
        , m_squaresX(task.x) {
        const double largest = static_cast<double>(task.largest);
        const double relativeRange = task.isSauvola ? largest / task.range : 1.0;
        const double scale = 2.0 * largest + 1.0 + std::fabs(task.k) * largest * (1.0 + relativeRange);
        m_doubtful = 0x1p-46 * scale * scale;
    }

    template <class Action>
    void ForEachSum(const Action& action) {
        action(m_sums);
        action(m_squares);
    }

    void SlidePlaneRow(std::int64_t y, const T* enter, const T* leave) {
        const auto square = [](T value) { return static_cast<Square>(std::uint64_t{value} * value); };
        m_sums.SlidePlaneRow(
            y, [=](std::int64_t x) { return Sum{enter[x]}; }, [=](std::int64_t x) { return Sum{leave[x]}; });
        m_squares.SlidePlaneRow(
            y, [=](std::int64_t x) { return square(enter[x]); },
            [=](std::int64_t x) { return square(leave[x]); });
    }

    void ThresholdRow(std::int64_t y, std::int64_t z) {
        const StRow row{m_task.InputRow(y, z), m_task.output.Row(y, z), m_sumsX.Of(m_sums),
                        m_squaresX.Of(m_squares), m_task.CountYZ(y, z)};
        const bool isCertain = m_task.isSauvola ? Estimate<true>(row) : Estimate<false>(row);
        if (!isCertain)
            Evaluate(row);
    }

private:
    struct StRow {
        const T* pixels;
        unsigned char* output;
        const std::uint64_t* sums;
        const SquareBox* squares;
        double countYZ;
    };

    // Follows the definition literally. An integer is above t + 0.5 truncated if and only if it is above t +
    // 0.5. Clamping t to the range of the type has only one further effect: 0 is never above the threshold.
    void Evaluate(const StRow& row) const {
        const std::int64_t window = 2 * m_task.x.w + 1;
        for (std::int64_t x = 0; x < m_task.x.length; ++x) {
            const double n = m_task.countsX[static_cast<std::size_t>(x)] * row.countYZ;
            const std::uint64_t sum = row.sums[x + window] - row.sums[x];
            const SquareBox squares = row.squares[x + window] - row.squares[x];
            const UInt128 numerator = static_cast<UInt128>(n) * squares - UInt128{sum} * sum;
            const double deviation = std::sqrt(static_cast<double>(numerator)) / n;
            const double mean = static_cast<double>(sum) / n;
            const double threshold = ThresholdOf(m_task.isSauvola, mean, deviation, m_task.k, m_task.range);
            const T pixel = row.pixels[x];
            row.output[x] = pixel > 0 && static_cast<double>(pixel) > threshold + 0.5 ? 1 : 0;
        }
    }

    // Computes the same result without a root and divisions, which would take longer than everything else.
    // The comparison is multiplied by n and rearranged to value > factor * sqrt(numerator), and both sides
    // are squared with their signs kept. Rounding errors, of this form and of the definition, are far below
    // `m_doubtful`. Returns false if a pixel is nearer to its threshold than that; the row must then be
    // evaluated.
    template <bool isSauvola>
    [[nodiscard]] bool Estimate(const StRow& row) const {
        const std::int64_t window = 2 * m_task.x.w + 1;
        const std::int64_t length = m_task.x.length;
        const double meanFactor = isSauvola ? 1.0 - m_task.k : 1.0;
        const double factor = isSauvola ? m_task.k / m_task.range : m_task.k;
        const double signedSquare = factor * std::fabs(factor);
        const double countYZ = row.countYZ;
        const double doubtful = m_doubtful;
        const double* const countsX = m_task.countsX.data();
        const T* const pixels = row.pixels;
        const std::uint64_t* const sums = row.sums;
        const SquareBox* const squares = row.squares;
        unsigned char* __restrict const output = row.output;
        unsigned char isDoubtful = 0;
        for (std::int64_t x = 0; x < length; ++x) {
            const double n = countsX[x] * countYZ;
            const double sum = ToDouble(sums[x + window] - sums[x]);
            const double numerator = n * ToDouble(squares[x + window] - squares[x]) - sum * sum;
            const double value = (static_cast<double>(pixels[x]) - 0.5) * n - meanFactor * sum;
            double difference = value * std::fabs(value);
            double unit = n * n;
            if constexpr (isSauvola) {
                difference = difference * unit - signedSquare * numerator * (sum * sum);
                unit *= unit;
            } else {
                difference -= signedSquare * numerator;
            }
            output[x] = difference > 0.0 && pixels[x] > 0 ? 1 : 0;
            isDoubtful |= std::fabs(difference) > doubtful * unit ? 0 : 1;
        }
        return isDoubtful == 0;
    }

    const StTask<T>& m_task;
    CRunningSums<StIntegerRow<Sum>> m_sums;
    CRunningSums<StIntegerRow<Square>> m_squares;
    CPrefixSums<std::uint64_t> m_sumsX;
    CPrefixSums<SquareBox> m_squaresX;
    double m_doubtful; ///< in squared grey values, relative to the largest ones in a comparison
};

/// Selects between integers: a selection between floats would keep the compiler from vectorising.
double FiniteOrZero(double value) {
    constexpr std::uint64_t exponent = 0x7FF0000000000000U;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    return std::bit_cast<double>((bits & exponent) == exponent ? 0 : bits);
}

/// Thresholds of floats. Pixels that are not finite are not summed, but counted.
class CFloatThresholds {
public:
    explicit CFloatThresholds(const StTask<float>& task)
        : m_task(task)
        , m_sums(task.x, task.y)
        , m_squares(task.x, task.y)
        , m_sumsX(task.x)
        , m_squaresX(task.x) {
        if (task.hasNonFinite)
            m_gaps.emplace(task);
    }

    template <class Action>
    void ForEachSum(const Action& action) {
        action(m_sums);
        action(m_squares);
        if (m_gaps)
            action(m_gaps->counts);
    }

    void SlidePlaneRow(std::int64_t y, const float* enter, const float* leave) {
        const auto shifted = [center = static_cast<double>(m_task.center)](float value) {
            return FiniteOrZero(static_cast<double>(value) - center);
        };
        const auto square = [=](float value) { return shifted(value) * shifted(value); };
        m_sums.SlidePlaneRow(
            y, [=](std::int64_t x) { return shifted(enter[x]); },
            [=](std::int64_t x) { return shifted(leave[x]); });
        m_squares.SlidePlaneRow(
            y, [=](std::int64_t x) { return square(enter[x]); },
            [=](std::int64_t x) { return square(leave[x]); });
        if (m_gaps) {
            const auto isGap = [](float value) { return IsFinite(value) ? 0U : 1U; };
            m_gaps->counts.SlidePlaneRow(
                y, [=](std::int64_t x) { return isGap(enter[x]); },
                [=](std::int64_t x) { return isGap(leave[x]); });
        }
    }

    void ThresholdRow(std::int64_t y, std::int64_t z) {
        m_sumsX.Of(m_sums);
        m_squaresX.Of(m_squares);
        unsigned char* const output = m_task.output.Row(y, z);
        Evaluate(m_task.InputRow(y, z), m_task.CountYZ(y, z), output);
        if (m_gaps) {
            const std::int64_t window = 2 * m_task.x.w + 1;
            const std::uint64_t* const counts = m_gaps->countsX.Of(m_gaps->counts);
            for (std::int64_t x = 0; x < m_task.x.length; ++x)
                output[x] = counts[x + window] == counts[x] ? output[x] : 0;
        }
    }

private:
    struct StGaps {
        explicit StGaps(const StTask<float>& task)
            : counts(task.x, task.y)
            , countsX(task.x) {}

        CRunningSums<StIntegerRow<std::uint32_t>> counts;
        CPrefixSums<std::uint64_t> countsX;
    };

    // A variance that could be due to rounding alone is treated as 0. Otherwise constant parts of an image
    // would become speckled, because t equals the grey value there.
    void Evaluate(const float* pixels, double countYZ, unsigned char* __restrict output) const {
        const double noise = static_cast<double>(m_task.x.LargestCount() + 4) * 0x1p-51;
        const bool isSauvola = m_task.isSauvola;
        const double k = m_task.k;
        const double range = m_task.range;
        const double center = m_task.center;
        const double* const countsX = m_task.countsX.data();
        const double* const sumsA = m_sumsX.FirstParts();
        const double* const sumsB = m_sumsX.SecondParts();
        const double* const squaresA = m_squaresX.FirstParts();
        const double* const squaresB = m_squaresX.SecondParts();
        for (std::int64_t x = 0; x < m_task.x.length; ++x) {
            const double n = countsX[x] * countYZ;
            const double shiftedMean = (sumsA[x] + sumsB[x]) / n;
            const double meanSquare = (squaresA[x] + squaresB[x]) / n;
            const double variance = meanSquare - shiftedMean * shiftedMean;
            const double deviation = std::sqrt(variance > noise * meanSquare ? variance : 0.0);
            const double threshold = ThresholdOf(isSauvola, center + shiftedMean, deviation, k, range);
            output[x] = static_cast<double>(pixels[x]) > threshold ? 1 : 0;
        }
    }

    const StTask<float>& m_task;
    CRunningSums<StPairRow> m_sums;
    CRunningSums<StPairRow> m_squares;
    CBlockSums m_sumsX;
    CBlockSums m_squaresX;
    std::optional<StGaps> m_gaps;
};

/// Moves the window over the planes of a chunk, in one of its bands. Checks for cancellation at each row,
/// because one plane can take long.
template <class T, class Thresholds>
void ThresholdItem(const StTask<T>& task, Thresholds& thresholds, std::int64_t item, CWorkerTurn& turn) {
    const StAxis& axisY = task.y;
    const StAxis& axisZ = task.z;
    const std::int64_t first = item / task.bandCount * task.chunkDepth;
    const std::int64_t end = std::min(first + task.chunkDepth, axisZ.length);
    const std::int64_t band = item % task.bandCount;
    const std::int64_t firstY = band * axisY.length / task.bandCount;
    const std::int64_t endY = (band + 1) * axisY.length / task.bandCount;
    const std::int64_t firstEntering = axisY.First(firstY);
    for (std::int64_t z = first; z < end; ++z) {
        thresholds.ForEachSum([](auto& sums) { sums.ClearRow(); });
        // The first steps fill the window along y.
        for (std::int64_t y = firstEntering - axisY.w; y < endY; ++y) {
            if (turn.IsCancelled())
                return;
            const std::int64_t enter = y + axisY.w;
            const std::int64_t leave = y - axisY.w > firstEntering ? y - axisY.w - 1 : -1;
            if (axisY.Contains(enter) && z == first) {
                thresholds.ForEachSum([=](auto& sums) { sums.ClearPlaneRow(enter); });
                for (std::int64_t plane = axisZ.First(z); plane <= axisZ.Last(z); ++plane) {
                    if (turn.IsCancelled())
                        return;
                    thresholds.SlidePlaneRow(enter, task.InputRow(enter, plane), task.outside.data());
                }
            } else if (axisY.Contains(enter)) {
                thresholds.SlidePlaneRow(enter, task.InputRow(enter, z + axisZ.w),
                                         task.InputRow(enter, z - axisZ.w - 1));
            }
            thresholds.ForEachSum([=](auto& sums) { sums.SlideRow(enter, leave); });
            if (y >= firstY)
                thresholds.ThresholdRow(y, z);
        }
    }
}

template <class Thresholds, class T>
void ThresholdImage(const StTask<T>& task) {
    ParallelFor(task.ItemCount(), task.progress, [&task](CWorkerTurn& turn) {
        return [&task, &turn, thresholds = std::make_unique<Thresholds>(task)](std::int64_t item) {
            Impl::RunFor(Impl::BestVectors(), [&] { ThresholdItem(task, *thresholds, item, turn); });
        };
    });
}

/// Selects the narrowest sums that the largest window cannot overflow: most of the time is spent advancing
/// them.
template <class T>
void ThresholdIntegers(const StTask<T>& task) {
    const auto fits = [](std::int64_t pixelCount, UInt128 largestValue, int bits) {
        return (static_cast<UInt128>(pixelCount) * largestValue) >> bits == 0;
    };
    const UInt128 square = UInt128{task.largest} * task.largest;
    const std::int64_t countYZ = task.y.LargestCount() * task.z.LargestCount();
    if (!fits(countYZ * task.x.LargestCount(), square, 64))
        return ThresholdImage<CIntegerThresholds<T, std::uint64_t, UInt128, UInt128>>(task);
    if constexpr (sizeof(T) == 1) {
        if (fits(countYZ, square, 32)) {
            return ThresholdImage<CIntegerThresholds<T, std::uint32_t, std::uint32_t, std::uint64_t>>(task);
        }
    } else if (fits(countYZ, task.largest, 32)) {
        return ThresholdImage<CIntegerThresholds<T, std::uint32_t, std::uint64_t, std::uint64_t>>(task);
    }
    ThresholdImage<CIntegerThresholds<T, std::uint64_t, std::uint64_t, std::uint64_t>>(task);
}

/// Minimum, maximum, sum and number of the finite pixels of a plane.
template <class T>
class CStatistics {
public:
    CStatistics() {
        m_least.fill(std::numeric_limits<T>::max());
        m_greatest.fill(std::numeric_limits<T>::lowest());
    }

    void AddRow(const T* pixels, std::int64_t length) {
        std::int64_t x = 0;
        for (; x + c_lanes <= length; x += c_lanes) {
            for (std::size_t lane = 0; lane < c_lanes; ++lane)
                AddPixel(lane, pixels[x + static_cast<std::int64_t>(lane)]);
        }
        for (std::size_t lane = 0; x < length; ++x, ++lane)
            AddPixel(lane, pixels[x]);
    }

    void Add(const CStatistics& other) {
        m_least[0] = std::min(Least(), other.Least());
        m_greatest[0] = std::max(Greatest(), other.Greatest());
        m_sum[0] += other.Sum();
        m_finiteCount[0] += other.FiniteCount();
    }

    [[nodiscard]] T Least() const { return *std::min_element(m_least.begin(), m_least.end()); }
    [[nodiscard]] T Greatest() const { return *std::max_element(m_greatest.begin(), m_greatest.end()); }
    [[nodiscard]] double Sum() const { return std::accumulate(m_sum.begin(), m_sum.end(), 0.0); }
    [[nodiscard]] std::int64_t FiniteCount() const {
        return std::accumulate(m_finiteCount.begin(), m_finiteCount.end(), std::int64_t{0});
    }

private:
    // Pixels are distributed to a fixed number of accumulators, so that several can be processed at once on
    // any processor with the same result.
    static constexpr std::int64_t c_lanes = 8;
    template <class Number>
    using Lanes = std::array<Number, c_lanes>;

    void AddPixel(std::size_t lane, T pixel) {
        const bool isFinite = IsFinite(pixel);
        m_least[lane] = isFinite && pixel < m_least[lane] ? pixel : m_least[lane];
        m_greatest[lane] = isFinite && pixel > m_greatest[lane] ? pixel : m_greatest[lane];
        m_sum[lane] += FiniteOrZero(static_cast<double>(pixel));
        m_finiteCount[lane] += isFinite ? 1 : 0;
    }

    Lanes<T> m_least{};
    Lanes<T> m_greatest{};
    Lanes<double> m_sum{};
    Lanes<std::int64_t> m_finiteCount{};
};

/// Fills in the properties of the task that depend on all pixels. Returns false if cancelled.
template <class T>
bool Survey(StTask<T>& task) {
    std::vector<CStatistics<T>> planes(static_cast<std::size_t>(task.z.length));
    const bool isDone = ParallelFor(task.z.length, task.progress, [&](CWorkerTurn& turn) {
        return [&](std::int64_t plane) {
            CStatistics<T> statistics;
            for (std::int64_t y = 0; y < task.y.length && !turn.IsCancelled(); ++y)
                statistics.AddRow(task.InputRow(y, plane), task.x.length);
            planes[static_cast<std::size_t>(plane)] = statistics;
        };
    });
    // Combined in order, so that the sum does not depend on the threads.
    CStatistics<T> image;
    for (const CStatistics<T>& plane : planes)
        image.Add(plane);
    task.hasNonFinite = image.FiniteCount() < task.input.PixelCount();
    if (image.FiniteCount() == 0)
        return isDone;
    if (image.Greatest() > image.Least())
        task.range = (static_cast<double>(image.Greatest()) - static_cast<double>(image.Least())) / 2.0;
    task.largest = image.Greatest();
    if constexpr (std::is_floating_point_v<T>)
        task.center = static_cast<T>(image.Sum() / static_cast<double>(image.FiniteCount()));
    return isDone;
}

/// Fills in R and the required properties of the pixels, and applies the thresholds.
template <class T>
void Threshold(StTask<T>& task) {
    // For 32 bits and floats, the range must be determined first, which counts as one step per plane.
    constexpr bool isSurveyed = sizeof(T) == 4;
    const std::int64_t steps = task.ItemCount() + (isSurveyed ? task.z.length : 0);
    task.progress.Start(static_cast<unsigned>(steps), "Local thresholding");
    bool isDone = true;
    if constexpr (isSurveyed) {
        isDone = Survey(task);
    } else {
        task.range = static_cast<double>(std::numeric_limits<T>::max() / 2);
        task.largest = std::numeric_limits<T>::max();
    }
    task.outside.assign(static_cast<std::size_t>(task.x.length), task.center);
    if (isDone) {
        if constexpr (std::is_floating_point_v<T>)
            ThresholdImage<CFloatThresholds>(task);
        else
            ThresholdIntegers(task);
    }
    task.progress.Finish();
}

constexpr const char* c_binarize = "ORVEN::CFastLocalThresholding::Binarize";

} // namespace

CFastLocalThresholding::CFastLocalThresholding(const char* name, const IObject* parent)
    : CAlgorithm(name, parent) {}

void CFastLocalThresholding::Binarize(IImage& output, const IImage& input) {
    if (m_nMethod != c_niblack && m_nMethod != c_sauvola) {
        throw CExBadParam(Impl::Here(c_binarize),
                          CString("Unknown thresholding method %1.", CString::ENC_UTF8).Arg(m_nMethod, 0));
    }
    if (!(output.Type() == IMAGE_BINARY_FG))
        ThrowUnsupportedType(c_binarize, output.Type());
    RequireSameSize(c_binarize, "Output", output, "input", input);
    DispatchGreyType(c_binarize, input.Type(), [&]<class T>(std::type_identity<T>) {
        if (input.Size().PixelCount() == 0)
            return;
        StTask<T> task(*this, output, input);
        Threshold(task);
    });
}

} // namespace ORVEN
