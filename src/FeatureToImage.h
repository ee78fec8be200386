#pragma once

#include <sorblib2core/CPluginBase.h>

/// "FeatureToImage": makes an image from a measurement in the header of the image in focus, for looking up
/// features by label or grey value. If there are several measurements, the user picks one in a dialog.
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
