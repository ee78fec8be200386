#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CString.h>

#include <string>

namespace quillon {

/// Where a granulometry lies among the attributes of an image: a map with the numbers of pixels by diameter
/// below "data".
std::string GranulometryKey();

/// "Granulometry": measures how much of a binary structure is covered by balls of each diameter. Leaves the
/// sizes in the header of the image, or in that of a new image that shows them pixel by pixel. See
/// `CGranulometry`.
class CGranulometryPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    ORVEN::CValueMap* m_focusedDocument = nullptr;
    ORVEN::CString m_viewPlugin; // kept, by contract, and not used
    double m_stepWidth = -1.0;   // not above 0: diameters are not binned
    bool m_isFiltered = false;
    bool m_isOnForeground = true;
    bool m_returnsImage = false;
};

} // namespace quillon
