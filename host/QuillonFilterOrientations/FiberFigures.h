#pragma once

#include "QuillonFilterOrientations/CDirectionSums.h"
#include "QuillonFilterOrientations/StAxisAngles.h"

#include <sorblib2core/CValueMap.h>

#include <memory>

namespace ORVEN::Impl {

/// The results for a region: its orientation tensor, which is the mean of v v^T over the directions v of its
/// evaluated pixels (S. G. Advani, C. L. Tucker, *The use of tensors to describe and predict fiber
/// orientation in short fiber composites*, 1987), and quantities derived from it. All are 0 if no pixel was
/// evaluated.
struct StFiberFigures {
    StFiberFigures(const StDirectionSum& sum, std::size_t dimension);

    std::array<double, 6> tensor{};      ///< xx, xy, xz, yy, yz, zz
    std::array<double, 3> eigenvalues{}; ///< greatest first
    Direction mainDirection{};           ///< eigenvector of the greatest eigenvalue, see `InHalfSpace`
    double anisotropy = 0.0; ///< 0 if all directions are equally frequent, 1 for a single direction
};

/// The entries of a region: results, box and counts. All regions of an image have the same leaves in the same
/// order, so that the rows of a table match.
std::unique_ptr<CValueMap> MapOfRegion(const StFiberFigures& figures, const StDirectionSum& sum,
                                       const StPixelBox& box, std::size_t dimension);

/// The angle in radians between two axes, in [0, pi / 2]; 0 if either vector is 0.
double AngleBetween(const Direction& a, const Direction& b);

} // namespace ORVEN::Impl
