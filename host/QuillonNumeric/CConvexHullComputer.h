#pragma once

#include "QuillonNumeric/ConvexHull3d.h"

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/CImage.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ORVEN {

/// The convex hull of an object of an image: load its pixels, compute the hull, paint it.
///
/// A pixel is the point of its coordinates; spacing plays no part, as hulls do not depend on it. The hull is
/// closed and exact: a pixel belongs to it if and only if its point is a mean of points loaded. The points of
/// a hull are its own hull, so that the operation is idempotent.
///
/// Images: IMAGE_BINARY_FG, IMAGE_GREY_8, IMAGE_GREY_16 and IMAGE_GREY_32 of the hull's dimension; others
/// raise `CException`, with "Image type %1 not supported." for the type. In a binary image label 1 is all
/// that is not 0.
///
/// Growth: loading looks at most once at each pixel of the box, and stops in each row at the object. The hull
/// takes n log n in the corners n of the hulls of all slices, of which a ball of 100 pixels has some 8000.
/// Painting is linear in the rows and facets, apart from the pixels that it fills. Memory beside the image:
/// 24 bytes for each such corner, 80 a facet, 8 a row of the box around the object.
///
/// Sources: A. Andrew, *Another efficient algorithm for convex hulls in two dimensions*, 1979, and those of
/// `ConvexHull3d`.
class CConvexHullComputer : public CAlgorithm {
public:
    /// A box of pixels from start to before end, in pixels of the image. A 2-d image does not look at z.
    struct CBox {
        std::int32_t startX;
        std::int32_t startY;
        std::int32_t startZ;
        std::int32_t endX;
        std::int32_t endY;
        std::int32_t endZ;
    };

    /// A hull in 2 or 3 dimensions; anything else raises `CException`.
    CConvexHullComputer(std::size_t dimension, const char* name, const IObject* parent);
    ~CConvexHullComputer() override;

    /// Takes the pixels of that label inside the box as points, in place of all points before. The box is cut
    /// to the image; an empty box has no points.
    void loadPointsFromImageBox(const CImage& image, std::size_t label, int startX, int startY, int startZ,
                                int endX, int endY, int endZ);

    /// Raises `CException` "Convex hull needs %1 affinely independent points, found %2." if the points do not
    /// span the space: none, one, all in a line, or in 3-d all in a plane.
    void compute();

    /// Writes the label, narrowed to the pixel type, to all pixels of the hull inside the box, which is cut
    /// to the image. Raises `CException` without a computed hull.
    void paintConvexHullToImage(CImage& image, CBox box, std::size_t label) const;

private:
    void RequireDimension(const CImage& image) const;
    void MovePointsToOrigin();

    std::size_t m_dimension;
    // Corners of the hull of each slice, counter-clockwise; in 2-d those of the hull.
    std::vector<StLatticePoint> m_points;
    StLatticePoint m_origin; // the place in the image from which the points count
    // What `compute` makes of them.
    bool m_isComputed = false;
    StLatticePoint m_extent; // of the box around the points, which then starts at the origin
    std::vector<StHullFacet> m_facets;
};

} // namespace ORVEN
