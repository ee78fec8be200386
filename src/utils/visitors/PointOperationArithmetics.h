#pragma once

#include "utils/visitors/Visitor.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>

#include <cmath>
#include <complex>
#include <limits>
#include <type_traits>

namespace ORVEN::visitors {

template <class T>
inline constexpr bool c_isComplexPixel = std::is_same_v<T, std::complex<float>>;

/// Multiplies an image by a factor. Results outside the range of finite floats, NaN included, become the
/// largest float, or the lowest one if exactly one of factor and pixel is below 0.
template <class TPixel, class TFactor>
struct CMultValue : StVisitor<TPixel> {
    explicit CMultValue(TFactor multiplier)
        : factor(multiplier) {
        if constexpr (c_isComplexPixel<TPixel> != c_isComplexPixel<TFactor>) {
            throw CException(Impl::Here("ORVEN::visitors::CMultValue::CMultValue"),
                             "Arithmetics for mixed complex and real tuples not implemented.");
        }
    }

    void operator()(TPixel& pixel) const {
        const TPixel old = pixel;
        pixel = factor * old;
        if (!std::isfinite(pixel)) {
            pixel = (factor < 0) != (old < 0) ? std::numeric_limits<TPixel>::lowest()
                                              : std::numeric_limits<TPixel>::max();
        }
    }

    TFactor factor;
};

/// Takes the square root of each pixel, in double precision. With `m_isSpread` the result is scaled so that
/// pixels from `m_fX0` to `m_fX1` map to `m_fY0` to `m_fY1`. Results outside the finite floats become the
/// nearest finite float; NaN, for example of a negative pixel, stays NaN.
template <class TTarget, class TSource>
struct CRoot : StVisitor<TTarget> {
    CRoot() {
        if constexpr (c_isComplexPixel<TTarget> || c_isComplexPixel<TSource>) {
            // contract wording
            throw CException(Impl::Here("ORVEN::visitors::CRoot::CRoot"),
                             "Square root complex numbers not implemented.");
        }
    }

    /// Raises `CException` for bounds that are not finite or not in ascending order.
    void preprocess() {
        CheckBounds();
        m_scale = 1.0;
        m_inputShift = 0.0;
        m_outputOffset = 0.0;
        if (!m_isSpread)
            return;
        m_inputShift = -m_fX0;
        if (m_fX1 == m_fX0) {
            m_outputOffset = m_fY1;
        } else {
            m_scale = (m_fY1 - m_fY0) / std::sqrt(m_fX1 - m_fX0);
            m_outputOffset = m_fY0;
        }
    }

    void operator()(TTarget& pixel) const {
        const double root = std::sqrt(static_cast<double>(pixel) + m_inputShift) * m_scale + m_outputOffset;
        if (root < -greatest)
            pixel = std::numeric_limits<float>::lowest();
        else if (root > greatest)
            pixel = std::numeric_limits<float>::max();
        else
            pixel = static_cast<float>(root);
    }

    bool m_isSpread = false;
    double m_fX0 = -greatest;
    double m_fX1 = greatest;
    double m_fY0 = -greatest;
    double m_fY1 = greatest;

private:
    static constexpr double greatest = std::numeric_limits<float>::max();

    void CheckBounds() const {
        if (!std::isfinite(m_fX0) || !std::isfinite(m_fX1) || !std::isfinite(m_fY0) ||
            !std::isfinite(m_fY1)) {
            throw CException(
                Impl::Here("ORVEN::visitors::CRoot::preprocess"),
                CString("Parameters for square root function must be finite (m_fX0=%1, m_fX1=%2, m_fY0=%3, "
                        "m_fY1=%4).",
                        CString::ENC_UTF8)
                    .Arg(m_fX0, 0)
                    .Arg(m_fX1, 0)
                    .Arg(m_fY0, 0)
                    .Arg(m_fY1, 0));
        }
        if (m_fX0 > m_fX1 || m_fY0 > m_fY1) {
            throw CException(Impl::Here("ORVEN::visitors::CRoot::preprocess"),
                             "Input and output intervals for spreading data must not be empty.");
        }
    }

    double m_scale = 0.0;
    double m_inputShift = 0.0;
    double m_outputOffset = 0.0;
};

} // namespace ORVEN::visitors
