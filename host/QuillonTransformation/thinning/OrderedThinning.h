#pragma once

#include <QuillonBase/IProgress.h>
#include <sorblib2image/IImage.h>

#include <string>

namespace ORVEN {

class CSquaredDistanceView;

/// Number of bytes in which a queue holds the place of a pixel: 4 where they suffice, or always 8.
enum class EnPlaceSize { SUFFICIENT, WIDE };

/// Thins a binary object to a skeleton of the same topology. Simple pixels are removed one at a time, those
/// near the background first; anchors are never removed.
///
/// `input` and `anchors`: binary images, 0 or not. `squaredDistance`: IMAGE_GREY_32, the squared distances of
/// the object pixels to the background. `output`: IMAGE_BINARY_FG. All are of dimension 3 and have the same
/// size; everything beyond the border is background. Anchors in the background are ignored. `neighborhood` is
/// the neighbourhood of the object, "N6", "N14_1", "N14_2" or "N26"; the background uses the dual one.
///
/// Order: there is one queue for each squared distance, filled in raster order with the object pixels except
/// the anchors. The queues are emptied in ascending order of distance. A pixel taken from a queue is removed
/// if it is simple with respect to the remaining object. Those of its 26 neighbours that were kept earlier
/// are then queued again, in raster order, at the current distance. The result is therefore the same set of
/// pixels on every machine, has no simple pixels other than anchors, moves with the object, and does not
/// depend on the extent of the background around it. An object without cavities and tunnels is reduced to one
/// pixel if it holds no anchor. Pixels are removed one at a time, so only one thread is used.
///
/// Raises `CException` "Invalid neighborhood id '%1'.", and for a type or size that does not fit or a
/// distance that cannot occur in an object of that size. A cancelled run returns early with an output of
/// zeros.
///
/// Time: linear in the number of pixels, about 15 ns per object pixel. Memory: 0.5 bytes per pixel plus 4 per
/// object pixel, or 8 per object pixel for an image of more than about 1300^3.
///
/// E. R. Davies, A. P. N. Plummer, Thinning algorithms: a critique and a new methodology, 1981; C. Pudney,
/// Distance-ordered homotopic thinning, 1998; with anchors as in M. Couprie, D. Coeurjolly, R. Zrour,
/// Discrete bisector function and Euclidean skeleton in 2D and 3D, 2007.
void ThinByDistance(const IImage& input, const IImage& squaredDistance, const IImage& anchors, IImage& output,
                    const std::string& neighborhood, IProgress& progress,
                    EnPlaceSize placeSize = EnPlaceSize::SUFFICIENT);
/// The same without validating the distances again. `anchors` and `output` can be the same image.
void ThinByDistance(const IImage& input, const CSquaredDistanceView& squaredDistance, const IImage& anchors,
                    IImage& output, const std::string& neighborhood, IProgress& progress,
                    EnPlaceSize placeSize = EnPlaceSize::SUFFICIENT);

/// Raises `CException` for a neighbourhood that `ThinByDistance` would reject.
void RequireSkeletonNeighborhood(const std::string& id);

} // namespace ORVEN
