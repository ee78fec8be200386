#pragma once

#include <QuillonFilterOrientations/CHessianOrientations.h>
#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <cstdint>

/// "LocalFiberDirections": measures the directions of bright fibres and stores the measurement with the
/// features of the image. On request the direction maps become documents of their own. See
/// `CSubfieldFiberDirections` for the measurement.
class CLocalFiberDirectionsPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    void UpdateSubfields(const ORVEN::CValueMap& parameters);
    void UpdateAdvanced(const ORVEN::CValueMap& parameters);
    void CheckParameters() const;

    ORVEN::CValueMap* m_focusedDocument = nullptr;
    ORVEN::CString m_viewPlugin;
    std::int64_t m_subfieldX = -1; // in pixels; -1 for all three means no subfields
    std::int64_t m_subfieldY = -1;
    std::int64_t m_subfieldZ = -1;
    double m_fiberRadius = 1.0; // in the unit of the spacing
    bool m_isAdvanced = false;
    bool m_wantsDirections = false;
    double m_otsuFactor = ORVEN::CHessianOrientations::m_fDefaultOtsuFactor;
    bool m_usesOtsu = true;
    ORVEN::CImage* m_mask = nullptr;
};
