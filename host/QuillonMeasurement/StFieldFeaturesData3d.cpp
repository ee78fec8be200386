#include "QuillonMeasurement/StFieldFeaturesData3d.h"

#include <sorblib2core/CValueDouble.h>

namespace ORVEN {

StFieldFeaturesData3d::operator CValueMap() const {
    CValueMap map;
    map.SetEntry("V_V", new CValueDouble(volumeDensity));
    map.SetEntry("S_V [m^-1]", new CValueDouble(surfaceDensity));
    map.SetEntry("M_V [m^-2]", new CValueDouble(meanCurvatureDensity));
    map.SetEntry("K_V [m^-3]", new CValueDouble(totalCurvatureDensity));
    map.SetEntry("Euler number density [m^-3]", new CValueDouble(eulerNumberDensity));
    map.SetEntry("Mean chord length [m]", new CValueDouble(meanChordLength));
    map.SetEntry("Structure model index", new CValueDouble(structureModelIndex));
    map.SetEntry("Blocks", new CValueDouble(blockCount));
    return map;
}

} // namespace ORVEN
