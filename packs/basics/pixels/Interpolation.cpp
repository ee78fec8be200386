#include "pixels/Interpolation.h"

#include "itk/SplineCoefficients.h"
#include "pixels/CRowReader.h"
#include "pixels/PixelLoops.h"

#include <array>
#include <cmath>
#include <functional>
#include <vector>

namespace quillon::basics {

using namespace ORVEN;

namespace {

/// The pixels along an axis that make up a value, with their weights.
struct StTaps {
    std::array<std::int64_t, 4> place{};
    std::array<double, 4> weight{};
    int count = 0;
};

std::int64_t Mirrored(std::int64_t place, std::int64_t count) {
    if (count == 1)
        return 0;
    const std::int64_t period = 2 * (count - 1);
    const std::int64_t rest = (place % period + period) % period;
    return rest < count ? rest : period - rest;
}

StTaps TapsAt(double position, std::int64_t count, EnInterpolation interpolation) {
    const double last = static_cast<double>(count - 1);
    const double inside = std::fmin(std::fmax(position, 0.0), last);
    if (interpolation == EnInterpolation::NEAREST) {
        const auto nearest = static_cast<std::int64_t>(std::fmin(std::floor(inside + 0.5), last));
        return {{nearest}, {1.0}, 1};
    }
    const auto below = static_cast<std::int64_t>(inside);
    const double t = inside - static_cast<double>(below);
    if (interpolation == EnInterpolation::LINEAR)
        return t > 0.0 ? StTaps{{below, below + 1}, {1.0 - t, t}, 2} : StTaps{{below}, {1.0}, 1};
    const double s = 1.0 - t;
    return {{Mirrored(below - 1, count), below, Mirrored(below + 1, count), Mirrored(below + 2, count)},
            {s * s * s / 6.0, (4.0 - 6.0 * t * t + 3.0 * t * t * t) / 6.0,
             (4.0 - 6.0 * s * s + 3.0 * s * s * s) / 6.0, t * t * t / 6.0},
            4};
}

std::vector<StTaps> TapsOf(std::int64_t newCount, std::int64_t count, double step,
                           EnInterpolation interpolation) {
    std::vector<StTaps> taps;
    taps.reserve(static_cast<std::size_t>(newCount));
    for (std::int64_t place = 0; place < newCount; ++place)
        taps.push_back(TapsAt(FirstPosition(step) + static_cast<double>(place) * step, count, interpolation));
    return taps;
}

using ReadRow = std::function<void(std::int64_t y, std::int64_t z, double* row)>;

template <class T>
bool Fill(const CImage& image, CImage& result, const ReadRow& readRow, const Triple& steps,
          EnInterpolation interpolation, IProgress& progress) {
    const CImageView<const T> source(image);
    const CImageView<T> target(result);
    const auto tapsX = TapsOf(target.nx, source.nx, steps[0], interpolation);
    const auto tapsY = TapsOf(target.ny, source.ny, steps[1], interpolation);
    const auto tapsZ = TapsOf(target.nz, source.nz, steps[2], interpolation);
    const double greatest =
        image.Type().IsBinary() ? 1.0 : static_cast<double>(std::numeric_limits<T>::max());
    const auto length = static_cast<std::size_t>(source.nx);
    progress.Start(static_cast<unsigned>(target.nz), "Resampling...");
    const bool isDone = ParallelFor(target.nz, progress, [&](CWorkerTurn& turn) {
        return [&, row = std::vector<double>(length), sum = std::vector<double>(length),
                pace = CWorkPace(turn)](std::int64_t z) mutable {
            const StTaps& alongZ = tapsZ[static_cast<std::size_t>(z)];
            for (std::int64_t y = 0; y < target.ny && !pace.IsCancelled(); ++y) {
                const StTaps& alongY = tapsY[static_cast<std::size_t>(y)];
                std::fill(sum.begin(), sum.end(), 0.0);
                for (int i = 0; i < alongZ.count * alongY.count; ++i) {
                    const auto iz = static_cast<std::size_t>(i / alongY.count);
                    const auto iy = static_cast<std::size_t>(i % alongY.count);
                    const double weight = alongZ.weight[iz] * alongY.weight[iy];
                    readRow(alongY.place[iy], alongZ.place[iz], row.data());
                    for (std::size_t x = 0; x < length; ++x)
                        sum[x] += weight * row[x];
                    (void)pace.Add(2 * source.nx);
                }
                T* const pixels = target.Row(y, z);
                for (std::int64_t x = 0; x < target.nx; ++x) {
                    const StTaps& alongX = tapsX[static_cast<std::size_t>(x)];
                    double value = 0.0;
                    for (std::size_t i = 0; i < static_cast<std::size_t>(alongX.count); ++i)
                        value += alongX.weight[i] * sum[static_cast<std::size_t>(alongX.place[i])];
                    pixels[x] = PixelOf<T>(value, greatest);
                }
                (void)pace.Add(8 * target.nx);
            }
        };
    });
    progress.Finish();
    return isDone;
}

} // namespace

std::optional<EnInterpolation> InterpolationOf(std::string_view name) {
    for (const auto interpolation :
         {EnInterpolation::NEAREST, EnInterpolation::LINEAR, EnInterpolation::BSPLINE}) {
        if (name == NameOf(interpolation))
            return interpolation;
    }
    return std::nullopt;
}

const char* NameOf(EnInterpolation interpolation) {
    switch (interpolation) {
    case EnInterpolation::NEAREST:
        return "nearest";
    case EnInterpolation::LINEAR:
        return "linear";
    case EnInterpolation::BSPLINE:
        return "bspline";
    }
    return "";
}

double FirstPosition(double step) { return 0.5 * step - 0.5; }

bool Interpolate(const CImage& image, CImage& result, const Triple& steps, EnInterpolation interpolation,
                 IProgress& progress) {
    const CRowReader pixels(image);
    ReadRow readRow = [&pixels](std::int64_t y, std::int64_t z, double* row) { pixels.Read(y, z, row); };
    CSplineCoefficients coefficients;
    if (interpolation == EnInterpolation::BSPLINE) {
        if (!coefficients.Compute(image, progress))
            return false;
        readRow = [&coefficients](std::int64_t y, std::int64_t z, double* row) {
            coefficients.Read(y, z, row);
        };
    }
    return DispatchRealType("Interpolate", image.Type(), [&]<class T>(std::type_identity<T>) {
        return Fill<T>(image, result, readRow, steps, interpolation, progress);
    });
}

} // namespace quillon::basics
