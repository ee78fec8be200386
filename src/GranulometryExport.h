#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/CImage.h>

#include <string>

namespace quillon {

/// "GranulometryExport": writes the numbers of pixels by diameter that "Granulometry" has stored in an image
/// to a text table. The user picks the file.
class CGranulometryExportPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    void Save(const std::string& path) const;

    ORVEN::CValueMap* m_focusedDocument = nullptr;
    ORVEN::CString m_label;
    // From the most recent image in focus that had been measured. The image owns the result, and may have
    // replaced it by the time of the export.
    const ORVEN::CValueMap* m_result = nullptr;
    const ORVEN::CImage* m_image = nullptr;
};

} // namespace quillon
