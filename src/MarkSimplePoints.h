#pragma once

#include "topology/StLocalTopology.h"

#include <sorblib2core/CPluginBase.h>

namespace quillon {

/// "MarkSimplePoints": marks the foreground pixels of a binary image that can go without a change of its
/// local topology: 255, where others keep what they were. See `topology/SimplePointTest.h` for the test.
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
