#pragma once

#include "QuillonGranulometry/CLayerView.h"
#include "QuillonGranulometry/StPlacedBall.h"

#include <QuillonBase/IProgress.h>

#include <span>

namespace ORVEN {

/// Sets every pixel in a ball to the greatest squared radius of all balls that contain it, as `PixelOf`.
/// Other pixels keep their value. The balls are in order of decreasing size. Returns false if cancelled.
///
/// The image is divided into boxes, these into eight parts and so on, and each part takes over those balls of
/// its box that it needs; see `CPartSearch`. A pixel is compared with the balls of the smallest box around
/// it.
///
/// Time: where balls change gradually from one to the next, as along the axis of a pore or a wall, the number
/// of balls that a box needs depends on its size and not on theirs, so that the time per pixel depends little
/// on the radii. It grows with the number of balls that differ by less than a pixel, such as those around the
/// centre of a digital ball. In the worst case, when every ball is the largest somewhere in every box, it is
/// the product of the numbers of balls and of pixels divided by 128; no such structure is known. Memory: 4
/// bytes per ball, and again for each of a few hundred boxes that needs it. In images of more than 2^26
/// pixels, these are boxes of 2^16 to 2^19 pixels.
bool CoverWithBalls(std::span<const StPlacedBall> balls, const CLayerView<float>& output,
                    IProgress& progress);

} // namespace ORVEN
