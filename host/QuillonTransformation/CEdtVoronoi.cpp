#include "QuillonTransformation/CEdtVoronoi.h"

#include "QuillonTransformation/distance/DistanceTransform.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/GreyTypeDispatch.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <optional>
#include <span>

namespace ORVEN {

namespace {

constexpr const char* c_calculateDistanceMap = "ORVEN::CEdtVoronoi::CalculateDistanceMap";
constexpr const char* c_voronoiEdt = "ORVEN::CEdtVoronoi::VoronoiEdt";

void StoreExtrema(IImage& distance, const StDistanceRange& range) {
    CQuillonHeaderTools::SetMinMax(distance, range.minimum, range.maximum);
    CQuillonHeaderTools::SetMaxDistance(distance, range.maximum);
}

} // namespace

/// An image that is locked as a whole, and the location of its lines.
struct CEdtVoronoi::StOpenImage {
    explicit StOpenImage(IImage& opened)
        : image(&opened)
        , access(opened.CreateAccess(false)) {
        Impl::LockWhole(*access, opened.Size(), IImage::LOCK_READ_WRITE);
        strides = access->Strides();
        data = static_cast<unsigned char*>(access->Data());
    }

    IImage* image;
    std::unique_ptr<IImage::IAccess> access;
    CPos strides;
    unsigned char* data;
};

CEdtVoronoi::COpenImage::COpenImage(CEdtVoronoi& algorithm, IImage& image)
    : m_algorithm(algorithm) {
    m_algorithm.m_openImage = std::make_unique<StOpenImage>(image);
}

CEdtVoronoi::COpenImage::~COpenImage() { m_algorithm.m_openImage.reset(); }

CEdtVoronoi::CEdtVoronoi(const char* name, const IObject* parent)
    : CAlgorithm(name, parent) {}

CEdtVoronoi::~CEdtVoronoi() = default;

void CEdtVoronoi::CheckArguments(const char* function, IImage& distance, const IImage& binary) {
    if (!(distance.Type() == IMAGE_GREY_F) && !(distance.Type() == IMAGE_GREY_32)) {
        throw CException(Impl::Here(function),
                         CString("Distance image is not of type 'IMAGE_GREY_F' or 'IMAGE_GREY_32' but '%1'.",
                                 CString::ENC_UTF8)
                             .Arg(distance.Type().ToString()));
    }
    if (!(binary.Type() == IMAGE_BINARY_FG)) {
        // The name in the message is fixed wording and intentionally not the name of the type.
        throw CException(
            Impl::Here(function),
            CString("Binary image is not of type 'IMAGE_MONO_BINARY' but '%1'.", CString::ENC_UTF8)
                .Arg(binary.Type().ToString()));
    }
    if (!(binary.Size() == distance.Size())) {
        throw CException(
            Impl::Here(function),
            CString("Binary image size and distance image size differ: %1 vs %2", CString::ENC_UTF8)
                .Arg(binary.Size().ToString())
                .Arg(distance.Size().ToString()));
    }
    if (distance.Type() == IMAGE_GREY_F) {
        double x = 1.0;
        double y = 1.0;
        double z = 1.0;
        CQuillonHeaderTools::GetSpacing(binary, x, y, z);
        CQuillonHeaderTools::SetSpacing(distance, x, y, z);
    }
    for (int axis = 0; axis < binary.Size().Dim(); ++axis) {
        if (binary.Size()[axis] >= c_tooLargeExtent) {
            // The maximum is converted to a signed 16-bit number and reads -1. This wording is fixed and
            // intended.
            throw CException(
                Impl::Here(function),
                CString("Binary image exceeds size in direction '%1' with value '%2' (max is '%3').",
                        CString::ENC_UTF8)
                    .Arg(static_cast<long long>(axis), 0)
                    .Arg(static_cast<long long>(binary.Size()[axis]), 0)
                    .Arg(std::bit_cast<short>(std::uint16_t{0xFFFF}), 0));
        }
    }
}

void CEdtVoronoi::CalculateDistanceMap(IImage& distance, const IImage& binary, bool usesSpacing,
                                       bool onForeground, bool squared, bool embeddedEdge) {
    CheckArguments(c_calculateDistanceMap, distance, binary);
    std::array<double, 3> spacing{1.0, 1.0, 1.0};
    if (usesSpacing)
        CQuillonHeaderTools::GetSpacing(distance, spacing[0], spacing[1], spacing[2]);
    StDistanceTransform transform;
    transform.seeds = onForeground ? EnSeeds::ZEROS : EnSeeds::ONES;
    transform.isOutsideSeed = embeddedEdge;
    transform.isSquared = squared;
    const auto axes = std::span(spacing).first(static_cast<std::size_t>(distance.Size().Dim()));
    if (std::all_of(axes.begin(), axes.end(), [&](double length) { return length == axes[0]; })) {
        transform.factor = spacing[0] * spacing[0];
    } else {
        for (std::size_t axis = 0; axis < spacing.size(); ++axis)
            transform.weights[axis] = spacing[axis] * spacing[axis];
    }
    const auto range = TransformDistances(transform, binary, distance, Progress());
    if (range && distance.Type() == IMAGE_GREY_F)
        StoreExtrema(distance, *range);
}

void CEdtVoronoi::VoronoiEdt(IImage& distance, unsigned long axis, double spacing, const CPos& start,
                             bool embeddedEdge) {
    std::optional<StOpenImage> opened;
    if (!m_openImage || m_openImage->image != &distance)
        opened.emplace(distance);
    const StOpenImage& image = opened ? *opened : *m_openImage;
    const CSize& size = distance.Size();
    bool isInside = axis < static_cast<unsigned long>(size.Dim());
    unsigned char* first = image.data;
    for (int k = 0; k < size.Dim(); ++k) {
        isInside = isInside && start[k] >= 0 && start[k] < size[k];
        first += start[k] * image.strides[k];
    }
    if (!isInside) {
        throw CExBadParam(Impl::Here(c_voronoiEdt),
                          CString("No line of the image of size %1 starts at %2.", CString::ENC_UTF8)
                              .Arg(size.ToString())
                              .Arg(start.ToString()));
    }
    const auto k = static_cast<std::int64_t>(axis);
    const auto transform = [&]<class T>(T* line) {
        m_envelope.Transform(line, size[k] - start[k], image.strides[k], StoredWeight<T>(spacing * spacing),
                             embeddedEdge);
    };
    if (distance.Type() == IMAGE_GREY_F)
        transform(reinterpret_cast<float*>(first));
    else if (distance.Type() == IMAGE_GREY_32)
        transform(reinterpret_cast<unsigned int*>(first));
    else
        ThrowUnsupportedType(c_voronoiEdt, distance.Type());
}

} // namespace ORVEN
