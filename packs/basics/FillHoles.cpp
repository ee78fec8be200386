#include "FillHoles.h"

#include "itk/Components.h"
#include "pixels/PixelLoops.h"

#include <algorithm>
#include <vector>

namespace quillon::basics {

using namespace ORVEN;

namespace {

/// Whether each label occurs at the border of the image. A plane has no border along z, and a line none along
/// y.
std::vector<char> LabelsAtBorder(const CImage& labels, std::size_t count) {
    std::vector<char> isAtBorder(count + 1, 0);
    const CImageView<const std::uint32_t> view(labels);
    const int dimension = labels.Size().Dim();
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            const std::uint32_t* const row = view.Row(y, z);
            const bool isBorderRow = (dimension > 1 && (y == 0 || y == view.ny - 1)) ||
                                     (dimension > 2 && (z == 0 || z == view.nz - 1));
            const std::int64_t step = isBorderRow ? 1 : std::max<std::int64_t>(1, view.nx - 1);
            for (std::int64_t x = 0; x < view.nx; x += step)
                isAtBorder[row[x]] = 1;
        }
    }
    return isAtBorder;
}

} // namespace

bool CFillHolesPlugin::Accepts(const IImage::CType& type) const { return type == IMAGE_BINARY_FG; }

void CFillHolesPlugin::ReadParameters(const CValueMap& tree) {
    m_neighborhood = ReadText(tree, "Neighborhood", "N6");
}

StResult CFillHolesPlugin::Compute(const CImage& image) {
    const EnNeighborhood neighborhood = RequireNeighborhood(m_neighborhood);
    CProgressProxy progress = HostProgress();
    StResult result{NewImage(IMAGE_BINARY_FG, image.Size()),
                    std::string("fillholes(") + NameOf(neighborhood) + ")"};
    MapPixels<unsigned char, unsigned char>(
        image, *result.image, progress, "Filling holes...",
        [](unsigned char pixel) { return static_cast<unsigned char>(pixel == 0); });
    const StComponents background = ComponentsOf(*result.image, neighborhood, progress);
    if (background.labels == nullptr)
        return {};
    const std::vector<char> isOutside = LabelsAtBorder(*background.labels, background.count);
    MapPixels<std::uint32_t, unsigned char>(
        *background.labels, *result.image, progress, "Filling holes...", [&isOutside](std::uint32_t label) {
            return static_cast<unsigned char>(label == 0 || isOutside[label] == 0);
        });
    return result;
}

} // namespace quillon::basics
