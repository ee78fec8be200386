#pragma once

#include "QuillonFilterOrientations/SymmetricMatrices.h"

#include <QuillonBase/VectorDispatch.h>

#include <array>
#include <cstddef>
#include <vector>

namespace ORVEN::Impl {

/// For each pixel, whether it is on a bright ridge, and the direction of the ridge.
struct StRidges {
    std::vector<double> isRidge;                  ///< 1 or 0
    std::array<std::vector<double>, 3> direction; ///< unit vector on a ridge, else 0
};

/// Finds ridges from `count` matrices of second derivatives of 2 or 3 dimensions, in grey values (derivatives
/// times sigma^2). `matrices` are padded to whole vectors.
///
/// The direction is the eigenvector of the eigenvalue of smallest magnitude, along which grey values change
/// least. On a bright ridge the other eigenvalues are negative, and below -0.001 to exclude rounding errors.
///
/// In 3-d, eigenvalues are computed from the cosine form of the roots of the cubic (O. K. Smith, *Eigenvalues
/// of a symmetric 3x3 matrix*, 1961), and the eigenvector as the longest cross product of rows. If that is
/// not accurate to 1e-6 of the greatest entry, or if the two smallest eigenvalues have the same magnitude, an
/// iterative solver is used. Only correctly rounded operations are used, so that directions are the same on
/// every processor.
void FindRidges(std::size_t dimension, std::size_t count, SymmetricMatrices& matrices, EnVectors vectors,
                StRidges& ridges);

} // namespace ORVEN::Impl
