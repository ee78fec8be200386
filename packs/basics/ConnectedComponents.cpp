#include "ConnectedComponents.h"

#include "itk/Components.h"
#include "labels/LabelTools.h"

#include <algorithm>
#include <numeric>

namespace quillon::basics {

using namespace ORVEN;

bool CConnectedComponentsPlugin::Accepts(const IImage::CType& type) const { return type == IMAGE_BINARY_FG; }

void CConnectedComponentsPlugin::ReadParameters(const CValueMap& tree) {
    m_neighborhood = ReadText(tree, "Neighborhood", "N26");
    m_minimumSize = ReadWholeNumber(tree, "minimumSize").value_or(1);
}

StResult CConnectedComponentsPlugin::Compute(const CImage& image) {
    const EnNeighborhood neighborhood = RequireNeighborhood(m_neighborhood);
    if (m_minimumSize < 0)
        Refuse("minimumSize = " + std::to_string(m_minimumSize) + " must be 0 or more pixels.");
    CProgressProxy progress = HostProgress();
    const StComponents components = ComponentsOf(image, neighborhood, progress);
    if (components.labels == nullptr)
        return {};

    const std::vector<std::int64_t> sizes = SizesOfLabels(*components.labels, components.count, progress);
    std::vector<std::uint32_t> order(components.count);
    std::iota(order.begin(), order.end(), 1U);
    std::erase_if(order, [&](std::uint32_t label) { return sizes[label] < m_minimumSize; });
    // Objects of the same size keep the order of their first pixels.
    std::ranges::stable_sort(order,
                             [&sizes](std::uint32_t a, std::uint32_t b) { return sizes[a] > sizes[b]; });
    std::vector<std::uint32_t> newLabels(components.count + 1, 0);
    for (std::size_t place = 0; place < order.size(); ++place)
        newLabels[order[place]] = static_cast<std::uint32_t>(place + 1);

    StResult result{
        Relabelled(*components.labels, newLabels, static_cast<std::uint32_t>(order.size()), progress), {}};
    result.labelCount = order.size() + 1;
    result.history = std::string("connectedcomponents(") + NameOf(neighborhood) +
                     (m_minimumSize > 1 ? ",minimumSize=" + std::to_string(m_minimumSize) : std::string()) +
                     ")<" + std::to_string(order.size()) + ">";
    return result;
}

} // namespace quillon::basics
