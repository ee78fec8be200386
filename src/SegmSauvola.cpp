#include "SegmSauvola.h"

#include "plugin/PluginContract.h"
#include "segmentation/LocalThresholders.h"

namespace {

constexpr quillon::StLocalThresholdingMethod c_method{
    .name = "Sauvola",
    .fastMethod = 1,
    .tellsTime = true,
    .unsupported = "nonfast Sauvola implementation supports only image types 8bit and 16bit integer.",
    .older8 = quillon::RunOlderThresholder<quillon::CSauvolaThresholder<unsigned char>>,
    .older16 = quillon::RunOlderThresholder<quillon::CSauvolaThresholder<unsigned short>>,
};

} // namespace

void CSegmSauvolaPlugin::GetPluginSetup(ORVEN::CValueMap& setup) { quillon::contract::DescribePlugin(setup); }

bool CSegmSauvolaPlugin::TestParameters(const ORVEN::CValueMap& tree) {
    return quillon::AcceptsLocalThresholding(tree);
}

void CSegmSauvolaPlugin::UpdateParameters(const ORVEN::CValueMap& tree) { m_settings.Update(tree); }

void CSegmSauvolaPlugin::GetData(ORVEN::CValueMap& tree) {
    quillon::RunLocalThresholding(tree, m_settings, c_method);
}
