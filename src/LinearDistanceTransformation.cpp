#include "LinearDistanceTransformation.h"

#include "distance/CLinearDistanceTransformation.h"
#include "plugin/PluginContract.h"

#include <sorblib2core/CString.h>
#include <sorblib2image/CImage.h>

#include <memory>

using namespace ORVEN;
namespace contract = quillon::contract;

namespace {

/// Returns the axis named by the first character of a text, in either case; 'x' for any other text.
char DirectionOf(const CString& text) {
    const char first = static_cast<const char*>(text)[0];
    if (first >= 'X' && first <= 'Z')
        return static_cast<char>(first - 'X' + 'x');
    return first >= 'x' && first <= 'z' ? first : 'x';
}

} // namespace

void CLinearDistanceTransformationPlugin::GetPluginSetup(CValueMap& setup) {
    contract::DescribePlugin(setup);
}

bool CLinearDistanceTransformationPlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree,
                                         [](const CImage& image) { return image.Type() == IMAGE_BINARY_FG; });
}

void CLinearDistanceTransformationPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_ENTRY);
    contract::ReadParameter(tree, "parameters/compute on foreground", m_isOnForeground);
    contract::ReadParameter(tree, "parameters/embedded edge treatment", m_isEdgeEmbedded);
    contract::ReadParameter(tree, "parameters/compute exact values", m_isExact);
    CString direction;
    if (contract::ReadParameter(tree, "parameters/direction", direction))
        m_direction = DirectionOf(direction);
}

void CLinearDistanceTransformationPlugin::GetData(CValueMap& tree) {
    // contract wording: the name of a different plug-in
    contract::ReportExceptions("VoronoiEdtPlugin", [&] {
        const CImage* image = contract::ContentOf(m_focusedDocument);
        if (image == nullptr)
            return;
        auto result = std::make_unique<CImage>(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
        contract::Inherit(*result, *image,
                          CString("LinearDt(%1,%2,%3,%4)", CString::ENC_UTF8)
                              .Arg(m_direction)
                              .Arg(m_isExact ? "exact" : "squared")
                              .Arg(m_isOnForeground ? "fg" : "bg")
                              .Arg(m_isEdgeEmbedded ? "EMB" : "NET"));
        CLinearDistanceTransformation(nullptr, nullptr)
            .CalculateDistanceMap(*result, *image, m_direction, m_isOnForeground, !m_isExact,
                                  m_isEdgeEmbedded);
        contract::HandOver(tree, contract::EnHandOver::NEW_OUTPUT, std::move(result),
                           contract::LabelOf(*m_focusedDocument, "Voronoi EDT"));
    });
}
