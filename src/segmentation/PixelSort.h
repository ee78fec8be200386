#pragma once

#include <sorblib2image/IImage.h>

#include <cstdint>
#include <vector>

namespace ORVEN {

/// Sorts the pixels of an image by value, in ascending order, without comparing pixels: the first pass counts
/// the values, the second one distributes the pixels. Pixels of equal value stay in raster order (x fastest,
/// then y, then z).
///
/// T is the pixel type of the image, one of `unsigned char`, `unsigned short`, `unsigned int`, `float`, and
/// `dimension` is its dimension, 2 or 3. No extent may exceed 65536. The coordinates of the sorted pixels are
/// returned in `x`, `y` and `z` (all 0 in two dimensions). Level i occupies the indices from `levelStarts[i]`
/// up to but not including `levelStarts[i + 1]`. All four vectors are overwritten. Returns the number of
/// levels. For 8 and 16 bits each possible value is a level, so that there are 256 or 65536 levels, some of
/// them empty. Beyond 16 bits only values that occur are levels. +0.0 and -0.0 are one value. All NaN form
/// one level, the last, above +infinity.
///
/// Both passes report to the host's progress sink. Check its `IsCancelled` before using the result: a
/// cancelled sort can leave the lists partly filled; a cancelled count leaves all four vectors empty and
/// returns 0. Raises the `CException` of a traversal for images of another type or size.
///
/// Time: linear in the number of pixels. Memory: 6 bytes per pixel and 8 per level. During the sort
/// additionally 24 bytes per bin (256 or 65536 bins), and beyond 16 bits 2 more per pixel. Until the levels
/// are known, 8 bytes per pixel of the fullest bin take their place.
template <class T, int dimension>
std::uint32_t GetHistogramAndPixelSort(std::vector<std::uint16_t>& x, std::vector<std::uint16_t>& y,
                                       std::vector<std::uint16_t>& z, std::vector<std::uint64_t>& levelStarts,
                                       const IImage& image);

/// The same, but only for pixels with label 0 in the image of seeds. The seeds have 8, 16 or 32 bits or are
/// binary foreground, and have the size of the image. Another type raises `CException` with "Image type %1
/// not supported.". `highestLabel` receives the highest seed, or 0 if there is none.
template <class T, int dimension>
std::uint32_t GetHistogramAndPixelSort(std::vector<std::uint16_t>& x, std::vector<std::uint16_t>& y,
                                       std::vector<std::uint16_t>& z, std::vector<std::uint64_t>& levelStarts,
                                       const IImage& image, const IImage& seeds, std::uint32_t& highestLabel);

} // namespace ORVEN
