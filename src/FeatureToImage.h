#pragma once

#include <sorblib2core/CPluginBase.h>

/// "FeatureToImage": makes an image of a measurement that stands in the header of the image in focus, to look
/// features up in by label or grey value. With more than one measurement a person picks one in a dialog.
class CFeatureMapToFeatureImagePlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    void MakeFeatureImage(ORVEN::CValueMap& tree) const;

    ORVEN::CValueMap* m_focusedDocument = nullptr;
};
