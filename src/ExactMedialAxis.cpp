#include "ExactMedialAxis.h"

#include "distance/SquaredDistanceStages.h"
#include "plugin/LookUpTablePath.h"
#include "plugin/PluginContract.h"
#include "topology/StLocalTopology.h"

#include <QuillonTransformation/CExactMedialAxis.h>

namespace quillon {

using namespace ORVEN;

void CExactMedialAxisPlugin::GetPluginSetup(CValueMap& setup) {
    contract::DescribePlugin(setup, "CExactMedialAxisPlugin");
}

void CExactMedialAxisPlugin::Configure(void* /*context*/, CValueMap& settings) {
    TakePathOfExistingFile(settings, "malut", CExactMedialAxis::Lut());
}

void CExactMedialAxisPlugin::Reset() {}

bool CExactMedialAxisPlugin::TestParameters(const CValueMap& tree) { return StLocalTopology::Accepts(tree); }

void CExactMedialAxisPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_ENTRY);
    contract::ReadParameter(tree, "parameters/minRadius", m_minRadius);
}

void CExactMedialAxisPlugin::GetData(CValueMap& tree) {
    const CImage* image = BinaryImageOf(m_focusedDocument);
    if (image == nullptr)
        return;
    const std::int64_t radius = m_minRadius;
    auto result = ComputeFromSquaredDistances<CExactMedialAxis>(
        *image, IMAGE_BINARY_FG,
        [radius](CExactMedialAxis& algorithm, CProgressProxy& progress, const CImage& squaredDistance,
                 CImage& axis) {
            algorithm.ExactMedialAxis(progress, squaredDistance, axis,
                                      static_cast<std::uint64_t>(radius * radius), {});
        });
    contract::Inherit(*result, *image,
                      CString("medialaxis(exact,r=%1)", CString::ENC_UTF8).Arg(m_minRadius, 0));
    contract::HandOver(tree, contract::EnHandOver::INTO_LIST, std::move(result),
                       contract::LabelOf(*m_focusedDocument, "ExactMedialAxis"));
}

} // namespace quillon
