#include "Skeleton.h"

#include "plugin/PluginContract.h"

#include <QuillonTransformation/CSkeletonCouprierZour.h>

namespace quillon {

using namespace ORVEN;

void CTopologicalSkeletonPlugin::GetPluginSetup(CValueMap& setup) {
    contract::DescribePlugin(setup, "CTopologicalSkeletonPlugin");
}

void CTopologicalSkeletonPlugin::Configure(void* /*context*/, CValueMap& settings) {
    StSkeletonParameters::Configure(settings);
}

void CTopologicalSkeletonPlugin::Reset() {}

bool CTopologicalSkeletonPlugin::TestParameters(const CValueMap& tree) {
    return StSkeletonParameters::Accepts(tree);
}

void CTopologicalSkeletonPlugin::UpdateParameters(const CValueMap& tree) { m_parameters.Update(tree); }

void CTopologicalSkeletonPlugin::GetData(CValueMap& tree) {
    const CImage* image = m_parameters.BinaryImage();
    if (image == nullptr)
        return;
    auto result = std::make_unique<CImage>(IMAGE_BINARY_FG, image->Size(), CSize(0, 0, 0));
    CSkeletonCouprierZour algorithm(nullptr, nullptr);
    auto& progress = algorithm.ProgressProxy();
    algorithm.RunSkeletonCouprierZour(*image, *result, m_parameters.neighborhood.Std(),
                                      m_parameters.minRadius, m_parameters.minAngle, progress, false);
    contract::Inherit(*result, *image, m_parameters.HistoryLine("skeleton(topol,%1,r=%2,a=%3)"));
    contract::HandOver(tree, contract::EnHandOver::INTO_LIST, std::move(result),
                       contract::LabelOf(*m_parameters.focusedDocument, "TopologicalSkeleton"));
}

} // namespace quillon
