#pragma once

#include <QuillonBase/IProgress.h>
#include <sorblib2image/IImage.h>

#include <cstdint>
#include <string>

namespace ORVEN {

/// Marks the exact Euclidean medial axis of a binary object.
///
/// `squaredDistance`: IMAGE_GREY_32, dimension 3, the squared Euclidean distance of each pixel to the nearest
/// background pixel, in pixels (spacing plays no part), 0 in the background; beyond the border all is
/// background. `output`: IMAGE_BINARY_FG of the same size. The ball of an object pixel x is the set of pixels
/// nearer to x than the background. `output` is 1 where no other pixel's ball contains the ball of x as a set
/// of pixels, and the squared distance is at least `squaredRadius`; else 0. The balls of all such pixels make
/// up the object again. An object of even width has an axis two pixels wide.
///
/// A ball is compared with those of its pixel's test neighbourhood, a list of vectors that suffices for all
/// balls up to a greatest squared radius, its reach. The built-in list reaches to 128^2; beyond that the
/// result can hold pixels that are not on the axis, and never misses one that is. `tablePath` names a list of
/// longer reach, see `LookUpTableFile.h`; the built-in one is used where the path is empty and where the file
/// reaches less far than the image needs and than the built-in list does.
///
/// Raises `CException` for a type, size or dimension that does not fit, for distances that no such object
/// has, and "Look-up table '%1' is not usable: %2.". A cancelled run leaves early, with 0 everywhere.
///
/// Time: linear in the number of pixels; a pixel on the axis takes a step for each vector of the list whose
/// ball fits the image (31 for balls of radius 20, 314 for 64). Memory: a table that depends on the greatest
/// distance alone, 0.2 MB for balls of radius 32 and 42 MB for 128.
///
/// E. Remy, E. Thiel, Look-up tables for medial axis on squared Euclidean distance transform, 2003, and Exact
/// medial axis with Euclidean distance, 2005.
void MarkMedialAxis(const IImage& squaredDistance, IImage& output, std::int64_t squaredRadius,
                    const std::string& tablePath, IProgress& progress);

} // namespace ORVEN
