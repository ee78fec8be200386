#pragma once

#include "segmentation/WatershedCriteria.h"

#include <sorblib2image/CImage.h>

#include <cstdint>
#include <string>

namespace quillon {

/// What a watershed run is given.
struct StWatershedRun {
    ORVEN::CImage& labels; ///< 32-bit, of the size of the image
    const ORVEN::CImage& image;
    const ORVEN::CImage* markers; ///< null for regions from minima
    ORVEN::EnWatershedMode mode;
    std::uint32_t parameter; ///< the minimum of the mode's criterion
};

/// What it gives, beside the labels.
struct StWatershedOutcome {
    std::uint32_t regionCount;
    std::string modeText; ///< how the history tells the mode
};

/// Runs the flood of neighbourhood N with the criterion of the mode and the pixel type of the image.
/// Instances stand in one source a neighbourhood, src/segmentation/RunWatershed*.cpp, of the five criteria
/// times four pixel types each. Raises `CException` if the pixel type is none of the four, and what
/// `CWatershedTemplate` raises.
template <class N>
StWatershedOutcome RunWatershed(const StWatershedRun& run);

} // namespace quillon
