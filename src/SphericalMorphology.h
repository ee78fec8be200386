#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>

#include <cstdint>

namespace quillon {

/// "SphericalMorphology": erodes, dilates, opens or closes a binary image with a ball. See
/// `CSphericalMorphology`.
class CSphericalMorphologyPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    ORVEN::CValueMap* m_focusedDocument = nullptr;
    ORVEN::CString m_operation{"erosion", ORVEN::CString::ENC_UTF8};
    std::int32_t m_radius = 1; ///< in pixels
};

} // namespace quillon
