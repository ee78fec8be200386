#pragma once

#include <sorblib2core/CPluginBase.h>

namespace quillon {

/// "FieldFeaturesGrayValueImage": for every threshold, measures the structure of the pixels brighter than it,
/// and stores the features in the header of the image. See `CFieldFeatures` for the features.
class CFieldFeaturesGrayValueImagePlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    ORVEN::CValueMap* m_focusedDocument = nullptr;
};

} // namespace quillon
