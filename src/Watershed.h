#pragma once

#include "segmentation/floods/WatershedCriteria.h"

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <array>
#include <cstdint>

namespace quillon {

/// "Watershed": divides a grey image into labelled regions that grow from its minima or from markers. Pixels
/// between regions get label 0. See `CWatershedTemplate` for the transform.
class CWatershedPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    void Reset() override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    ORVEN::CValueMap* m_focusedDocument = nullptr;
    std::array<char, 100> m_neighborhood{}; // not terminated if the text fills it
    std::uint32_t m_parameter = 0;
    ORVEN::EnWatershedMode m_mode = ORVEN::WATERSHED_NORMAL;
    ORVEN::CImage* m_markers = nullptr;
};

} // namespace quillon
