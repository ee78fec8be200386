#include "dialogs/CLocalFiberDirectionsDialog.h"

#include <sorbgui/CNumberValidator.h>
#include <sorbgui/WidgetTools.h>
#include <sorblib2image/CSize.h>

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QRadioButton>

#include <algorithm>
#include <cmath>
#include <limits>

namespace quillon {

namespace {

/// Truncates a number towards zero and clamps it to the range of `Integer`; NaN gives the lowest value.
template <class Integer>
Integer Truncated(double number) {
    constexpr auto lowest = std::numeric_limits<Integer>::lowest();
    constexpr auto highest = std::numeric_limits<Integer>::max();
    if (!(number >= static_cast<double>(lowest)))
        return lowest;
    // The highest 64-bit integer is not representable as a double; it is rounded up, out of range.
    if (number >= static_cast<double>(highest))
        return highest;
    return static_cast<Integer>(number);
}

std::int32_t RoundedPixels(double length, double spacing) {
    return Truncated<std::int32_t>(length / spacing + 0.5);
}

QString ShortForm(double number) { return QString::number(number, 'g', 6); }

QString PositionText(const std::array<std::int64_t, 3>& position) {
    return QString("(%1,%2,%3)").arg(position[0]).arg(position[1]).arg(position[2]);
}

/// Returns the number of pixels that a field shows; -1 if it shows no number or one below 1.
std::int64_t PixelsShown(const QLineEdit& edit) {
    bool isNumber = false;
    const int pixels = edit.text().toInt(&isNumber, 10);
    return isNumber && pixels >= 1 ? pixels : -1;
}

void Colour(QLineEdit& edit, bool isGood) {
    ORVEN::SetPaletteBackgroundColor(edit, isGood ? Qt::white : Qt::red);
}

} // namespace

CLocalFiberDirectionsDialog::CLocalFiberDirectionsDialog(QWidget* parent, const char* name, bool modal,
                                                         Qt::WindowFlags flags)
    : CLocalFiberDirectionsDialog_skel(parent, name, modal, flags) {
    for (QLineEdit* edit : {radius_edit, sizex_edit, offset_edit})
        edit->setValidator(new ORVEN::CNumberValidator(0.0, std::numeric_limits<double>::max(), 0, this));
    radioOtsu->setEnabled(true);
    radioMask->setEnabled(comboMasks->count() > 0);
    radioOtsu->setChecked(m_usesOtsu);
    radioMask->setChecked(!m_usesOtsu);
    binarizationGroup->Insert(radioOtsu, -1);
    binarizationGroup->Insert(radioMask, -1);
}

void CLocalFiberDirectionsDialog::SetImageGeometry(const std::array<double, 3>& spacing,
                                                   const ORVEN::CSize& size) {
    m_spacing = spacing;
    m_size = {static_cast<std::int32_t>(size.x), static_cast<std::int32_t>(size.y),
              static_cast<std::int32_t>(size.z)};
    m_dimension = size.Dim();
    if (m_dimension != 3) {
        m_size[2] = 1;
        m_spacing[2] = 0.0;
    }
}

void CLocalFiberDirectionsDialog::AddMaskName(const std::string& name) {
    comboMasks->addItem(QString::fromLatin1(name));
}

void CLocalFiberDirectionsDialog::SetValues(double radius, bool usesSubfields, double size, bool isAdvanced,
                                            bool outputsDirections, double otsuFactor) {
    radius_edit->setText(ShortForm(radius)); // triggers the slot, which stores it
    select_size_group->setChecked(usesSubfields);
    sizex_edit->setText(usesSubfields ? ShortForm(size) : QString());
    advanced_box->setChecked(isAdvanced);
    output_box->setChecked(outputsDirections);
    offset_edit->setText(ShortForm(otsuFactor));
    UpdateDisplay();
}

void CLocalFiberDirectionsDialog::GetSubfieldPixels(std::int64_t& x, std::int64_t& y, std::int64_t& z) const {
    if (!select_size_group->isChecked())
        return;
    x = sizex_pixel_edit->text().toLong(nullptr, 10);
    y = sizey_pixel_edit->text().toLong(nullptr, 10);
    z = sizez_pixel_edit->text().toLong(nullptr, 10);
}

void CLocalFiberDirectionsDialog::GetSubfieldSizes(double& x, double& y, double& z) const {
    if (!select_size_group->isChecked())
        return;
    x = sizex_edit->text().toDouble();
    y = sizey_edit->text().toDouble();
    z = sizez_edit->text().toDouble();
}

std::string CLocalFiberDirectionsDialog::GetMaskName() const {
    return comboMasks->count() >= 1 ? comboMasks->currentText().toLatin1().toStdString() : std::string();
}

double CLocalFiberDirectionsDialog::GetOtsuFactor() const { return offset_edit->text().toDouble(); }

void CLocalFiberDirectionsDialog::sizex_edit_changed(const QString& text) {
    // An empty text is not a number and is not stored, so that `UpdateDisplay` can clear the field.
    bool isNumber = false;
    const double size = text.toDouble(&isNumber);
    if (!isNumber)
        return;
    m_subfieldSize = size;
    UpdateDisplay();
}

void CLocalFiberDirectionsDialog::radius_edit_changed(const QString& text) {
    bool isNumber = false;
    const double radius = text.toDouble(&isNumber);
    if (!isNumber)
        return;
    m_fiberRadius = radius;
    UpdateDisplay();
}

void CLocalFiberDirectionsDialog::radio_otsu_toggled() {
    m_usesOtsu = radioOtsu->isChecked();
    comboMasks->setEnabled(!m_usesOtsu);
}

void CLocalFiberDirectionsDialog::UpdateDisplay() {
    const std::int32_t radius = RoundedPixels(m_fiberRadius, m_spacing[0]);
    radius_pixel_edit->setText(QString::number(radius));
    ShowEvaluatedArea(radius);
    ShowSubfield();
    radioOtsu->setChecked(m_usesOtsu);
    radioMask->setChecked(!m_usesOtsu);
    radioMask->setEnabled(comboMasks->count() >= 1);
    ValidateDisplay();
}

void CLocalFiberDirectionsDialog::ShowEvaluatedArea(std::int32_t radius) {
    const std::array<std::int64_t, 3> from{radius, radius, radius};
    std::array<std::int64_t, 3> to{};
    for (std::size_t axis = 0; axis < to.size(); ++axis)
        to[axis] = std::min<std::int64_t>(m_size[axis] - 1, std::int64_t{m_size[axis]} - radius);
    const auto show = [this](QLineEdit& edit, const std::array<std::int64_t, 3>& corner) {
        const bool isInside = std::equal(
            corner.begin(), corner.end(), m_size.begin(),
            [](std::int64_t position, std::int64_t size) { return 0 <= position && position < size; });
        edit.setText(isInside ? PositionText(corner) : QString());
    };
    show(*eval_area_from_edit, from);
    show(*eval_area_to_edit, to);
}

void CLocalFiberDirectionsDialog::ShowSubfield() {
    if (!select_size_group->isChecked()) {
        for (QLineEdit* edit : {sizex_edit, sizey_edit, sizez_edit, sizex_pixel_edit, sizey_pixel_edit,
                                sizez_pixel_edit, stepsize_edit})
            edit->clear();
        m_subfieldSize = 0.0;
        return;
    }
    // The size along x is not written, because the user types into that field.
    const QString size = ShortForm(m_subfieldSize);
    const auto pixels = [this](std::size_t axis) {
        return QString::number(RoundedPixels(m_subfieldSize, m_spacing[axis]));
    };
    sizey_edit->setText(size);
    sizex_pixel_edit->setText(pixels(0));
    sizey_pixel_edit->setText(pixels(1));
    if (m_dimension == 3) {
        sizez_edit->setText(size);
        sizez_pixel_edit->setText(pixels(2));
    }
    stepsize_edit->setText(size); // adjacent subfields do not overlap
}

void CLocalFiberDirectionsDialog::ValidateDisplay() {
    const std::int64_t radius = PixelsShown(*radius_pixel_edit);
    Colour(*radius_edit, radius >= 1 && 2 * radius <= m_size[0]);
    if (select_size_group->isChecked())
        Colour(*sizex_edit, SubfieldFits(radius));
}

/// Whether the subfield is larger than a fibre, and the image has room for it with one fibre on either side.
/// `radius` is in pixels; -1 if there is none.
bool CLocalFiberDirectionsDialog::SubfieldFits(std::int64_t radius) const {
    // No image has a side of this length, and the sum of two of them does not overflow.
    constexpr std::int64_t beyondAnyImage = std::int64_t{1} << 60;
    const std::int64_t margin = std::clamp(Truncated<std::int64_t>(m_fiberRadius / m_spacing[0] + 0.5),
                                           -beyondAnyImage, beyondAnyImage);
    const std::array<std::int64_t, 3> extents{PixelsShown(*sizex_pixel_edit), PixelsShown(*sizey_pixel_edit),
                                              PixelsShown(*sizez_pixel_edit)};
    return std::equal(extents.begin(), extents.end(), m_size.begin(),
                      [&](std::int64_t extent, std::int64_t size) {
                          return extent >= 0 && extent > 2 * radius && extent + 2 * margin <= size;
                      });
}

} // namespace quillon
