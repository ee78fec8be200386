#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>

#include <cstdint>

namespace quillon {

/// "PartialDerivative": computes the partial derivative of a float image, of a given order along each axis.
/// See `CPartialDerivatives` for the difference scheme.
class CPartialDerivativePlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    ORVEN::CValueMap* m_focusedDocument = nullptr;
    std::int32_t m_orderX = 1;
    std::int32_t m_orderY = 1;
    std::int32_t m_orderZ = 1;
};

} // namespace quillon
