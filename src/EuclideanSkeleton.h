#pragma once

#include "topology/StSkeletonParameters.h"

#include <sorblib2core/CPluginBase.h>

namespace quillon {

/// "EuclideanSkeleton": thins a 3-d binary image to the pixels of its medial axis with a sufficient radius
/// and the pixels that connect them. The topology of the object is preserved. The stages of
/// `CSkeletonCouprierZour` run one by one here, so that the run can be cancelled between them.
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
