#pragma once

#include "topology/StSkeletonParameters.h"

#include <sorblib2core/CPluginBase.h>

namespace quillon {

/// "EuclideanSkeleton": thins a 3-d binary image to its medial axis, of the pixels with enough radius, and
/// what joins them, with the topology of the object. See `CSkeletonCouprierZour`, whose stages run one by one
/// here and can be cancelled in between.
class CEuclideanSkeletonPlugin : public ORVEN::CPluginBase {
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
