#include "GradientMagnitude.h"

#include <QuillonFilter/CPartialDerivatives.h>
#include <plugin/PluginContract.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/GreyTypeDispatch.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace example {

using namespace ORVEN;
namespace contract = quillon::contract;

namespace {

std::unique_ptr<CImage> AsFloat(const CImage& image) {
    auto copy = std::make_unique<CImage>(IMAGE_GREY_F, image.Size(), CSize(0, 0, 0));
    DispatchGreyType("GradientMagnitude", image.Type(), [&]<class T>(std::type_identity<T>) {
        const CImageView<const T> from(image);
        const CImageView<float> to(*copy);
        for (std::int64_t z = 0; z < from.nz; ++z) {
            for (std::int64_t y = 0; y < from.ny; ++y)
                std::transform(from.Row(y, z), from.Row(y, z) + from.nx, to.Row(y, z),
                               [](T pixel) { return static_cast<float>(pixel); });
        }
    });
    return copy;
}

/// Calls `combine(sum, pixel)` for each pixel of two images of the same size.
template <class Combine>
void ForEachPixel(CImage& sums, const CImage& image, const Combine& combine) {
    const CImageView<float> to(sums);
    const CImageView<const float> from(image);
    for (std::int64_t z = 0; z < to.nz; ++z) {
        for (std::int64_t y = 0; y < to.ny; ++y) {
            float* const row = to.Row(y, z);
            for (std::int64_t x = 0; x < to.nx; ++x)
                row[x] = combine(row[x], from.Row(y, z)[x]);
        }
    }
}

} // namespace

void CGradientMagnitudePlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

bool CGradientMagnitudePlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        const IImage::CType& type = image.Type();
        return type == IMAGE_GREY_8 || type == IMAGE_GREY_16 || type == IMAGE_GREY_32 || type == IMAGE_GREY_F;
    });
}

void CGradientMagnitudePlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::POINTER_TO_DOCUMENT);
    contract::ReadParameter(tree, "parameters/usesSpacing", m_usesSpacing);
}

void CGradientMagnitudePlugin::GetData(CValueMap& tree) {
    const CImage* const image = contract::ContentOf(m_focusedDocument);
    if (image == nullptr)
        return;
    std::array<double, 3> spacing{1, 1, 1};
    if (m_usesSpacing)
        CQuillonHeaderTools::GetSpacing(*image, spacing[0], spacing[1], spacing[2]);

    auto result = std::make_unique<CImage>(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
    for (int axis = 0; axis < image->Size().Dim(); ++axis) {
        const auto derivative = AsFloat(*image);
        CPartialDerivatives(nullptr, nullptr).Derivative(*derivative, axis == 0, axis == 1, axis == 2);
        const auto length = static_cast<float>(spacing[static_cast<std::size_t>(axis)]);
        ForEachPixel(*result, *derivative,
                     [length](float sum, float slope) { return sum + slope / length * (slope / length); });
    }
    float greatest = 0.0F;
    ForEachPixel(*result, *result, [&greatest](float sum, float) {
        greatest = std::max(greatest, std::sqrt(sum));
        return std::sqrt(sum);
    });

    contract::Inherit(
        *result, *image,
        CString("gradientmagnitude(%1)", CString::ENC_UTF8).Arg(m_usesSpacing ? "spacing" : "pixels"));
    CQuillonHeaderTools::SetMinMax(*result, 0.0, greatest);
    contract::HandOver(tree, contract::EnHandOver::NEW_DOCUMENTS, std::move(result),
                       contract::LabelOf(*m_focusedDocument, "GradientMagnitude"));
}

} // namespace example
