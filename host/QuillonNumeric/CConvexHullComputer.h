#pragma once

#include "QuillonNumeric/ConvexHull3d.h"

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/CImage.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ORVEN {

/// Computes the convex hull of an object in an image: load its pixels, compute the hull, paint it.
///
/// A pixel is treated as the point at its coordinates. Spacing is ignored, as convex hulls do not depend on
/// it. The hull is closed and exact: a pixel belongs to it if and only if its point is a convex combination
/// of the loaded points. The operation is therefore idempotent.
///
/// Images: IMAGE_BINARY_FG, IMAGE_GREY_8, IMAGE_GREY_16 and IMAGE_GREY_32 of the dimension of the hull. Other
/// images raise `CException`, for an unsupported type with "Image type %1 not supported.". In a binary image,
/// label 1 means every pixel that is not 0.
///
/// Time: loading reads each pixel of the box at most once and stops at the ends of the object in each row.
/// Computing takes O(n log n) for the n corners of the hulls of all slices; a ball with a radius of 100
/// pixels has about 12,500 of them. Painting is linear in the numbers of rows, facets and pixels filled.
/// Memory beside the image: 24 bytes per corner, 80 per facet, and 8 per row of the bounding box.
///
/// Sources: A. Andrew, *Another efficient algorithm for convex hulls in two dimensions*, 1979, and those of
/// `ConvexHull3d`.
class CConvexHullComputer : public CAlgorithm {
public:
    /// A box from start (included) to end (excluded), in pixels of the image. For a 2-d image z is ignored.
    struct CBox {
        std::int32_t startX;
        std::int32_t startY;
        std::int32_t startZ;
        std::int32_t endX;
        std::int32_t endY;
        std::int32_t endZ;
    };

    /// `dimension` is 2 or 3; anything else raises `CException`. `name` and `parent` are passed to
    /// `CAlgorithm`.
    CConvexHullComputer(std::size_t dimension, const char* name, const IObject* parent);
    ~CConvexHullComputer() override;

    /// Replaces all points by the pixels of that label inside the box. The box is clipped to the image; an
    /// empty box has no points.
    void loadPointsFromImageBox(const CImage& image, std::size_t label, int startX, int startY, int startZ,
                                int endX, int endY, int endZ);

    /// Computes the hull. Raises `CException` "Convex hull needs %1 affinely independent points, found %2."
    /// if the points do not span the space: there are none, all are equal or on a line, or, in 3-d, in a
    /// plane.
    void compute();

    /// Writes the label, truncated to the pixel type, to all pixels of the hull inside the box, which is
    /// clipped to the image. Raises `CException` if no hull has been computed.
    void paintConvexHullToImage(CImage& image, CBox box, std::size_t label) const;

private:
    void RequireDimension(const CImage& image) const;
    void MovePointsToOrigin();

    std::size_t m_dimension;
    // Corners of the hull of each slice, counter-clockwise. In 2-d, corners of the hull.
    std::vector<StLatticePoint> m_points;
    StLatticePoint m_origin; // position in the image that the points are relative to
    // Results of `compute`.
    bool m_isComputed = false;
    StLatticePoint m_extent; // of the bounding box of the points, which then starts at (0, 0, 0)
    std::vector<StHullFacet> m_facets;
};

} // namespace ORVEN
