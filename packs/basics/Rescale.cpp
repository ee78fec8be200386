#include "Rescale.h"

#include "pixels/Percentiles.h"
#include "pixels/PixelLoops.h"

#include <cmath>

namespace quillon::basics {

using namespace ORVEN;

namespace {

/// The grey type of that name, or null.
const IImage::CType* TypeOf(const std::string& name) {
    if (name == "grey8")
        return &IMAGE_GREY_8;
    if (name == "grey16")
        return &IMAGE_GREY_16;
    return name == "greyf" ? &IMAGE_GREY_F : nullptr;
}

} // namespace

void CRescalePlugin::ReadParameters(const CValueMap& tree) {
    m_type = ReadText(tree, "type", "grey8");
    m_from = ReadNumber(tree, "from");
    m_to = ReadNumber(tree, "to");
}

StResult CRescalePlugin::Compute(const CImage& image) {
    const IImage::CType* const type = TypeOf(m_type);
    if (type == nullptr)
        Refuse("type = " + m_type + " must be grey8, grey16 or greyf.");
    CProgressProxy progress = HostProgress();
    if (!m_from || !m_to) {
        const std::vector<double> ends = Percentiles(image, {0.1, 99.9}, progress);
        if (progress.IsCancelled())
            return {};
        if (ends.empty())
            Refuse("the image must have finite grey values.");
        m_from = m_from.value_or(ends[0]);
        m_to = m_to.value_or(ends[1]);
        // An image of one value has no range; it becomes 0 everywhere.
        if (ends[0] == ends[1] && *m_from == *m_to)
            m_to = std::nextafter(*m_to, std::numeric_limits<double>::infinity());
    }
    const double from = *m_from;
    const double to = *m_to;
    if (!(from < to) || !std::isfinite(to - from))
        Refuse("from = " + TextOf(from) + " must be less than to = " + TextOf(to) + ".");

    StResult result{NewImage(*type, image.Size()), {}};
    DispatchRealType(Name(), image.Type(), [&]<class In>(std::type_identity<In>) {
        DispatchGreyType(Name(), *type, [&]<class Out>(std::type_identity<Out>) {
            constexpr double greatest =
                std::is_same_v<Out, float> ? 1.0 : static_cast<double>(std::numeric_limits<Out>::max());
            MapPixels<In, Out>(image, *result.image, progress, "Rescaling...", [=](In pixel) {
                const double part = (static_cast<double>(pixel) - from) / (to - from);
                // This order of arguments makes NaN 0.
                return PixelOf<Out>(std::fmin(std::fmax(part, 0.0), 1.0) * greatest);
            });
        });
    });
    result.history = "rescale(" + m_type + ",from=" + TextOf(from) + ",to=" + TextOf(to) + ")";
    return result;
}

} // namespace quillon::basics
