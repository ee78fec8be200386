#include "RegionalMaxima.h"

#include "labels/CSummits.h"
#include "labels/LabelTools.h"

#include <limits>
#include <numeric>
#include <vector>

namespace quillon::basics {

using namespace ORVEN;

void CRegionalMaximaPlugin::ReadParameters(const CValueMap& tree) {
    m_neighborhood = ReadText(tree, "Neighborhood", "N26");
    m_height = ReadNumber(tree, "height").value_or(0.0);
}

StResult CRegionalMaximaPlugin::Compute(const CImage& image) {
    const EnNeighborhood neighborhood = RequireNeighborhood(m_neighborhood);
    if (!(m_height >= 0.0))
        Refuse("height = " + TextOf(m_height) + " must be 0 or more.");
    if (image.Size().PixelCount() >= std::int64_t{std::numeric_limits<std::uint32_t>::max()})
        Refuse("the image must have fewer than 4294967295 pixels.");
    CProgressProxy progress = HostProgress();
    CSummits summits(image, neighborhood, m_height);
    if (!summits.Find(progress))
        return {};
    std::vector<std::uint32_t> labels(std::size_t{summits.Count()} + 1);
    std::iota(labels.begin(), labels.end(), 0U);
    StResult result{Relabelled(summits.Labels(), labels, summits.Count(), progress), {}};
    result.labelCount = std::size_t{summits.Count()} + 1;
    result.history = std::string("regionalmaxima(") + NameOf(neighborhood) +
                     (m_height > 0.0 ? ",height=" + TextOf(m_height) : std::string()) + ")<" +
                     std::to_string(summits.Count()) + ">";
    return result;
}

} // namespace quillon::basics
