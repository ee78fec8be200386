#include "QuillonTransformation/distance/CSquaredDistanceView.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/GreyTypeDispatch.h>

#include <algorithm>

namespace ORVEN {

namespace {

const IImage& Required(const char* function, const IImage& image) {
    if (!(image.Type() == IMAGE_GREY_32))
        ThrowUnsupportedType(function, image.Type());
    if (image.Size().Dim() != 3) {
        throw CException(
            function,
            CString("Image dimension %1 not supported.", CString::ENC_UTF8).Arg(image.Size().Dim(), 0),
            nullptr);
    }
    return image;
}

std::uint32_t GreatestOf(const IImage& image, CWorkPace& pace) {
    const CImageView<const std::uint32_t> view(image);
    std::uint32_t greatest = 0;
    ForEachRow(view, 1, pace, [&](std::int64_t y, std::int64_t z) {
        const std::uint32_t* const row = view.Row(y, z);
        std::uint32_t greatestOfRow = 0;
        for (std::int64_t x = 0; x < view.nx; ++x)
            greatestOfRow = std::max(greatestOfRow, row[x]);
        greatest = std::max(greatest, greatestOfRow);
    });
    return greatest;
}

std::int32_t PlausibleGreatest(const char* function, const IImage& image, CWorkPace& pace) {
    const std::uint32_t greatest = GreatestOf(image, pace);
    const CSize& size = image.Size();
    const std::int64_t radius = std::min<std::int64_t>((std::min({size.x, size.y, size.z}) + 1) / 2, 32767);
    if (greatest > radius * radius) {
        throw CException(function,
                         CString("Squared distance %1 in an image of size %2.", CString::ENC_UTF8)
                             .Arg(static_cast<long long>(greatest), 0)
                             .Arg(size.ToString()),
                         nullptr);
    }
    return static_cast<std::int32_t>(greatest);
}

} // namespace

CSquaredDistanceView::CSquaredDistanceView(const char* function, const IImage& image, CWorkPace& pace)
    : nx(image.Size().x)
    , ny(image.Size().y)
    , nz(image.Size().z)
    , m_view(Required(function, image))
    , m_greatest(PlausibleGreatest(function, image, pace)) {}

void RequireFitting(const char* function, const IImage& image, const IImage::CType& type,
                    const IImage& squaredDistance) {
    if (!(image.Type() == type))
        ThrowUnsupportedType(function, image.Type());
    RequireSameSize(function, "Image", image, "distances", squaredDistance);
}

} // namespace ORVEN
