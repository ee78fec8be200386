#include "MarkSimplePoints.h"

#include "plugin/PluginContract.h"
#include "topology/SimplePointScan.h"
#include "topology/StAdjacency.h"
#include "utils/PointOperations.h"
#include "utils/visitors/PointOperationCopy.h"

#include <sorblib2image/CQuillonHeaderTools.h>

namespace quillon {

using namespace ORVEN;

void CMarkSimplePointsPlugin::GetPluginSetup(CValueMap& setup) {
    contract::DescribePlugin(setup, "CMarkSimplePointsPlugin");
}

bool CMarkSimplePointsPlugin::TestParameters(const CValueMap& tree) { return StLocalTopology::Accepts(tree); }

void CMarkSimplePointsPlugin::UpdateParameters(const CValueMap& tree) { m_settings.Update(tree); }

void CMarkSimplePointsPlugin::GetData(CValueMap& tree) {
    const CImage* image = m_settings.BinaryImage();
    if (image == nullptr)
        return;
    auto result = std::make_unique<CImage>(IMAGE_GREY_8, image->Size(), CSize(0, 0, 0));
    // If the copy is cancelled, the remaining pixels are 0 and are not marked.
    visitors::CCopy<unsigned char> copy;
    CPointOperations(nullptr, nullptr).Visit(copy, *result, *image);
    With3dNeighborhood("CMarkSimplePointsPlugin", m_settings.neighborhood,
                       [&]<class N>(std::type_identity<N>) { MarkSimplePoints<N>(*image, *result); });
    contract::Inherit(*result, *image, m_settings.HistoryLine("simplepoints(%1)"));
    CQuillonHeaderTools::SetNumberOfLabels(*result, 255);
    contract::HandOver(tree, contract::EnHandOver::INTO_LIST, std::move(result),
                       contract::LabelOf(*m_settings.focusedDocument, "MarkSimplePoints"));
}

} // namespace quillon
