#include "QuillonTransformation/distance/CSquaredDistanceView.h"

#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/CWorkPace.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/GreyTypeDispatch.h>

#include <algorithm>
#include <cstddef>
#include <vector>

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

/// Passes on the question whether the run is cancelled, and no progress: reading the distances takes too
/// little time to be a phase.
class CQuestions : public CProgressProxy {
public:
    using CProgressProxy::CProgressProxy;

    void Start(unsigned /*total*/, const char* /*text*/) override {}
    void Step(unsigned /*amount*/, int /*flag*/) override {}
    void Finish() override {}
};

/// Incomplete if cancelled; the pace is then cancelled, too.
std::uint32_t GreatestOf(const IImage& image, IProgress& progress, CWorkPace& pace) {
    const CImageView<const std::uint32_t> view(image);
    std::vector<std::uint32_t> greatest(static_cast<std::size_t>(view.nz));
    const auto readRow = [&](std::int64_t y, std::int64_t z) {
        const std::uint32_t* const row = view.Row(y, z);
        std::uint32_t greatestOfRow = 0;
        for (std::int64_t x = 0; x < view.nx; ++x)
            greatestOfRow = std::max(greatestOfRow, row[x]);
        std::uint32_t& greatestOfPlane = greatest[static_cast<std::size_t>(z)];
        greatestOfPlane = std::max(greatestOfPlane, greatestOfRow);
    };
    CQuestions questions(&progress);
    // A sink can forget a cancellation. The distances must not be used then before all have been read.
    if (!ForEachRowInParallel(view, 1, questions, "", readRow) && !pace.Add(CWorkPace::c_workPerQuestion))
        ForEachRow(view, 1, pace, readRow);
    return greatest.empty() ? 0 : *std::ranges::max_element(greatest);
}

std::int32_t PlausibleGreatest(const char* function, const IImage& image, IProgress& progress,
                               CWorkPace& pace) {
    const std::uint32_t greatest = GreatestOf(image, progress, pace);
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

CSquaredDistanceView::CSquaredDistanceView(const char* function, const IImage& image, IProgress& progress,
                                           CWorkPace& pace)
    : CSquaredDistanceView(function, image,
                           PlausibleGreatest(function, Required(function, image), progress, pace)) {}

CSquaredDistanceView::CSquaredDistanceView(const char* function, const IImage& image, std::int32_t greatest)
    : nx(image.Size().x)
    , ny(image.Size().y)
    , nz(image.Size().z)
    , m_image(image)
    , m_view(Required(function, image))
    , m_greatest(greatest) {}

void RequireFitting(const char* function, const IImage& image, const IImage::CType& type,
                    const IImage& squaredDistance) {
    if (!(image.Type() == type))
        ThrowUnsupportedType(function, image.Type());
    RequireSameSize(function, "Image", image, "distances", squaredDistance);
}

} // namespace ORVEN
