#pragma once

#include <sorblib2image/IImage.h>

#include <bit>
#include <cstdint>

namespace ORVEN {

/// While opening sizes are computed, the pixels of the output hold squared distances as floats with the same
/// bit pattern.
inline float PixelOf(std::int32_t squaredDistance) { return std::bit_cast<float>(squaredDistance); }
inline std::int32_t SquaredDistanceOf(float pixel) { return std::bit_cast<std::int32_t>(pixel); }

/// Converts squared distances to the reported diameters.
class CDiameters {
public:
    /// `image` gives the spacing along x, 1 if that is not a positive number. Diameters are rounded down to a
    /// multiple of the step width if that is finite and above 0.
    CDiameters(const IImage& image, double stepWidth);

    [[nodiscard]] float Of(std::int32_t squaredDistance) const;

private:
    double m_spacing;
    double m_stepWidth;
};

} // namespace ORVEN
