#include "AutoThreshold.h"

#include "pixels/PixelLoops.h"
#include "thresholds/AutomaticThresholds.h"
#include "thresholds/CGreyHistogram.h"

#include <algorithm>
#include <cmath>

namespace quillon::basics {

using namespace ORVEN;

bool CAutoThresholdPlugin::Accepts(const IImage::CType& type) const {
    return IsReal(type) && !type.IsBinary();
}

void CAutoThresholdPlugin::ReadParameters(const CValueMap& tree) {
    m_method = ReadText(tree, "method", "otsu");
    m_classes = ReadWholeNumber(tree, "classes").value_or(2);
}

std::vector<double> CAutoThresholdPlugin::Thresholds(const CImage& image) const {
    CProgressProxy progress = HostProgress();
    if (m_method != "otsu" && m_method != "li" && m_method != "triangle")
        Refuse("method = " + m_method + " must be otsu, li or triangle.");
    if (m_classes < 2 || m_classes > 5)
        Refuse("classes = " + std::to_string(m_classes) + " must be from 2 to 5.");
    if (m_classes != 2 && m_method != "otsu")
        Refuse("classes = " + std::to_string(m_classes) + " needs method = otsu; " + m_method +
               " has 2 classes.");
    const StRange range = RangeOf(image, progress);
    if (progress.IsCancelled())
        return {};
    if (!(range.least <= range.greatest) || !std::isfinite(range.greatest - range.least))
        Refuse("the image must have finite grey values.");

    const bool isTriangle = m_method == "triangle";
    const CGreyHistogram histogram(image, range, isTriangle ? 256 : 65536, progress);
    if (progress.IsCancelled())
        return {};
    if (isTriangle)
        return {TriangleThreshold(histogram)};
    if (m_method == "li")
        return {LiThreshold(histogram)};
    std::vector<double> thresholds = OtsuThresholds(histogram, m_classes);
    if (static_cast<std::int32_t>(thresholds.size()) < m_classes - 1)
        Refuse("classes = " + std::to_string(m_classes) + " is more than the image has grey values, " +
               std::to_string(thresholds.size() + 1) + ".");
    return thresholds;
}

StResult CAutoThresholdPlugin::Compute(const CImage& image) {
    const std::vector<double> thresholds = Thresholds(image);
    if (thresholds.empty())
        return {};
    const bool isBinary = m_classes == 2;
    StResult result{NewImage(isBinary ? IMAGE_BINARY_FG : IMAGE_GREY_8, image.Size()), {}};
    CProgressProxy progress = HostProgress();
    DispatchGreyType(Name(), image.Type(), [&]<class T>(std::type_identity<T>) {
        MapPixels<T, unsigned char>(
            image, *result.image, progress, "Thresholding...", [&thresholds](T pixel) {
                const auto value = static_cast<double>(pixel);
                return static_cast<unsigned char>(std::ranges::count_if(
                    thresholds, [value](double threshold) { return value > threshold; }));
            });
    });
    result.history = "autothreshold(" + m_method;
    if (!isBinary) {
        result.history += ",classes=" + std::to_string(m_classes);
        result.labelCount = static_cast<std::size_t>(m_classes);
    }
    result.history.append(")<").append(TextOf(thresholds.front()));
    for (std::size_t place = 1; place < thresholds.size(); ++place)
        result.history.append(",").append(TextOf(thresholds[place]));
    result.history += ">";
    return result;
}

} // namespace quillon::basics
