#include "LocalEulerNumber.h"

#include "plugin/PluginContract.h"
#include "topology/StAdjacency.h"

#include <QuillonTransformation/CLocalEulerNumbers.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <algorithm>
#include <limits>

namespace quillon {

using namespace ORVEN;

namespace {

struct StMinMax {
    float minimum = std::numeric_limits<float>::max();
    // Deliberately the smallest positive number: it remains the maximum of an image without any value of 1 or
    // more.
    float maximum = std::numeric_limits<float>::min();
};

template <class N>
StMinMax CalculateLocalEuler(const CImage& image, CImage& result) {
    const auto range = CLocalEulerNumbers(StAdjacency<N>::eulerCode).Calculate(result, image);
    StMinMax minMax;
    minMax.minimum = std::min(minMax.minimum, static_cast<float>(range.least));
    minMax.maximum = std::max(minMax.maximum, static_cast<float>(range.greatest));
    return minMax;
}

} // namespace

void CLocalEulerNumberPlugin::GetPluginSetup(CValueMap& setup) {
    contract::DescribePlugin(setup, "CLocalEulerNumberPlugin");
}

bool CLocalEulerNumberPlugin::TestParameters(const CValueMap& tree) { return StLocalTopology::Accepts(tree); }

void CLocalEulerNumberPlugin::UpdateParameters(const CValueMap& tree) { m_settings.Update(tree); }

void CLocalEulerNumberPlugin::GetData(CValueMap& tree) {
    const CImage* image = m_settings.BinaryImage();
    if (image == nullptr)
        return;
    auto result = std::make_unique<CImage>(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
    StMinMax minMax;
    With3dNeighborhood(
        "CLocalEulerNumberPlugin", m_settings.neighborhood,
        [&]<class N>(std::type_identity<N>) { minMax = CalculateLocalEuler<N>(*image, *result); });
    contract::Inherit(*result, *image, m_settings.HistoryLine("localeulernumber(%1)"));
    CQuillonHeaderTools::SetMinMax(*result, minMax.minimum, minMax.maximum);
    contract::HandOver(tree, contract::EnHandOver::INTO_LIST, std::move(result),
                       contract::LabelOf(*m_settings.focusedDocument, "LocalEulerNumber"));
}

} // namespace quillon
