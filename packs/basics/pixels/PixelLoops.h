#pragma once

#include <QuillonBase/CWorkPace.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/GreyTypeDispatch.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

/// What the plug-ins of this pack need to go through pixels.
namespace quillon::basics {

/// Whether the image is binary (foreground) or grey.
[[nodiscard]] inline bool IsReal(const ORVEN::IImage::CType& type) {
    using namespace ORVEN;
    return type == IMAGE_BINARY_FG || type == IMAGE_GREY_8 || type == IMAGE_GREY_16 ||
           type == IMAGE_GREY_32 || type == IMAGE_GREY_F;
}

/// `DispatchGreyType` that also takes IMAGE_BINARY_FG, as unsigned char.
template <class Body>
decltype(auto) DispatchRealType(const char* function, const ORVEN::IImage::CType& type, Body&& body) {
    if (type == ORVEN::IMAGE_BINARY_FG)
        return body(std::type_identity<unsigned char>());
    return ORVEN::DispatchGreyType(function, type, std::forward<Body>(body));
}

/// A new image without a border.
[[nodiscard]] inline std::unique_ptr<ORVEN::CImage> NewImage(const ORVEN::IImage::CType& type,
                                                             const ORVEN::CSize& size) {
    return std::make_unique<ORVEN::CImage>(type, size, ORVEN::CSize(0, 0, 0));
}

/// Whether the pixels follow each other without gaps, which a border makes.
[[nodiscard]] bool IsPacked(const ORVEN::CImage& image);
/// A packed copy of the pixels, without attributes.
[[nodiscard]] std::unique_ptr<ORVEN::CImage> PackedCopyOf(const ORVEN::CImage& image);

/// Sets each pixel of `out` to `operation` of the pixel of `in` at the same place. Returns false if
/// cancelled.
template <class In, class Out, class Operation>
bool MapPixels(const ORVEN::CImage& in, ORVEN::CImage& out, ORVEN::IProgress& progress, const char* phase,
               const Operation& operation) {
    const ORVEN::CImageView<const In> from(in);
    const ORVEN::CImageView<Out> to(out);
    return ORVEN::ForEachRowInParallel(to, 1, progress, phase, [&](std::int64_t y, std::int64_t z) {
        const In* const source = from.Row(y, z);
        std::transform(source, source + to.nx, to.Row(y, z), operation);
    });
}

/// The nearest pixel value of type T, halves rounded up. For integers the value is clamped to 0 to
/// `greatest`, and NaN becomes 0. A float pixel is the value itself.
template <class T>
[[nodiscard]] T PixelOf(double value, double greatest = static_cast<double>(std::numeric_limits<T>::max())) {
    if constexpr (std::is_same_v<T, float>)
        return static_cast<float>(value);
    else
        return static_cast<T>(std::fmin(std::fmax(std::floor(value + 0.5), 0.0), greatest));
}

/// The least and the greatest pixel; NaN is skipped. Without a number, and after a cancelled run, `least` may
/// be greater than `greatest`.
struct StRange {
    double least = std::numeric_limits<double>::max();
    double greatest = std::numeric_limits<double>::lowest();
};

[[nodiscard]] StRange RangeOf(const ORVEN::CImage& image, ORVEN::IProgress& progress);

/// Stores the range of the pixels in the metadata under `c_sMetaMinMax`.
void StoreMinMax(ORVEN::CImage& image, ORVEN::IProgress& progress);

} // namespace quillon::basics
