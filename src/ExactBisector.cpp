#include "ExactBisector.h"

#include "distance/SquaredDistanceStages.h"
#include "plugin/LookUpTablePath.h"
#include "plugin/PluginContract.h"
#include "topology/StLocalTopology.h"

#include <QuillonTransformation/CExactBisector.h>
#include <QuillonTransformation/CExactMedialAxis.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <numbers>

namespace quillon {

using namespace ORVEN;

namespace {

/// Stores the range of possible angles, whether or not they occur.
void StoreRange(CImage& angles) {
    CQuillonHeaderTools::SetMinMax(angles, 0.0, std::numbers::pi);
    CQuillonHeaderTools::SetMaxDistance(angles, std::numbers::pi);
}

} // namespace

void CExactBisectorPlugin::GetPluginSetup(CValueMap& setup) {
    contract::DescribePlugin(setup, "CExactBisectorPlugin");
}

void CExactBisectorPlugin::Configure(void* /*context*/, CValueMap& settings) {
    // The bisector itself does not use the first table; the same settings configure both plug-ins.
    TakePathOfExistingFile(settings, "malut", CExactMedialAxis::Lut());
    TakePathOfExistingFile(settings, "bslut", CExactBisector::Lut());
}

void CExactBisectorPlugin::Reset() {}

bool CExactBisectorPlugin::TestParameters(const CValueMap& tree) { return StLocalTopology::Accepts(tree); }

void CExactBisectorPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_ENTRY);
    double angle = 0.0;
    if (contract::ReadParameter(tree, "parameters/minAngle", angle))
        m_minAngle = static_cast<float>(angle);
    contract::ReadParameter(tree, "parameters/minRadius", m_minRadius);
}

void CExactBisectorPlugin::GetData(CValueMap& tree) {
    const CImage* image = BinaryImageOf(m_focusedDocument);
    if (image == nullptr)
        return;
    auto result = ComputeFromSquaredDistances<CExactBisector>(
        *image, IMAGE_GREY_F,
        [image, angle = m_minAngle](CExactBisector& algorithm, CProgressProxy& progress,
                                    const CImage& squaredDistance, CImage& angles) {
            algorithm.ExactBisector(progress, squaredDistance, *image, angles, angle, {});
        });
    // The capital letter is contract wording.
    contract::Inherit(*result, *image,
                      CString("Bisector(exact,r=%1,a=%2)", CString::ENC_UTF8)
                          .Arg(m_minRadius, 0)
                          .Arg(static_cast<double>(m_minAngle), 0));
    StoreRange(*result);
    contract::HandOver(tree, contract::EnHandOver::INTO_LIST, std::move(result),
                       contract::LabelOf(*m_focusedDocument, "ExactBisector"));
}

} // namespace quillon
