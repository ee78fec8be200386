#pragma once

#include <array>
#include <vector>

namespace ORVEN::Impl {

/// The places of a symmetric matrix; a matrix of two dimensions has the first three.
enum EnMatrixPlace { XX, YY, XY, ZZ, XZ, YZ };

/// Symmetric matrices, one vector a place.
using SymmetricMatrices = std::array<std::vector<double>, 6>;

} // namespace ORVEN::Impl
