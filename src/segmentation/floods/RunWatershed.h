#pragma once

#include "segmentation/floods/WatershedCriteria.h"

#include <sorblib2image/CImage.h>

#include <cstdint>
#include <string>

namespace quillon {

/// The input of a watershed run.
struct StWatershedRun {
    ORVEN::CImage& labels; ///< 32-bit, with the size of the image
    const ORVEN::CImage& image;
    const ORVEN::CImage* markers; ///< null to grow regions from minima
    ORVEN::EnWatershedMode mode;
    std::uint32_t parameter; ///< the `minimum` of the mode's criterion
};

/// The results of a flood besides the labels.
struct StWatershedOutcome {
    std::uint32_t regionCount;
    std::string modeText; ///< the mode, as it is written to the history
};

/// Runs the flood for neighbourhood N with the criterion of the mode and the pixel type of the image. Each
/// neighbourhood is instantiated in a source file of its own, generated from RunWatershed.cpp.in, with five
/// criteria and four pixel types. The labels of a cancelled run mean nothing as long as the host's sink
/// answers that it is cancelled. Raises `CException` for other pixel types, and the errors of
/// `CWatershedTemplate`.
template <class N>
StWatershedOutcome RunWatershed(const StWatershedRun& run);

} // namespace quillon
