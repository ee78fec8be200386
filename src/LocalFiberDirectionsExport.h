#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/CImage.h>

#include <string>

namespace quillon {

/// "LocalFiberDirectionsExport": writes the fibre directions that "LocalFiberDirections" has stored in an
/// image to a text table, with one row for the field, one for each subfield and one for each slice.
class CLocalFiberDirectionsExportPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    void Save(const std::string& path) const;
    [[nodiscard]] std::string CommentLine(const ORVEN::CValueMap* subfields) const;

    ORVEN::CValueMap* m_focusedDocument = nullptr;
    ORVEN::CString m_label;
    // From the image in focus, which owns the features and may have replaced them by the time of the export.
    const ORVEN::CImage* m_image = nullptr;
    const ORVEN::CValueMap* m_features = nullptr;
    bool m_exportsField = true;
    bool m_exportsSubfields = false;
    bool m_exportsProfiles = false;
    ORVEN::CSize m_imageSize;
};

} // namespace quillon
