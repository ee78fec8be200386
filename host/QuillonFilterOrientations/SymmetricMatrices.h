#pragma once

#include <array>
#include <vector>

namespace ORVEN::Impl {

/// The entries of a symmetric matrix. A 2-d matrix has the first three.
enum EnMatrixPlace { XX, YY, XY, ZZ, XZ, YZ };

/// Symmetric matrices, with one vector for each entry.
using SymmetricMatrices = std::array<std::vector<double>, 6>;

} // namespace ORVEN::Impl
