#pragma once

#include <sorblib2core/CException.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

/// The older local thresholders for 8-bit and 16-bit images. They are kept so that earlier results can be
/// reproduced; new work should use `CFastLocalThresholding`.
///
/// A thresholder binarises with a threshold computed from the mean and standard deviation of a cube of side
/// 2w + 1 around each pixel, clipped to the image. The window is filled once per row and then moved along the
/// row by adding one column and removing another, so the cost per pixel is of order (2w + 1)^2. Sources:
/// Niblack, *An Introduction to Digital Image Processing*, 1986; Sauvola and Pietikainen, *Adaptive document
/// image binarization*, 2000.
namespace quillon {

namespace Impl {

/// Squares a pixel in 32-bit signed arithmetic: 16-bit values from 46341 up wrap around. This is deliberate;
/// the thresholders detect it by a threshold that is not finite.
template <class T>
double WrappingSquare(T value) {
    const auto wide = static_cast<std::uint32_t>(value);
    return static_cast<std::int32_t>(wide * wide);
}

/// The range of the window along one axis, including both ends: half width `w` around `centre`, clipped to 0
/// .. extent - 1.
struct StClippedRange {
    StClippedRange(std::int64_t centre, std::int64_t w, std::int64_t extent)
        : first(centre - std::min(centre, w))
        , last(centre >= extent - w ? extent - 1 : centre + w) {}

    std::int64_t first;
    std::int64_t last;
};

/// The scan that both thresholders share. `Formula` provides the threshold and the error messages.
template <class Formula, class T>
struct StLocalThresholder {
    std::int32_t windowSize; ///< half width w of the window
    float coefficient;       ///< k of the formula
    const ORVEN::CImage* input;

    /// Writes 1 where the input is above its local threshold and 0 elsewhere. The pixels of `output` have 8
    /// bits; an output of another size stays unchanged. Raises `CException` if a threshold is not finite.
    void operator()(ORVEN::CImage& output) const {
        if (!(output.Size() == input->Size()))
            return;
        const ORVEN::CImageView<const T> in(*input);
        const ORVEN::CImageView<unsigned char> out(output);
        std::vector<const T*> leaving;
        std::vector<const T*> entering;
        for (std::int64_t z = 0; z < in.nz; ++z) {
            for (std::int64_t y = 0; y < in.ny; ++y)
                ScanRow(in, out, y, z, leaving, entering);
        }
    }

private:
    void ScanRow(const ORVEN::CImageView<const T>& in, const ORVEN::CImageView<unsigned char>& out,
                 std::int64_t y, std::int64_t z, std::vector<const T*>& leaving,
                 std::vector<const T*>& entering) const {
        const std::int64_t w = windowSize;
        const StClippedRange rangeY(y, w, in.ny);
        const StClippedRange rangeZ(z, w, in.nz);
        const std::int64_t firstColumns = in.nx > w ? w + 1 : in.nx;

        leaving.clear();
        entering.clear();
        std::int64_t count = 0;
        double sum = 0.0;
        double squares = 0.0;
        for (std::int64_t windowZ = rangeZ.first; windowZ <= rangeZ.last; ++windowZ) {
            for (std::int64_t windowY = rangeY.first; windowY <= rangeY.last; ++windowY) {
                const T* row = in.Row(windowY, windowZ);
                for (std::int64_t x = 0; x < firstColumns; ++x) {
                    sum += row[x];
                    squares += WrappingSquare(row[x]);
                    ++count;
                }
                leaving.push_back(row);
                entering.push_back(row);
            }
        }
        const auto column = static_cast<std::int64_t>(leaving.size());

        const T* inputRow = in.Row(y, z);
        unsigned char* outputRow = out.Row(y, z);
        for (std::int64_t x = 0; x < in.nx; ++x) {
            const double mean = sum / static_cast<double>(count);
            const double deviation = std::sqrt(squares / static_cast<double>(count) - mean * mean);
            double threshold =
                Formula::template Threshold<T>(mean, deviation, static_cast<double>(coefficient));
            if (!std::isfinite(threshold))
                throw ORVEN::CException(Formula::site, Formula::imprecise, nullptr);
            threshold = std::clamp(threshold, 0.0, static_cast<double>(std::numeric_limits<T>::max()));
            outputRow[x] = inputRow[x] > static_cast<std::uint32_t>(threshold) ? 1 : 0;
            if (x >= w) {
                for (const T* row : leaving) {
                    sum -= row[x - w];
                    squares -= WrappingSquare(row[x - w]);
                }
                count -= column;
            }
            // This adds column x + w, although the window of the next pixel lacks column x + w + 1 and the
            // first window already contains column w. So column w counts twice until x = 2w, one copy of it
            // stays until the end of the row, and the right edge of the window lags one column behind. This
            // is deliberate and must not be fixed: thresholds of earlier work depend on it.
            if (x < in.nx - w) {
                for (const T* row : entering) {
                    sum += row[x + w];
                    squares += WrappingSquare(row[x + w]);
                }
                count += column;
            }
        }
    }
};

struct StNiblackFormula {
    static constexpr const char* site = "CNiblackThresholder";
    static constexpr const char* imprecise =
        "The machine precision on this system is not sufficient for computing the required statistics for "
        "Niblack "
        "thresholding in this image. Please try converting this image to a smaller data type!";

    template <class T>
    static double Threshold(double mean, double deviation, double coefficient) {
        return deviation * coefficient + mean + 0.5;
    }
};

struct StSauvolaFormula {
    static constexpr const char* site = "CSauvolaThresholder";
    static constexpr const char* imprecise =
        "The machine precision on this system is not sufficient for computing the required statistics for "
        "Sauvola "
        "thresholding in this image. Please try converting this image to a smaller data type!";

    template <class T>
    static double Threshold(double mean, double deviation, double coefficient) {
        constexpr double range = std::numeric_limits<T>::max() / 2; // 127 or 32767
        return ((deviation / range - 1.0) * coefficient + 1.0) * mean + 0.5;
    }
};

} // namespace Impl

/// Threshold s k + m, with the mean m and the standard deviation s of the window.
template <class T>
using CNiblackThresholder = Impl::StLocalThresholder<Impl::StNiblackFormula, T>;

/// Threshold ((s / R - 1) k + 1) m, with R = 127 for 8-bit and 32767 for 16-bit pixels.
template <class T>
using CSauvolaThresholder = Impl::StLocalThresholder<Impl::StSauvolaFormula, T>;

} // namespace quillon
