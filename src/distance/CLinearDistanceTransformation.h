#pragma once

#include <QuillonTransformation/CEdtVoronoi.h>

namespace ORVEN {

/// The distance of each pixel of a binary image to the nearest pixel of the other phase along one axis, each
/// line of the image for itself: the one-dimensional case of `CEdtVoronoi`, whose images, seeds, unit and
/// edges hold here too. A line without a seed gives 0.
///
/// Time: linear in the number of pixels. Memory: one line.
class CLinearDistanceTransformation : public CEdtVoronoi {
public:
    using CEdtVoronoi::CEdtVoronoi;
    ~CLinearDistanceTransformation() override;

    /// Fills all of `distance`, an IMAGE_GREY_F, and sets its spacing, its minimum and maximum under
    /// `c_sMetaMinMax`, and its greatest distance. `direction` is 'x', 'y' or 'z'; along an axis that the
    /// image lacks all distances are 0. `squared` leaves out the square root.
    ///
    /// Raises `CException` as `CheckArguments` does. An IMAGE_GREY_32 passes that, is transformed, and is
    /// then refused by the typed traversal that brings distances to the unit of the spacing; this is meant.
    void CalculateDistanceMap(IImage& distance, const IImage& binary, char direction, bool onForeground,
                              bool squared, bool embeddedEdge);

private:
    void TransformLines(IImage& distance, int axis, bool embeddedEdge);
};

} // namespace ORVEN
