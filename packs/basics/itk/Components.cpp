#include "itk/Components.h"

#include "itk/ItkImages.h"

#include <itkConnectedComponentImageFilter.h>

#include <cstdint>

namespace quillon::basics {

using namespace ORVEN;

StComponents ComponentsOf(const CImage& binary, EnNeighborhood neighborhood, IProgress& progress) {
    StComponents components{std::make_unique<CImage>(IMAGE_GREY_32, binary.Size(), CSize(0, 0, 0)), 0};
    {
        const CItkView<const std::uint8_t> input(binary);
        const CItkView<std::uint32_t> output(*components.labels);
        const auto filter =
            itk::ConnectedComponentImageFilter<CItkImage<std::uint8_t>, CItkImage<std::uint32_t>>::New();
        filter->SetFullyConnected(neighborhood == EnNeighborhood::N26);
        filter->SetInput(input.Image());
        filter->GraftOutput(output.Image());
        if (!RunFilter(*filter, progress, "Labelling..."))
            return {};
        components.count = filter->GetObjectCount();
    }
    return components;
}

} // namespace quillon::basics
