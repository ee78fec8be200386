#pragma once

#include "segmentation/floods/WatershedCriteria.h"

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

/// What a flood returns besides the labels.
struct StWatershedOutcome {
    std::uint32_t regionCount;
    std::string modeText; ///< the mode, as the history names it
};

/// Runs the flood of neighbourhood N with the criterion of the mode and the pixel type of the image.
/// Each neighbourhood is instantiated in a source of its own, made from RunWatershed.cpp.in, with five criteria
/// and four pixel types. Raises `CException` for other pixel types, and what `CWatershedTemplate` raises.
template <class N>
StWatershedOutcome RunWatershed(const StWatershedRun& run);

} // namespace quillon
