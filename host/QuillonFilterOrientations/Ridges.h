#pragma once

#include "QuillonFilterOrientations/SymmetricMatrices.h"

#include <QuillonBase/VectorDispatch.h>

#include <array>
#include <cstddef>
#include <vector>

namespace ORVEN::Impl {

/// What second derivatives tell of pixels: whether each lies on a bright ridge, and which way that runs.
struct StRidges {
    std::vector<double> isRidge;                  ///< 1 or 0
    std::array<std::vector<double>, 3> direction; ///< of length 1 on a ridge, else 0
};

/// Finds ridges from `count` matrices of second derivatives, of 2 or 3 dimensions, in grey values times
/// sigma^2.
///
/// With the eigenvalues ordered by magnitude, the direction is the eigenvector of the least, along which grey
/// values change least. On a bright ridge the others are negative, and not by rounding alone: below -0.001.
///
/// In 3-d eigenvalues are computed from the cosine form of the cubic's roots (O. K. Smith, Eigenvalues of a
/// symmetric 3x3 matrix, 1961), the eigenvector as the longest cross product of rows; where that is not
/// exact to 1e-6 of the greatest entry, or two eigenvalues are the least, an iterative solver takes over.
/// Nothing but correctly rounded operations is used, so that directions are the same on each processor.
void FindRidges(std::size_t dimension, std::size_t count, SymmetricMatrices& matrices, EnVectors vectors,
                StRidges& ridges);

} // namespace ORVEN::Impl
