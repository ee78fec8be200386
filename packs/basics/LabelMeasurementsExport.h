#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <string>

namespace quillon::basics {

/// "LabelMeasurementsExport": writes what "LabelMeasurements" has stored in an image to a text table, one
/// line for each label. The user picks the file.
class CLabelMeasurementsExportPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    static void Save(const ORVEN::CImage& image, const ORVEN::CValueMap& objects, const std::string& path);

    ORVEN::CValueMap* m_focusedDocument = nullptr;
};

} // namespace quillon::basics
