#pragma once

#include <sorblib2image/IImage.h>

#include <cstdint>
#include <vector>

namespace ORVEN {

/// Sorts the pixels of an image by value, ascending, without comparing pixels: one pass counts, a second one
/// deals them out. Pixels of equal value keep raster order (x fastest, then y, then z).
///
/// T is the pixel type of the image, one of `unsigned char`, `unsigned short`, `unsigned int`, `float`, and
/// `dimension` is its dimension, 2 or 3; no extent may be above 65536. The coordinates of the sorted pixels
/// stand in `x`, `y` and `z` (all 0 in two dimensions), and level i at the places from `levelStarts[i]` up to
/// but not including `levelStarts[i + 1]`; all four are overwritten. Returns the number of levels. Up to 16
/// bits a level is a value, and there are 256 or 65536 of them, empty ones included; beyond, a level is a
/// value that occurs. +0.0 and -0.0 are one value. All NaN make one level, the last, above +infinity.
///
/// Both passes report to the host's progress sink. Ask it `IsCancelled` before using the result: a cancelled
/// sort leaves the lists partly filled, a cancelled count leaves all four vectors empty and answers 0. Raises
/// the `CException` of a traversal for images of another type or size.
///
/// Time linear in the pixels. Memory: 6 bytes a pixel and 8 a level; while it works 24 bytes a bin (256 or
/// 65536), and beyond 16 bits 2 more a pixel and 16 a pixel of the fullest bin.
template <class T, int dimension>
std::uint32_t GetHistogramAndPixelSort(std::vector<std::uint16_t>& x, std::vector<std::uint16_t>& y,
                                       std::vector<std::uint16_t>& z, std::vector<std::uint64_t>& levelStarts,
                                       const IImage& image);

/// The same for those pixels only that have label 0 in the image of seeds: 8, 16 or 32 bits, or binary
/// foreground, of the size of the image. Another type raises `CException` with "Image type %1 not
/// supported.". `highestLabel` is the highest seed, 0 if there is none.
template <class T, int dimension>
std::uint32_t GetHistogramAndPixelSort(std::vector<std::uint16_t>& x, std::vector<std::uint16_t>& y,
                                       std::vector<std::uint16_t>& z, std::vector<std::uint64_t>& levelStarts,
                                       const IImage& image, const IImage& seeds, std::uint32_t& highestLabel);

} // namespace ORVEN
