#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>

#include <cstdint>

namespace quillon {

/// "ExactMedialAxis": marks the centres of the maximal balls of a 3-d binary image. See `CExactMedialAxis`.
class CExactMedialAxisPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    void Configure(void* context, ORVEN::CValueMap& settings) override;
    void Reset() override;
    void GetData(ORVEN::CValueMap& tree) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;

private:
    ORVEN::CValueMap* m_focusedDocument = nullptr;
    std::int32_t m_minRadius = 0; // pixels
};

} // namespace quillon
