#pragma once

#include "topology/StSkeletonParameters.h"

#include <sorblib2core/CPluginBase.h>

namespace quillon {

/// "Skeleton": thins a 3-d binary image to the pixels of its medial axis with enough radius and bisector
/// angle and what joins them, with the topology of the object. See `CSkeletonCouprierZour`, which does it in
/// one call.
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
