#pragma once

#include "QuillonMeasurement/StFieldFeaturesData3d.h"
#include "QuillonMeasurement/StNeighborConfiguration.h"

#include <QuillonBase/CAlgorithm.h>

namespace ORVEN {

/// Estimates the densities of the intrinsic volumes of a structure - volume, surface, integrals of mean and
/// total curvature, Euler number - from how often each configuration of 2 x 2 x 2 pixels occurs.
///
/// Every density is a sum over the configurations of a coefficient times the share of its blocks. Surface
/// comes from the changes between foreground and background along 13 directions, mean curvature from the
/// Euler numbers of sections by 13 planes, both weighted by the share of all directions that each stands for
/// at the given spacing. The Euler number counts foreground as connected over corners (26 neighbours) and is
/// exact for objects inside the window.
///
/// Coefficients are kept by thread for the spacing used last; with them a call takes five sums of 256
/// products.
///
/// Sources: J. Ohser, F. Muecklich, *Statistical Analysis of Microstructures in Materials Science*, 2000;
/// C. Lang, J. Ohser, R. Hilfer, *On the analysis of spatial binary images*, 2001; D. Legland, K. Kieu,
/// M.-F. Devaux, *Computation of Minkowski measures on 2D and 3D binary images*, 2007.
class CFieldFeatures : public CAlgorithm {
public:
    using CAlgorithm::CAlgorithm;

    /// Fills `data`. Without any block all features are 0.
    void Calculate(const StNeighborConfiguration& configuration, const StFieldFeaturesParameter& parameter,
                   StFieldFeaturesData3d& data) const;
};

} // namespace ORVEN
