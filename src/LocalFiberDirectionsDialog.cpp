#include "LocalFiberDirectionsDialog.h"

#include "dialogs/CLocalFiberDirectionsDialog.h"
#include "plugin/PluginContract.h"
#include "plugin/Windows.h"

#include <sorbgui/CAvailableImages.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <QCheckBox>
#include <QGroupBox>

#include <cstdint>
#include <iostream>

namespace quillon {

using namespace ORVEN;

namespace {

/// The values that were accepted last, by any object. The mask is not remembered, because the next image has
/// different ones.
struct StMemory {
    bool isValid = false;
    double fiberRadius = 0.0;
    bool usesSubfields = false;
    double subfieldSize = 0.0;
    bool isAdvanced = false;
    bool outputsDirections = false;
    double otsuFactor = 0.0;
};

StMemory g_memory;

/// Does the work. Exceptions are written to standard error and rethrown.
template <class Work>
void ReportExceptions(const char* operation, const Work& work) {
    try {
        work();
    } catch (const CException& exception) {
        std::cerr << operation << " caught " << exception.Message() << std::endl;
        throw;
    } catch (const std::exception& exception) {
        std::cerr << operation << " caught " << exception.what() << std::endl;
        throw;
    } catch (...) {
        // This message deliberately names the same operation in all cases.
        std::cerr << "CLocalFiberDirectionsDialogPlugin::UpdateParameters caught unknown exception"
                  << std::endl;
        throw;
    }
}

/// The pixel size along x, y, z; 1 if the image does not store it.
std::array<double, 3> SpacingOf(const CImage& image) {
    std::array<double, 3> spacing{1.0, 1.0, 1.0};
    const bool isVolume = image.Size().Dim() == 3;
    CQuillonHeaderTools::GetSpacing(image, spacing[0], spacing[1],
                                    isVolume ? spacing[2] : CQuillonHeaderTools::g_dSpacingDummy);
    return spacing;
}

} // namespace

void CLocalFiberDirectionsDialogPlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

void CLocalFiberDirectionsDialogPlugin::UpdateParameters(const CValueMap& tree) {
    ReportExceptions("CLocalFiberDirectionsDialogPlugin::UpdateParameters", [&] {
        if (!tree.HasEntry("input/documents/focused", typeid(CValuePointer<CValueMap>)))
            return;
        contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::POINTER_TO_DOCUMENT);
        FindMasks(tree);
    });
}

void CLocalFiberDirectionsDialogPlugin::FindMasks(const CValueMap& tree) {
    m_maskImages.clear();
    const CImage* image = contract::FocusedImage(tree);
    if (image == nullptr)
        return;
    CAvailableImages available(true, true);
    available.addAllowedType(IMAGE_BINARY_FG);
    available.addAllowedSize(image->Size());
    m_maskImages = available(tree);
}

void CLocalFiberDirectionsDialogPlugin::GetData(CValueMap& tree) {
    ReportExceptions("CLocalFiberDirectionsDialogPlugin::GetData", [&] { AskForParameters(tree); });
}

void CLocalFiberDirectionsDialogPlugin::AskForParameters(CValueMap& tree) {
    const CImage* image = contract::ContentOf(m_focusedDocument);
    if (image == nullptr)
        return;
    RequireWindows("CLocalFiberDirectionsDialogPlugin");
    MakeDialog(*image);
    if (m_dialog->exec() != QDialog::Accepted)
        return;

    g_memory = {.isValid = true,
                .fiberRadius = m_dialog->FiberRadius(),
                .usesSubfields = m_dialog->select_size_group->isChecked(),
                .subfieldSize = 0.0,
                .isAdvanced = m_dialog->advanced_box->isChecked(),
                .outputsDirections = m_dialog->output_box->isChecked(),
                .otsuFactor = m_dialog->GetOtsuFactor()};
    double sizeY = 0.0;
    double sizeZ = 0.0;
    m_dialog->GetSubfieldSizes(g_memory.subfieldSize, sizeY, sizeZ);
    tree.SetEntry("parameters", ParametersOfDialog().release());
}

void CLocalFiberDirectionsDialogPlugin::MakeDialog(const CImage& image) {
    delete m_dialog;
    m_dialog = new CLocalFiberDirectionsDialog;
    m_dialog->SetImageGeometry(SpacingOf(image), image.Size());
    for (const auto& [name, mask] : m_maskImages)
        m_dialog->AddMaskName(name);
    if (g_memory.isValid) {
        m_dialog->SetValues(g_memory.fiberRadius, g_memory.usesSubfields, g_memory.subfieldSize,
                            g_memory.isAdvanced, g_memory.outputsDirections, g_memory.otsuFactor);
    }
}

std::unique_ptr<CValueMap> CLocalFiberDirectionsDialogPlugin::ParametersOfDialog() const {
    auto parameters = std::make_unique<CValueMap>();
    const bool usesSubfields = m_dialog->select_size_group->isChecked();
    parameters->SetEntry("fiber_radius", new CValueDouble(m_dialog->FiberRadius()));
    parameters->SetEntry("use_subfields", new CValueBool(usesSubfields));
    if (usesSubfields) {
        std::int64_t x = 0;
        std::int64_t y = 0;
        std::int64_t z = 0;
        m_dialog->GetSubfieldPixels(x, y, z);
        // The dialog's fields show 32-bit numbers.
        parameters->SetEntry("subfield_x", new CValueLong(static_cast<std::int32_t>(x)));
        parameters->SetEntry("subfield_y", new CValueLong(static_cast<std::int32_t>(y)));
        parameters->SetEntry("subfield_z", new CValueLong(static_cast<std::int32_t>(z)));
    }
    if (m_dialog->advanced_box->isChecked())
        parameters->SetEntry("advanced", AdvancedParametersOfDialog().release());
    return parameters;
}

std::unique_ptr<CValueMap> CLocalFiberDirectionsDialogPlugin::AdvancedParametersOfDialog() const {
    const auto mask = m_maskImages.find(m_dialog->GetMaskName());
    const bool isMaskChosen = !m_dialog->UsesOtsu() && mask != m_maskImages.end();
    // The parameter is a pointer to a non-const image, but a mask is never written to.
    auto* image = isMaskChosen ? const_cast<CImage*>(mask->second) : nullptr;

    auto advanced = std::make_unique<CValueMap>();
    advanced->SetEntry("output_directions", new CValueBool(m_dialog->output_box->isChecked()));
    advanced->SetEntry("otsu_factor", new CValueDouble(m_dialog->GetOtsuFactor()));
    advanced->SetEntry("use_otsu", new CValueBool(m_dialog->UsesOtsu()));
    advanced->SetEntry("mask_image", new CValuePointer<CImage>(image, 1));
    return advanced;
}

} // namespace quillon
