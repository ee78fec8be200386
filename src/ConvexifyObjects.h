#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>

/// "ConvexifyObjects": replaces every object of a binary or label image by its convex hull. See
/// measurement/ConvexifyLabels.h for the result where hulls overlap.
class CConvexifyObjectsPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    ORVEN::CValueMap* m_focusedDocument = nullptr;
    ORVEN::CString m_method;
};
