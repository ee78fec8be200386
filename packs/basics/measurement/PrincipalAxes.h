#pragma once

#include "pixels/Geometry.h"

#include <array>

namespace quillon::basics {

/// An axis of a distribution of points: its variance along a unit vector.
struct StPrincipalAxis {
    double variance = 0.0;
    Triple direction{};
};

/// A symmetric matrix by rows.
using Matrix = std::array<Triple, 3>;

/// The eigenvalues and eigenvectors of a covariance matrix, the greatest variance first. Of the two opposite
/// vectors of an axis, it is the one whose greatest component by absolute value is positive; of equal ones
/// the first counts. Rows and columns that are 0 belong to axes that the image does not have; they come last.
///
/// Jacobi's method: rotations in one plane at a time, until the matrix is diagonal to the last digit.
[[nodiscard]] std::array<StPrincipalAxis, 3> PrincipalAxes(Matrix covariance);

} // namespace quillon::basics
