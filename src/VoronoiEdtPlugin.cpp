#include "VoronoiEdtPlugin.h"

#include "plugin/PluginContract.h"
#include "utils/PointOperations.h"

#include <QuillonTransformation/CEdtVoronoi.h>
#include <QuillonUtils/CCylinderMask.h>
#include <sorblib2core/CStringTools.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <memory>

using namespace ORVEN;
namespace contract = quillon::contract;

namespace {

/// Sets `member` to whether a text parameter equals `word`.
void ReadChoice(const CValueMap& tree, const char* key, const char* word, bool& member) {
    CString text;
    if (contract::ReadParameter(tree, key, text))
        member = text == word;
}

} // namespace

void CVoronoiEdtPlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

bool CVoronoiEdtPlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree,
                                         [](const CImage& image) { return image.Type() == IMAGE_BINARY_FG; });
}

void CVoronoiEdtPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::POINTER_TO_DOCUMENT);
    ReadChoice(tree, "parameters/ComputeOn", "foreground", m_isOnForeground);
    contract::ReadParameter(tree, "parameters/EdgeTreatment", m_edgeTreatment);
    ReadChoice(tree, "parameters/exact_or_squared", "exact values", m_isExact);
    contract::ReadParameter(tree, "parameters/use cylindrical mask", m_usesCylinder);
}

void CVoronoiEdtPlugin::GetData(CValueMap& tree) {
    contract::ReportExceptions("VoronoiEdtPlugin", [&] {
        const CImage* image = contract::ContentOf(m_focusedDocument);
        if (image == nullptr)
            return;
        auto result = std::make_unique<CImage>(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
        const bool isEmbedded = m_edgeTreatment == "embedded";
        const auto calculate = [&](const CImage& binary) {
            CEdtVoronoi(nullptr, nullptr)
                .CalculateDistanceMap(*result, binary, true, m_isOnForeground, !m_isExact, isEmbedded);
        };
        if (m_usesCylinder) {
            CImage masked(*image);
            CQuillonHeaderTools::SetAttributes(masked, image->Attributes());
            const CCylinderMask mask(nullptr, nullptr);
            mask.CopyMetaInfo(*image, masked);
            mask.CopyMetaInfo(*image, *result);
            mask.MaskImageWithMetaInfoCylinder(masked, isEmbedded ? 1.0 : 0.0);
            calculate(masked);
            mask.MaskImageWithMetaInfoCylinder(*result, 0.0);
        } else {
            calculate(*image);
        }
        // This also replaces the greatest distance, which the transform has just stored, with that of the
        // input, or removes it. The linear transform inherits first and keeps its own.
        contract::Inherit(
            *result, *image,
            CString(CStringTools::Printf("EdtVoronoi(%s,%s,%s%s)", m_isExact ? "exact" : "squared",
                                         m_isOnForeground ? "fg" : "bg", isEmbedded ? "EMB" : "NET",
                                         m_usesCylinder ? ",on cylindrical mask" : "")));
        StoreMinMax(*result);
        contract::HandOver(tree, contract::EnHandOver::INTO_LIST, std::move(result),
                           contract::LabelOf(*m_focusedDocument, "EdtVoronoi"));
    });
}
