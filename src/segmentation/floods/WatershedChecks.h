#pragma once

#include <sorblib2image/IImage.h>

#include <array>
#include <cstdint>

namespace ORVEN {

/// Raises `CException`, in the name of `site`, unless a flood over a neighbourhood of that dimension can take
/// the images: all of that dimension and of one size, of at most 32766 pixels on an axis, input 8, 16 or 32
/// bits or float, output 32 bits, seeds (which can be null) 8, 16 or 32 bits. `site` lives as long as the
/// program. `engineSize` are the size fields of the engine as they stand before the run.
void CheckWatershedImages(const char* site, int dimension, const IImage& output, const IImage& input,
                          const IImage* seeds, const std::array<std::int16_t, 3>& engineSize);

/// Fills the label image of a flood: the seeds where there are any, `LabelInit` elsewhere.
void InitWatershedLabels(IImage& output, const IImage* seeds);

} // namespace ORVEN
