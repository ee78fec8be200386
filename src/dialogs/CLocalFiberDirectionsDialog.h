#pragma once

#include "dialogs/CLocalFiberDirectionsDialog_skel.h"

#include <array>
#include <cstdint>
#include <string>

namespace ORVEN {
class CSize;
}

namespace quillon {

/// Asks for the parameters of a measurement of fibre directions.
///
/// Lengths are typed in the unit of the image's spacing and shown in whole pixels beside. Colours warn of a
/// fibre or a subfield that does not fit the image, and block nothing: OK can be pressed at any time.
///
/// Call `SetImageGeometry` before the dialog is shown, and `AddMaskName` before `SetValues`.
class CLocalFiberDirectionsDialog : public CLocalFiberDirectionsDialog_skel {
public:
    explicit CLocalFiberDirectionsDialog(QWidget* parent = nullptr, const char* name = nullptr,
                                         bool modal = false, Qt::WindowFlags flags = {});

    /// Pixel size along x, y, z, and the image's extents. Of an image that is not three-dimensional, z counts
    /// as one pixel of no size, whatever is passed.
    void SetImageGeometry(const std::array<double, 3>& spacing, const ORVEN::CSize& size);

    /// Adds a mask image to choose from, at the end. Its bytes are taken for Latin-1, which brings any name
    /// back as it was.
    void AddMaskName(const std::string& name);

    /// Fills the form. Numbers get six significant digits on the way.
    void SetValues(double radius, bool usesSubfields, double size, bool isAdvanced, bool outputsDirections,
                   double otsuFactor);

    /// The subfield's extents in pixels and in the unit of the spacing; left as they are without subfields. A
    /// field that shows nothing gives 0.
    void GetSubfieldPixels(std::int64_t& x, std::int64_t& y, std::int64_t& z) const;
    void GetSubfieldSizes(double& x, double& y, double& z) const;

    /// The mask image that is chosen; empty if there is none to choose from.
    [[nodiscard]] std::string GetMaskName() const;
    [[nodiscard]] double GetOtsuFactor() const;
    [[nodiscard]] double FiberRadius() const { return m_fiberRadius; }
    [[nodiscard]] bool UsesOtsu() const { return m_usesOtsu; }

    void sizex_edit_changed(const QString& text) override;
    void radius_edit_changed(const QString& text) override;
    void radio_otsu_toggled() override;

private:
    void UpdateDisplay();
    void ShowEvaluatedArea(std::int32_t radius);
    void ShowSubfield();
    void ValidateDisplay();
    [[nodiscard]] bool SubfieldFits(std::int64_t radius) const;

    std::array<double, 3> m_spacing{};
    std::array<std::int32_t, 3> m_size{};
    std::int32_t m_dimension = 3;
    double m_subfieldSize = 0.0;
    double m_fiberRadius = 0.0;
    bool m_usesOtsu = true;
};

} // namespace quillon
