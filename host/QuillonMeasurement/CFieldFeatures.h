#pragma once

#include "QuillonMeasurement/StFieldFeaturesData3d.h"
#include "QuillonMeasurement/StNeighborConfiguration.h"

#include <QuillonBase/CAlgorithm.h>

namespace ORVEN {

/// Estimates the densities of the intrinsic volumes of a structure - volume, surface, integrals of mean and
/// total curvature, Euler number - from the frequencies of the configurations of 2 x 2 x 2 pixels.
///
/// Every density is a sum over the configurations: a coefficient times the fraction of blocks with that
/// configuration. Surface is estimated from the transitions between foreground and background along 13
/// directions, mean curvature from the Euler numbers of sections by 13 planes. Each direction is weighted by
/// the fraction of all directions that it represents at the given spacing. The Euler number treats foreground
/// pixels as connected across corners (26 neighbours) and is exact for objects inside the window.
///
/// Each thread keeps the coefficients for the spacing it used last. With these, a call takes four sums of 256
/// products.
///
/// Sources: J. Ohser, F. Muecklich, *Statistical Analysis of Microstructures in Materials Science*, 2000;
/// C. Lang, J. Ohser, R. Hilfer, *On the analysis of spatial binary images*, 2001; D. Legland, K. Kieu,
/// M.-F. Devaux, *Computation of Minkowski measures on 2D and 3D binary images*, 2007.
class CFieldFeatures : public CAlgorithm {
public:
    using CAlgorithm::CAlgorithm;

    /// Computes all features of `data`. If there are no blocks, they are all 0.
    void Calculate(const StNeighborConfiguration& configuration, const StFieldFeaturesParameter& parameter,
                   StFieldFeaturesData3d& data) const;
};

} // namespace ORVEN
