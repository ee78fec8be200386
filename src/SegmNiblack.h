#pragma once

#include "segmentation/LocalThresholding.h"

#include <sorblib2core/CPluginBase.h>

/// "SegmNiblack": binarises a grey image by Niblack's local threshold. See `CFastLocalThresholding` for the
/// formula.
class CSegmNiblackPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    quillon::StLocalThresholding m_settings;
};
