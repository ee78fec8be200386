#pragma once

#include "QuillonGranulometry/CDiameterWriter.h"
#include "QuillonGranulometry/CLayerView.h"
#include "QuillonGranulometry/CSmallBalls.h"

#include <QuillonBase/IProgress.h>

namespace ORVEN {

/// Finishes the pixels that no larger ball contains.
///
/// `output` holds squared radii of larger balls, and the squared distances of the pixels that no such ball
/// contains, see `CoverWithBalls`. The latter are replaced by the greatest squared radius of the small balls
/// that contain the pixel. If there is a `writer`, all pixels are then converted to diameters and counted.
/// Returns false if cancelled.
///
/// Pixels are bits of words: for each squared radius in turn, the centres of its balls are widened along x,
/// and rows of the results are united. Where a block of the image has few balls of a squared radius, each is
/// placed on its own. Time: proportional to the number of pixels, whatever the number of balls. Memory per
/// thread: 3 kB for each pixel along x, and 8 bytes for each small ball of a block.
bool CoverWithSmallBalls(const CSmallBalls& balls, const CLayerView<float>& output, CDiameterWriter* writer,
                         IProgress& progress);

} // namespace ORVEN
