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
/// Lengths are entered in the unit of the image's spacing, and the dialog shows them in whole pixels as well.
/// Colours warn of a fibre or subfield that does not fit the image, but do not block anything: OK is always
/// enabled.
///
/// Call `SetImageGeometry` before the dialog is shown, and `AddMaskName` before `SetValues`.
class CLocalFiberDirectionsDialog : public CLocalFiberDirectionsDialog_skel {
public:
    explicit CLocalFiberDirectionsDialog(QWidget* parent = nullptr, const char* name = nullptr,
                                         bool modal = false, Qt::WindowFlags flags = {});

    /// Sets the pixel size along x, y, z and the image's extents. If the image is not three-dimensional, z
    /// counts as one pixel of size 0, whatever is passed.
    void SetImageGeometry(const std::array<double, 3>& spacing, const ORVEN::CSize& size);

    /// Appends a mask image to the list of choices. The bytes of the name are read as Latin-1, so that
    /// `GetMaskName` returns any name unchanged.
    void AddMaskName(const std::string& name);

    /// Fills in the form. Numbers are rounded to six significant digits.
    void SetValues(double radius, bool usesSubfields, double size, bool isAdvanced, bool outputsDirections,
                   double otsuFactor);

    /// Returns the subfield's extents in pixels, or in the unit of the spacing. The arguments are left
    /// unchanged if no subfields are used. A field that shows nothing gives 0.
    void GetSubfieldPixels(std::int64_t& x, std::int64_t& y, std::int64_t& z) const;
    void GetSubfieldSizes(double& x, double& y, double& z) const;

    /// The chosen mask image; empty if the list is empty.
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
