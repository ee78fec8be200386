#pragma once

#include <QuillonBase/IProgress.h>
#include <sorblib2image/CImage.h>

#include <cstdint>
#include <vector>

namespace quillon::basics {

/// The coefficients of the cubic spline through the pixels of an image, which is mirrored at its first and
/// last pixels.
class CSplineCoefficients {
public:
    /// Returns false if cancelled.
    bool Compute(const ORVEN::CImage& image, ORVEN::IProgress& progress);
    /// Fills `row` with the coefficients of a row.
    void Read(std::int64_t y, std::int64_t z, double* row) const;

private:
    std::int64_t m_nx = 0;
    std::int64_t m_ny = 0;
    std::vector<double> m_coefficients;
};

} // namespace quillon::basics
