#pragma once

#include "topology/StLocalTopology.h"

#include <sorblib2core/CPluginBase.h>

namespace quillon {

/// "LocalEulerNumber": computes the Euler number of the 3 x 3 x 3 neighbourhood of each pixel of a binary
/// image. See `CLocalEulerNumbers`.
class CLocalEulerNumberPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    StLocalTopology m_settings;
};

} // namespace quillon
