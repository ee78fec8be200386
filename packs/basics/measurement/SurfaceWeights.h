#pragma once

#include "pixels/Geometry.h"

#include <vector>

namespace quillon::basics {

/// One of the directions to the 2, 8 or 26 neighbours of a pixel, each taken once with its opposite.
struct StDirection {
    int dx = 0;
    int dy = 0;
    int dz = 0;
    /// The surface that each change between object and background along this direction stands for.
    double surface = 0.0;
};

/// The 1, 4 or 13 directions of a dimension. The sum of `surface` over all changes from object to background
/// and back is an estimate of the length of the boundary (2-d) or of its area (3-d); in 1-d it is the number
/// of ends.
///
/// The formulas of Cauchy and Crofton express the surface by the mean number of intersections with lines over
/// all directions: in space S = 2 mean(n), in the plane L = pi / 2 mean(n), where n is the number of
/// intersections times the cross-section of a line. Lines through neighbouring pixels at distance d have the
/// cross-section v / d, where v is the volume of a pixel. The mean weighs each direction by the part of the
/// sphere (the circle) whose nearest direction it is, so that the weights fit any spacing.
///
/// Sources: J. Serra, *Image analysis and mathematical morphology*, 1982; J. Ohser, F. Muecklich,
/// *Statistical analysis of microstructures in materials science*, 2000; G. Lehmann, D. Legland, *Efficient
/// N-dimensional surface estimation using Crofton formula and run-length encoding*, 2012; for the solid angle
/// of a triangle, A. van Oosterom, J. Strackee, 1983.
[[nodiscard]] std::vector<StDirection> SurfaceDirections(int dimension, const Triple& spacing);

} // namespace quillon::basics
