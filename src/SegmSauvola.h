#pragma once

#include "segmentation/LocalThresholding.h"

#include <sorblib2core/CPluginBase.h>

/// "SegmSauvola": binarises a grey image by Sauvola's local threshold. See `CFastLocalThresholding` for the
/// formula.
class CSegmSauvolaPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    quillon::StLocalThresholding m_settings;
};
