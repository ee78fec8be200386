#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>

#include <cstdint>

namespace quillon {

/// "ExactBisector": computes the angle under which each object pixel of a 3-d binary image sees its nearest
/// background pixels, as a float image. See `CExactBisector`.
class CExactBisectorPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    void Configure(void* context, ORVEN::CValueMap& settings) override;
    void Reset() override;
    void GetData(ORVEN::CValueMap& tree) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;

private:
    ORVEN::CValueMap* m_focusedDocument = nullptr;
    std::int32_t m_minRadius = 0; // pixels; only reported in the history
    float m_minAngle = 0.0F;      // radians
};

} // namespace quillon
