#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2image/CImage.h>

namespace quillon {

/// "PointwiseRelation": compares the pixels and the headers of two images, and shows the result in a message
/// box. See measurement/CompareImages.h for the text.
class CPointwiseRelationPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    void Configure(void* context, ORVEN::CValueMap& settings) override;
    void Reset() override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    ORVEN::CValueMap* m_focusedDocument = nullptr;
    const ORVEN::CImage* m_secondImage = nullptr;
};

} // namespace quillon
