#pragma once

#include <sorblib2image/IImage.h>

#include <array>
#include <cstdint>

namespace ORVEN {

/// Checks whether a flood over a neighbourhood of the given dimension supports the images, and raises
/// `CException` in the name of `site` if not. All images have that dimension and the same size, of at most
/// 32766 pixels along an axis. The input has 8, 16 or 32 bits or is a float image, the output has 32 bits,
/// the seeds (which can be null) have 8, 16 or 32 bits. `site` has to live as long as the program.
/// `engineSize` are the size fields of the engine before the run.
void CheckWatershedImages(const char* site, int dimension, const IImage& output, const IImage& input,
                          const IImage* seeds, const std::array<std::int16_t, 3>& engineSize);

/// Initialises the label image of a flood: the seeds where there are any, `LabelInit` elsewhere.
/// Returns false if the host's sink cancelled it.
[[nodiscard]] bool InitWatershedLabels(IImage& output, const IImage* seeds);

} // namespace ORVEN
