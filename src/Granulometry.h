#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CString.h>

#include <memory>
#include <string>

namespace ORVEN {
class CImage;
}

namespace quillon {

/// The key of a granulometry among the attributes of an image. It names a map whose entry "data" holds the
/// number of pixels for each diameter.
std::string GranulometryKey();

/// "Granulometry": measures how much of a binary structure is covered by balls of each diameter. The sizes
/// are stored in the header of the image, or in the header of a new image that shows them for each pixel. See
/// `CGranulometry`.
///
/// The measurement can be restricted to a mask and to the cylinder on record. What lies outside is not part
/// of the structure, so it limits balls and is not counted.
class CGranulometryPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    void GetData(ORVEN::CValueMap& tree) override;

private:
    /// A copy of the image without the structure outside of the region; null if the region is the image.
    [[nodiscard]] std::unique_ptr<ORVEN::CImage> Restricted(const ORVEN::CImage& image) const;
    [[nodiscard]] ORVEN::CString HistoryLine() const;

    ORVEN::CValueMap* m_focusedDocument = nullptr;
    ORVEN::CString m_viewPlugin; // stored but deliberately not used
    double m_stepWidth = -1.0;   // diameters are not binned unless this is above 0
    bool m_isFiltered = false;
    bool m_isOnForeground = true;
    bool m_returnsImage = false;
    const ORVEN::CImage* m_mask = nullptr; // not owned
    bool m_usesCylinder = false;
};

} // namespace quillon
