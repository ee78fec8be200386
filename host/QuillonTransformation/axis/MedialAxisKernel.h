#pragma once

#include <QuillonBase/IProgress.h>
#include <sorblib2image/IImage.h>

#include <cstdint>
#include <string>

namespace ORVEN {

class CSquaredDistanceView;

/// Marks the exact Euclidean medial axis of a binary object.
///
/// `squaredDistance`: IMAGE_GREY_32, dimension 3, the squared Euclidean distance of each pixel to the nearest
/// background pixel, in pixels (spacing is ignored), 0 in the background; everything beyond the border is
/// background. `output`: IMAGE_BINARY_FG of the same size. The ball of an object pixel x is the set of pixels
/// that are nearer to x than the background is. `output` is 1 where no other pixel's ball contains the ball
/// of x as a set of pixels and the squared distance is at least `squaredRadius`; else 0. The union of the
/// balls of the pixels on the whole axis is the object. An object of even width has an axis two pixels wide.
///
/// A ball is compared with those of its pixel's test neighbourhood, a list of vectors that suffices for all
/// balls up to a largest squared radius, its reach. The built-in list reaches to 128^2. Beyond that, the
/// result can contain pixels that are not on the axis, but never misses one that is. `tablePath` is the path
/// of a list of longer reach, see `LookUpTableFile.h`. The built-in list is used if the path is empty, or if
/// the reach of the file is shorter than both the image needs and the built-in list provides.
///
/// Raises `CException` for a type, size or dimension that does not fit, for distances that no such object can
/// have, "Look-up table '%1' is not usable: %2.", and as `RequireMemory` for a table that does not fit. A
/// cancelled run returns early, with 0 everywhere.
///
/// Time: linear in the number of pixels. A pixel that none of its 26 neighbours covers takes an arithmetic
/// step, sixteen at once, per vector of the list whose ball fits the image (31 for balls of radius 20, 314
/// for 64). Distances farther away are read only for the few vectors that the neighbours do not rule out.
/// Memory: a table that depends on the largest distance, 0.2 MB for balls of radius 32 and 42 MB for 128, and
/// beyond that on the distances that occur, at most 3 bytes per pixel with the built-in list.
///
/// E. Remy, E. Thiel, Look-up tables for medial axis on squared Euclidean distance transform, 2003, and Exact
/// medial axis with Euclidean distance, 2005.
void MarkMedialAxis(const IImage& squaredDistance, IImage& output, std::int64_t squaredRadius,
                    const std::string& tablePath, IProgress& progress);
/// The same without validating the distances again.
void MarkMedialAxis(const CSquaredDistanceView& distance, IImage& output, std::int64_t squaredRadius,
                    const std::string& tablePath, IProgress& progress);

} // namespace ORVEN
