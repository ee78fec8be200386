#pragma once

#include "topology/StLocalTopology.h"

#include <sorblib2core/CPluginBase.h>

namespace quillon {

/// "MarkSimplePoints": marks the foreground pixels of a binary image that can be removed without changing its
/// local topology. Marked pixels are 255, all others keep their value. See `topology/SimplePointTest.h` for
/// the test.
class CMarkSimplePointsPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    StLocalTopology m_settings;
};

} // namespace quillon
