#include "QuillonMeasurement/StFieldFeaturesData3d.h"

#include <sorblib2core/CValueDouble.h>

namespace ORVEN {

StFieldFeaturesData3d::operator CValueMap() const {
    CValueMap map;
    // The key is made first: it can raise, and nobody owns a value that is not in the map yet.
    const auto set = [&map](const CValue_Key& key, double value) {
        map.SetEntry(key, new CValueDouble(value));
    };
    set("V_V", volumeDensity);
    set("S_V [m^-1]", surfaceDensity);
    set("M_V [m^-2]", meanCurvatureDensity);
    set("K_V [m^-3]", totalCurvatureDensity);
    set("Euler number density [m^-3]", eulerNumberDensity);
    set("Mean chord length [m]", meanChordLength);
    set("Structure model index", structureModelIndex);
    set("Blocks", blockCount);
    return map;
}

} // namespace ORVEN
