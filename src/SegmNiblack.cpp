#include "SegmNiblack.h"

#include "plugin/PluginContract.h"
#include "segmentation/LocalThresholders.h"

namespace {

constexpr quillon::StLocalThresholdingMethod c_method{
    .name = "Niblack",
    .fastMethod = 0,
    .tellsTime = false,
    .unsupported = "nonfast Niblack implementation supports only image types 8bit and 16bit integer.",
    .older8 = quillon::RunOlderThresholder<quillon::CNiblackThresholder<unsigned char>>,
    .older16 = quillon::RunOlderThresholder<quillon::CNiblackThresholder<unsigned short>>,
};

} // namespace

void CSegmNiblackPlugin::GetPluginSetup(ORVEN::CValueMap& setup) { quillon::contract::DescribePlugin(setup); }

bool CSegmNiblackPlugin::TestParameters(const ORVEN::CValueMap& tree) {
    return quillon::AcceptsLocalThresholding(tree);
}

void CSegmNiblackPlugin::UpdateParameters(const ORVEN::CValueMap& tree) { m_settings.Update(tree); }

void CSegmNiblackPlugin::GetData(ORVEN::CValueMap& tree) {
    quillon::RunLocalThresholding(tree, m_settings, c_method);
}
