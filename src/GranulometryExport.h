#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/CImage.h>

#include <string>

namespace quillon {

/// "GranulometryExport": writes the numbers of pixels by diameter that "Granulometry" has left in an image to
/// a table of text, which a person picks a file for.
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
    // Of the last image in focus that had been measured. The image owns the result and can have another one
    // by the time of the export.
    const ORVEN::CValueMap* m_result = nullptr;
    const ORVEN::CImage* m_image = nullptr;
};

} // namespace quillon
