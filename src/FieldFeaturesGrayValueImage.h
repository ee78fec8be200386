#pragma once

#include <sorblib2core/CPluginBase.h>

namespace quillon {

/// "FieldFeaturesGrayValueImage": measures the structure of the pixels brighter than a threshold, for every
/// threshold, and leaves the features in the header of the image. See `CFieldFeatures` for what they are.
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
