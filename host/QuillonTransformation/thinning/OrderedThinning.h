#pragma once

#include <QuillonBase/IProgress.h>
#include <sorblib2image/IImage.h>

#include <string>

namespace ORVEN {

/// In how many bytes a queue holds the place of a pixel: 4 where they suffice, or 8 in any case.
enum class EnPlaceSize { SUFFICIENT, WIDE };

/// Thins a binary object to a skeleton of the same topology: takes simple pixels away one after the other,
/// those near the background first, and anchors never.
///
/// `input` and `anchors`: binary images, 0 or not. `squaredDistance`: IMAGE_GREY_32, of the object's pixels
/// to the background. `output`: IMAGE_BINARY_FG. All of dimension 3 and one size; beyond the border all is
/// background. Anchors in the background are ignored. `neighborhood` is that of the object, "N6", "N14_1",
/// "N14_2" or "N26"; the background takes the dual one.
///
/// Order: one queue for each squared distance, filled in raster order with the object's pixels but the
/// anchors, and emptied from the lowest distance up. A pixel of the queue that is simple for what is left of
/// the object falls, and its 26 neighbours that were left standing before, in raster order, are queued again
/// at the present distance. So the result is one set of pixels on every machine, has no simple pixel but
/// anchors, moves with the object, and does not depend on the background around it. An object without cavity
/// and tunnel ends as one pixel if it holds no anchor. Pixels fall one at a time: one thread.
///
/// Raises `CException` "Invalid neighborhood id '%1'.", and for a type or size that does not fit or a
/// distance that no object of that size has. A cancelled run leaves early with an output of zeros.
///
/// Time: linear in the number of pixels, some 20 ns for each of the object. Memory: 0.75 bytes a pixel and 4
/// for each of the object, 8 for an image of more than about 1100^3.
///
/// E. R. Davies, A. P. N. Plummer, Thinning algorithms: a critique and a new methodology, 1981; C. Pudney,
/// Distance-ordered homotopic thinning, 1998; with anchors as in M. Couprie, D. Coeurjolly, R. Zrour,
/// Discrete bisector function and Euclidean skeleton in 2D and 3D, 2007.
void ThinByDistance(const IImage& input, const IImage& squaredDistance, const IImage& anchors, IImage& output,
                    const std::string& neighborhood, IProgress& progress,
                    EnPlaceSize placeSize = EnPlaceSize::SUFFICIENT);

/// Raises for an id that `ThinByDistance` would raise for.
void RequireSkeletonNeighborhood(const std::string& id);

} // namespace ORVEN
