#pragma once

#include <QuillonBase/IProgress.h>
#include <sorblib2image/IImage.h>

#include <string>

namespace ORVEN {

/// Computes the bisector angle of the object pixels that a mask selects.
///
/// `squaredDistance`: IMAGE_GREY_32, dimension 3, as for `MarkMedialAxis`. `mask`: a binary image of the same
/// size, such as the object or its medial axis. `output`: IMAGE_GREY_F of the same size.
///
/// The projection of an object pixel is the set of its nearest background pixels, including those beyond the
/// border of the image. The extended projection of x consists of its own projection and those of its face
/// neighbours in the object that are not farther from the background than x. `output` is the largest angle,
/// in radians from 0 to pi (3.1415927f), between two points of the extended projection as seen from x, where
/// the mask is not 0 and that angle, as a float, is at least `minimumAngle`; else 0. The angle is large where
/// x lies between walls and small near a single wall: at distance h from a flat wall it is 2 atan(1 / h).
///
/// `tablePath` is the path of a table of sphere vectors, see `LookUpTableFile.h`. If it is empty, or if the
/// table does not reach as far as the distances of the image, vectors are computed. The table affects the
/// speed, not the result.
///
/// Raises `CException` for a type, size or dimension that does not fit, for distances that no such object can
/// have, "Look-up table '%1' is not usable: %2.", and as `RequireMemory` for lists that do not fit. A
/// cancelled run returns early, with 0 everywhere.
///
/// Time: linear in the number of selected pixels. Memory: per thread, about 20 bytes for each pixel of three
/// planes.
///
/// M. Couprie, D. Coeurjolly, R. Zrour, Discrete bisector function and Euclidean skeleton in 2D and 3D, 2007;
/// the extended projection as in J. Chaussard, M. Couprie, H. Talbot, Robust skeletonization using the
/// discrete lambda-medial axis, 2011.
void ComputeBisector(const IImage& squaredDistance, const IImage& mask, IImage& output, float minimumAngle,
                     const std::string& tablePath, IProgress& progress);

} // namespace ORVEN
