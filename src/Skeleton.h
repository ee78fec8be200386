#pragma once

#include "topology/StSkeletonParameters.h"

#include <sorblib2core/CPluginBase.h>

namespace quillon {

/// "Skeleton": thins a 3-d binary image to the pixels of its medial axis with a sufficient radius and
/// bisector angle, and the pixels that connect them. The topology of the object is preserved. See
/// `CSkeletonCouprierZour`, which does all of this in one call.
class CTopologicalSkeletonPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    void Configure(void* context, ORVEN::CValueMap& settings) override;
    void Reset() override;
    void GetData(ORVEN::CValueMap& tree) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;

private:
    StSkeletonParameters m_parameters;
};

} // namespace quillon
