#include "Median.h"

#include "itk/ItkImages.h"
#include "pixels/Percentiles.h"
#include "pixels/PixelLoops.h"

#include <itkMedianImageFilter.h>

namespace quillon::basics {

using namespace ORVEN;

namespace {

constexpr std::int32_t c_greatestRadius = 50;

/// The filter repeats the pixels at the border.
template <class T>
bool ComputeMedian(const CImage& image, CImage& result, std::int32_t radius, IProgress& progress) {
    const CItkView<const T> input(image);
    const CItkView<T> output(result);
    const auto filter = itk::MedianImageFilter<CItkImage<T>, CItkImage<T>>::New();
    auto extent = filter->GetRadius();
    extent.Fill(0);
    for (int axis = 0; axis < image.Size().Dim(); ++axis)
        extent[static_cast<unsigned>(axis)] = static_cast<itk::SizeValueType>(radius);
    filter->SetRadius(extent);
    filter->SetInput(input.Image());
    filter->GraftOutput(output.Image());
    return RunFilter(*filter, progress, "Filtering...");
}

} // namespace

void CMedianPlugin::ReadParameters(const CValueMap& tree) {
    m_radius = ReadWholeNumber(tree, "radius").value_or(1);
}

StResult CMedianPlugin::Compute(const CImage& image) {
    if (m_radius < 0 || m_radius > c_greatestRadius)
        Refuse("radius = " + std::to_string(m_radius) + " must be from 0 to " +
               std::to_string(c_greatestRadius) + " pixels.");
    StResult result{NewImage(image.Type(), image.Size()), "median(radius=" + std::to_string(m_radius) + ")"};
    CProgressProxy progress = HostProgress();
    bool isDone = false;
    if (image.Type() == IMAGE_GREY_F) {
        // The order of floats is undefined beside NaN, so their keys are filtered, in which NaN is the least.
        const auto keys = NewImage(IMAGE_GREY_32, image.Size());
        const auto medians = NewImage(IMAGE_GREY_32, image.Size());
        isDone = MapPixels<float, std::uint32_t>(image, *keys, progress, "Filtering...", OrderedKey<float>) &&
                 ComputeMedian<std::uint32_t>(*keys, *medians, m_radius, progress) &&
                 MapPixels<std::uint32_t, float>(*medians, *result.image, progress, "Filtering...",
                                                 OfOrderedKey<float>);
    } else if (image.Type() == IMAGE_GREY_16) {
        isDone = ComputeMedian<std::uint16_t>(image, *result.image, m_radius, progress);
    } else if (image.Type() == IMAGE_GREY_32) {
        isDone = ComputeMedian<std::uint32_t>(image, *result.image, m_radius, progress);
    } else {
        isDone = ComputeMedian<std::uint8_t>(image, *result.image, m_radius, progress);
    }
    if (!isDone)
        result.image.reset();
    return result;
}

} // namespace quillon::basics
