#pragma once

#include <QuillonTransformation/CEdtVoronoi.h>

namespace ORVEN {

/// Computes the distance of each pixel of a binary image to the nearest pixel of the other phase along one
/// axis. Each line of the image is processed independently: this is the one-dimensional case of
/// `CEdtVoronoi`, and its rules for images, seeds, units and edges apply here too. A line without a seed
/// gives 0.
///
/// Time: linear in the number of pixels. Memory: one line.
class CLinearDistanceTransformation : public CEdtVoronoi {
public:
    using CEdtVoronoi::CEdtVoronoi;
    ~CLinearDistanceTransformation() override;

    /// Fills all of `distance`, an IMAGE_GREY_F. Sets its spacing, its minimum and maximum under
    /// `c_sMetaMinMax`, and its greatest distance. `direction` is 'x', 'y' or 'z'. Along an axis that the
    /// image does not have, all distances are 0. With `squared` the square root is omitted.
    ///
    /// Raises `CException` as `CheckArguments` does. An IMAGE_GREY_32 passes that check and is transformed;
    /// the typed traversal that scales distances to the unit of the spacing then rejects it. This is
    /// deliberate.
    void CalculateDistanceMap(IImage& distance, const IImage& binary, char direction, bool onForeground,
                              bool squared, bool embeddedEdge);

private:
    void TransformLines(IImage& distance, int axis, bool embeddedEdge);
};

} // namespace ORVEN
