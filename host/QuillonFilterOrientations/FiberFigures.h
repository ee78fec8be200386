#pragma once

#include "QuillonFilterOrientations/CDirectionSums.h"
#include "QuillonFilterOrientations/StAxisAngles.h"

#include <sorblib2core/CValueMap.h>

#include <memory>

namespace ORVEN::Impl {

/// What is told of a region: its orientation tensor, the mean of v v^T over the directions v of its evaluated
/// pixels (S. G. Advani, C. L. Tucker, The use of tensors to describe and predict fiber orientation in short
/// fiber composites, 1987), and what follows from it. Without evaluated pixels all of it is 0.
struct StFiberFigures {
    StFiberFigures(const StDirectionSum& sum, std::size_t dimension);

    std::array<double, 6> tensor{};      ///< xx, xy, xz, yy, yz, zz
    std::array<double, 3> eigenvalues{}; ///< greatest first
    Direction mainDirection{};           ///< for the greatest; in the half space
    double anisotropy = 0.0;             ///< 0 for all directions alike, 1 for one direction
};

/// The entries of a region: figures, box and counts. The same leaves in the same order for each region of an
/// image, so that rows of a table line up.
std::unique_ptr<CValueMap> MapOfRegion(const StFiberFigures& figures, const StDirectionSum& sum,
                                       const StPixelBox& box, std::size_t dimension);

/// The angle between two axes in [0, pi / 2]; 0 if either is no direction.
double AngleBetween(const Direction& a, const Direction& b);

} // namespace ORVEN::Impl
