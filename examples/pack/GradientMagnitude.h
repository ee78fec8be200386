#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>

namespace example {

/// "GradientMagnitude": how steeply the grey values of an image rise at each pixel, as a float image. Edges
/// are bright.
///
/// The derivatives are exact finite differences in grey values per unit of the spacing. Time: three
/// derivatives, so linear in the pixels. Memory: two float images beside the result.
class CGradientMagnitudePlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    ORVEN::CValueMap* m_focusedDocument = nullptr;
    bool m_usesSpacing = true;
};

} // namespace example
