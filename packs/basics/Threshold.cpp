#include "Threshold.h"

#include "pixels/PixelLoops.h"

#include <limits>

namespace quillon::basics {

using namespace ORVEN;

void CThresholdPlugin::ReadParameters(const CValueMap& tree) {
    m_lower = ReadNumber(tree, "lower");
    m_upper = ReadNumber(tree, "upper");
}

StResult CThresholdPlugin::Compute(const CImage& image) {
    if (!m_lower && !m_upper)
        Refuse("lower and upper are both missing.");
    const double lower = m_lower.value_or(-std::numeric_limits<double>::infinity());
    const double upper = m_upper.value_or(std::numeric_limits<double>::infinity());
    if (!(lower <= upper))
        Refuse("lower = " + TextOf(lower) + " must not be greater than upper = " + TextOf(upper) + ".");

    StResult result{NewImage(IMAGE_BINARY_FG, image.Size()), {}};
    DispatchRealType(Name(), image.Type(), [&]<class T>(std::type_identity<T>) {
        CProgressProxy progress = HostProgress();
        MapPixels<T, unsigned char>(image, *result.image, progress, "Thresholding...", [=](T pixel) {
            const auto value = static_cast<double>(pixel);
            return static_cast<unsigned char>(value >= lower && value <= upper);
        });
    });
    result.history = "threshold(";
    if (m_lower)
        result.history += "lower=" + TextOf(lower);
    if (m_lower && m_upper)
        result.history += ",";
    if (m_upper)
        result.history += "upper=" + TextOf(upper);
    result.history += ")";
    return result;
}

} // namespace quillon::basics
